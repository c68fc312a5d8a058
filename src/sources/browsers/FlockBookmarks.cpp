#include "sources/browsers/FlockBookmarks.h"

namespace siftwell {

Status readFlockBookmarks(std::string_view bytes, const TakeEntry& take) {
    constexpr BookmarkNames kNames{.address = "url",
                                   .title = "name",
                                   .date = "date_added",
                                   .dates = kChromeDates,
                                   .hiddenKey = {},
                                   .hiddenValue = {}};
    return readBookmarkTree(bytes, kNames, take);
}

}  // namespace siftwell
