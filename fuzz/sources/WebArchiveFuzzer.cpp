// Any bytes as a web archive. Frames lie no deeper than property lists may.

#include <algorithm>

#include "Require.h"
#include "sources/WebArchive.h"

namespace {

using namespace siftwell;
using fuzz::require;

int depthOf(const WebArchive& archive) {
    require(!archive.mainResource.url.absoluteString().empty());
    for (const WebResource& resource : archive.subresources) {
        require(!resource.url.absoluteString().empty());
    }
    int deepest = 0;
    for (const WebArchive& frame : archive.subframeArchives) {
        deepest = std::max(deepest, depthOf(frame));
    }
    return deepest + 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto archive = WebArchive::initWithData(fuzz::asText(data, size));
    require(!archive || depthOf(*archive) <= 256);
    return 0;
}
