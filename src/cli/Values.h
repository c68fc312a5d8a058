// Values: settings as they are typed and printed.
//
// Threads: pure functions.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "base/PropertyList.h"

namespace siftwell {

// The text as a value of the same type as `example`: yes, no, true, false, 1 or 0; a number; a date
// as ISO 8601 or "never"; texts parted by commas; or the text itself. None when it is no such
// value.
std::optional<PropertyList> valueLike(const PropertyList& example, const std::string& text);

// What valueLike takes for the type, in words.
std::string allowedLike(const PropertyList& example);

// As it is typed, dates without values as "never".
std::string textOf(const PropertyList& value);

// Dates as ISO 8601, "never" and data as null.
nlohmann::ordered_json jsonOf(const PropertyList& value);

}  // namespace siftwell
