// Dates as they are typed: "2026-11-21", or an age such as "7d", "3w", "2m", "1y".
//
// Threads: pure functions.
#pragma once

#include <optional>
#include <string_view>

#include "base/Date.h"

namespace siftwell {

enum class DayEdge { Begin, End };

// Months and years back lead to the same day of the month, or to its last one. A calendar day
// stands for its first or last moment in the local time zone. None for anything else.
std::optional<Date> dateFromArgument(std::string_view text, Date now, DayEdge edge);

}  // namespace siftwell
