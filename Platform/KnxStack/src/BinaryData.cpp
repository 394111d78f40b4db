#include "KnxStack/GroupValue.h"
