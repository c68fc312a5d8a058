// How a Status crosses the bus: as the D-Bus error "com.velotrin.Siftwell.Error.<name of its code>"
// with its message.
#pragma once

#include <sdbus-c++/Error.h>

#include "base/Status.h"

namespace siftwell {

// The status is not Ok.
sdbus::Error busErrorOf(const Status& status);

// Errors of the bus itself: NotFound when nobody is there to answer, Denied, and Failed for all
// others, which are named.
Status statusOf(const sdbus::Error& error);

}  // namespace siftwell
