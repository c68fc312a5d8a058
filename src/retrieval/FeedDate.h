// The dates of feeds.
//
// Threads: any. Errors: none; a date that cannot be read is shown as it was written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"

namespace siftwell {

// RFC 822 as in RSS ("Sat, 07 Sep 2002 00:00:01 GMT") and RFC 3339 as in Atom
// ("2003-12-13T18:30:02.25+01:00"). A day without a time is no moment: none.
std::optional<Date> parseFeedDate(std::string_view text);

// As dates of results are shown, in local time; at most 100 characters.
std::string shownFeedDate(std::string_view text);

}  // namespace siftwell
