// Heads of responses, line by line, as a server may send them.

#include <string>

#include "Require.h"
#include "text/Ascii.h"
#include "text/HttpResponseHead.h"

using namespace siftwell;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::asText(data, size);
    HttpResponseHead head;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const bool isEnd = head.add(text.substr(at, end - at)) == HttpResponseHead::Line::End;
        at = end;
        if (!isEnd) continue;
        const ContentType type = head.contentType();
        require(!(head.isInterim() && head.isRedirect()));
        require(!(head.isRedirect() && head.isChallenge()));
        if (type.mimeType) {
            require(!type.mimeType->empty());
            require(*type.mimeType == lowerCasedAscii(*type.mimeType));
            require(type.mimeType->find(';') == std::string::npos);
            require(parseContentType(*type.mimeType).mimeType == type.mimeType);
        }
        require(!type.charset || !type.charset->empty());
        for (const std::string& coding : head.contentCodings()) {
            require(!coding.empty() && coding != "identity");
        }
    }
    return 0;
}
