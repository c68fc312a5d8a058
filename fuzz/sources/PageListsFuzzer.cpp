// Any bytes as a list of pages; the first byte says whose. Pages have what was said of them, and a
// reader that is stopped has read the same so far.

#include <algorithm>
#include <cmath>
#include <functional>

#include "Require.h"
#include "sources/OperaPages.h"
#include "sources/PropertyListPages.h"

using namespace siftwell;
using fuzz::require;

namespace {

using Pages = std::vector<BatchEntry>;
using Read = std::function<Pages(std::string_view, const GoOn&)>;

Read readerFor(char who) {
    switch (who & 3) {
        case 1:
            return [](std::string_view bytes, const GoOn& goOn) {
                return safariBookmarks(bytes, Date(), goOn).value_or(Pages());
            };
        case 2:
            return [](std::string_view bytes, const GoOn& goOn) {
                return caminoBookmarks(bytes, goOn).value_or(Pages());
            };
        case 3:
            return [](std::string_view bytes, const GoOn& goOn) {
                return omniWebHistory(bytes, goOn).value_or(Pages());
            };
        default:
            return operaPagesInText;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view bytes = fuzz::asText(data, size);
    if (bytes.empty()) return 0;
    const char who = bytes.front();
    bytes.remove_prefix(1);
    const Read read = readerFor(who);
    const bool isOpera = (who & 3) == 0;
    const Pages pages = read(bytes, [] { return true; });
    require(pages.size() <= kMaxAddresses);
    for (const BatchEntry& page : pages) {
        require(!page.url.absoluteString().empty());
        require(!isOpera || bytes.find(page.url.absoluteString()) != std::string_view::npos);
        require(page.date ? std::isfinite(page.date->secondsSinceReference()) : (who & 3) < 2);
        require(!page.title || (who & 3) == 1);
    }
    int left = 4;
    const Pages front = read(bytes, [&] { return left-- > 0; });
    require(front.size() <= std::min<std::size_t>(pages.size(), 4));
    for (std::size_t i = 0; i < front.size(); ++i) require(front[i].url == pages[i].url);
    return 0;
}
