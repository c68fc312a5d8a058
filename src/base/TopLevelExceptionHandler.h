// The last resort for an exception that nothing else can deal with.
#pragma once

#include <exception>

#include "base/Alerts.h"

namespace siftwell {

// Tells the user, and answers the status that the program then exits with. Main thread.
int topLevelExceptionHandler(const std::exception& exception, Alerts& alerts);

}  // namespace siftwell
