#include "sources/FlockBookmarks.h"

namespace siftwell {

Status readFlockBookmarks(std::string_view bytes, Date after, const TakeEntry& take) {
    constexpr BookmarkNames kNames{.address = "url",
                                   .title = "name",
                                   .date = "date_added",
                                   .dates = kChromeDates,
                                   .hiddenKey = {},
                                   .hiddenValue = {}};
    return readBookmarkTree(bytes, kNames, after, take);
}

}  // namespace siftwell
