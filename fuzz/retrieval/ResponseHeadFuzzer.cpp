// Heads of responses, line by line, as a server may send them.

#include <string>

#include "Require.h"
#include "retrieval/HttpResponseHead.h"
#include "text/Ascii.h"

using namespace siftwell;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::asText(data, size);
    const Url url = Url::fromFilePath("/");
    HttpResponseHead head;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const bool isEnd = head.add(text.substr(at, end - at)) == HttpResponseHead::Line::End;
        at = end;
        if (!isEnd) continue;
        const URLResponse response = head.response(url);
        require(!(head.isInterim() && head.isRedirect()));
        require(!(head.isRedirect() && head.isChallenge()));
        if (response.mimeType) {
            require(!response.mimeType->empty());
            require(*response.mimeType == lowerCasedAscii(*response.mimeType));
            require(response.mimeType->find(';') == std::string::npos);
            require(parseContentType(*response.mimeType).mimeType == response.mimeType);
        }
        require(!response.textEncodingName || !response.textEncodingName->empty());
    }
    return 0;
}
