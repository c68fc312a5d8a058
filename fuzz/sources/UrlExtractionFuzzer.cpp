// Any text as one that holds addresses, with each set of characters that may end them.

#include <algorithm>
#include <array>
#include <string>

#include "Require.h"
#include "sources/UrlExtraction.h"
#include "text/Ascii.h"

namespace {

using namespace siftwell;
using fuzz::require;

bool hasExtractedScheme(const Url& url) {
    constexpr std::array<std::string_view, 4> kSchemes = {"http", "https", "file", "feed"};
    const std::string scheme = lowerCasedAscii(url.scheme());
    return std::find(kSchemes.begin(), kSchemes.end(), scheme) != kSchemes.end();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::asText(data, size);
    for (const std::string_view endTokens : {"", ")", "\t\r\n\";>"}) {
        const auto found = extractURLsInString(text, endTokens, [] { return true; });
        require(found.size() <= std::min(size / 7, kMaxAddresses));
        for (const Url& url : found) {
            require(hasExtractedScheme(url));
            require(url.absoluteString().find_first_of(endTokens) == std::string::npos);
        }
        const auto none = extractURLsInString(text, endTokens, [] { return false; });
        require(none.empty());
    }
    return 0;
}
