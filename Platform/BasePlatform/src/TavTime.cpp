#include "BasePlatform/TavValue.h"
