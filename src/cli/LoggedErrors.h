// Errors of the error list, as the command line prints them.
//
// Threads: pure functions.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>

#include "app/ErrorLog.h"
#include "base/Date.h"

namespace siftwell {

nlohmann::ordered_json jsonFor(const LoggedError& error);

// The list holds local time.
std::optional<Date> dateOf(const LoggedError& error);

}  // namespace siftwell
