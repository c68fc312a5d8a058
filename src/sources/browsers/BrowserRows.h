// What the readers of browsers' histories and bookmarks have in common: how the files count time,
// and what of an address and a title is taken.
//
// Threads: pure functions and values. Errors: none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "records/BrowserEntry.h"

namespace siftwell {

inline constexpr std::size_t kMaxAddressBytes = 8192;  // of one address; longer ones are no pages
inline constexpr std::size_t kMaxTitleBytes = 4096;    // longer ones are cut

// A count of whole units since some day.
struct DateCount {
    std::int64_t unitsPerSecond;
    std::int64_t dayZero;  // in seconds since 1970

    // None for what is not between 1970 and the distant future, which a visit cannot be.
    std::optional<Date> date(std::int64_t units) const;

    // The last count that is not later than the date, which date() gave for it. From 1970 on.
    std::int64_t units(Date date) const;
};

inline constexpr std::int64_t kUnixEpoch = 0;
inline constexpr std::int64_t kWindowsEpoch = -11'644'473'600;  // 1601
inline constexpr DateCount kFirefoxDates{1'000'000, kUnixEpoch};
inline constexpr DateCount kChromeDates{1'000'000, kWindowsEpoch};

// Not empty and not too long.
bool isTakenAddress(std::string_view address);

// That, and neither a program ("javascript:") nor a query of the browser's own ("place:").
bool isTakenBookmark(std::string_view address);

// Cut where it is too long, between characters.
std::string takenTitle(std::string title);

}  // namespace siftwell
