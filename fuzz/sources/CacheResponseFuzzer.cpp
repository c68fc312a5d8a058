// Any bytes as the response object of a cache. What comes of it is an address with its body.

#include "Require.h"
#include "sources/browsers/BrowserRows.h"
#include "sources/safari/CacheResponse.h"
#include "text/Ascii.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace siftwell;
    const auto cached = cachedResponseWithResponse(fuzz::asText(data, size), "body");
    if (!cached) return 0;
    fuzz::require(cached->data == "body");
    const URLResponse& response = cached->response;
    fuzz::require(isTakenAddress(response.url.absoluteString()));
    fuzz::require(!response.mimeType || *response.mimeType == lowerCasedAscii(*response.mimeType));
    fuzz::require(!response.textEncodingName || response.mimeType.has_value());
    return 0;
}
