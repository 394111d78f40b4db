#include "Quor/IDeviceStackClient.h"

// The interface's virtual tables live in the client library, as the
// device's real client keeps them.
namespace Quor {}  // namespace Quor
