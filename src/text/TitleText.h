// How a page's title is shown.
//
// Threads: a pure function.
#pragma once

#include <string_view>

namespace siftwell {

// A page is kept under the title that its source knows and the one that it bears itself, the second
// behind the first. Mostly they are the same, and then one of them is enough.
inline std::string_view titleToShow(std::string_view title) {
    const std::size_t half = title.size() / 2;
    const bool isTwice = title.size() % 2 == 1 && title[half] == ' ' &&
                         title.substr(0, half) == title.substr(half + 1);
    return isTwice ? title.substr(0, half) : title;
}

}  // namespace siftwell
