// Any text as a list of anchors. What is read of it stands in it, unless it was escaped, and a
// reader that is stopped has read the same so far.

#include <algorithm>
#include <string>

#include "Require.h"
#include "sources/AnchorList.h"

using namespace siftwell;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::asText(data, size);
    const auto stands = [text](std::string_view part) {
        return text.find(part) != std::string_view::npos ||
               text.find("&#") != std::string_view::npos;
    };
    const auto anchors = anchorsInText(text, Date::distantPast(), [] { return true; });
    require(anchors.size() <= std::min(size / 2, kMaxAddresses));
    for (const BatchEntry& anchor : anchors) {
        require(stands(anchor.url.absoluteString()));
        require(!anchor.date || *anchor.date > Date::distantPast());
        require(!anchor.source || (!anchor.source->empty() && stands(*anchor.source)));
        require(!anchor.indexer || (!anchor.indexer->empty() && stands(*anchor.indexer)));
    }
    const auto newer = anchorsInText(text, Date::fromReference(0), [] { return true; });
    require(newer.size() <= anchors.size());
    int left = 2;
    const auto front = anchorsInText(text, Date::distantPast(), [&] { return left-- > 0; });
    require(front.size() <= std::min<std::size_t>(anchors.size(), 2));
    for (std::size_t i = 0; i < front.size(); ++i) require(front[i].url == anchors[i].url);
    return 0;
}
