// How a Status crosses the bus: as the D-Bus error "com.velotrin.Siftwell.Error.<name of its code>"
// with its message.
#pragma once

#include <sdbus-c++/Error.h>

#include <string_view>

#include "base/Status.h"

namespace siftwell {

// "NotFound" and so on, "" for Ok; a name that is none of them stands for Failed.
std::string_view nameOf(StatusCode code);
StatusCode statusCodeNamed(std::string_view name);

// The status is not Ok.
sdbus::Error busErrorOf(const Status& status);

// Errors of the bus itself: NotFound when nobody is there to answer, Denied, and Failed for all
// others, which are named.
Status statusOf(const sdbus::Error& error);

}  // namespace siftwell
