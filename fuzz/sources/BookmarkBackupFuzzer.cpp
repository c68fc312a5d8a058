// The first byte says which file of bookmarks the others are. Whatever they hold, what is handed
// over is an address within its bounds.

#include "Require.h"
#include "sources/browsers/FirefoxBookmarkBackup.h"
#include "sources/browsers/FlockBookmarks.h"
#include "sources/browsers/MozLz4.h"
#include "sources/browsers/ShiiraBookmarks.h"

namespace {

using namespace siftwell;
using fuzz::require;

bool take(const BrowserEntry& entry) {
    require(isTakenBookmark(entry.url));
    require(entry.title.size() <= kMaxTitleBytes);
    require(!entry.date || *entry.date <= Date::distantFuture());
    return true;
}

void read(char kind, std::string_view bytes) {
    switch (kind) {
        case '0':
            if (const auto text = unpackMozLz4(bytes)) require(text->size() <= kMaxUnpackedBytes);
            [[fallthrough]];
        case '1':
            readFirefoxBookmarkBackup(bytes, take).isOk();
            break;
        case '2':
            readFlockBookmarks(bytes, take).isOk();
            break;
        default:
            readShiiraBookmarks(bytes, take).isOk();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = fuzz::asText(data, size);
    if (!input.empty()) read(input.front(), input.substr(1));
    return 0;
}
