// Any text in Base64 and back, by a reader that knows nothing of lines; and as the extension of a
// file name.

#include <algorithm>
#include <string>

#include "Require.h"
#include "text/Base64.h"
#include "text/MIMEMapper.h"

namespace {

using namespace siftwell;
using fuzz::require;

constexpr std::size_t kLineLength = 72;

std::string decoded(std::string_view encoded) {
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char c : encoded) {
        if (c == '\r' || c == '\n' || c == '=') continue;
        const std::size_t value = kAlphabet.find(c);
        require(value != std::string_view::npos);
        bits = bits << 6 | static_cast<unsigned>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count);
    }
    return bytes;
}

void checkLines(std::string_view encoded) {
    std::size_t begin = 0;
    for (std::size_t end; (end = encoded.find("\r\n", begin)) != std::string_view::npos;) {
        require(end - begin == kLineLength || end == 0);
        begin = end + 2;
    }
    require(encoded.size() - begin <= kLineLength && (encoded.size() - begin) % 4 == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::asText(data, size);
    const std::string encoded = base64Encode(text);
    checkLines(encoded);
    require(decoded(encoded) == text.substr(0, text.find('\0')));
    if (const auto type = MIMEMapper::sharedMapper().mimeTypeForExtension(text)) {
        require(std::count(type->begin(), type->end(), '/') == 1);
    }
    return 0;
}
