// BrowserEntry: a page that a person saw or bookmarked, as a browser's database tells it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Date.h"

namespace siftwell {

struct BrowserEntry {
    std::string url;           // as stored; nobody has looked at it yet
    std::optional<Date> date;  // of the last visit, or when it was bookmarked
    std::string title;         // empty when there is none
};

// Takes one entry after the other, so that memory stays flat; once it says no, the reader ends.
using TakeEntry = std::function<bool(BrowserEntry)>;

}  // namespace siftwell
