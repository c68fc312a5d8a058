#include "retrieval/FeedLink.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (asciiLower(c) >= 'a' && asciiLower(c) <= 'f');
}

// Feeds write addresses in any letters; what none may have is escaped.
std::string escapedReference(std::string_view text) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isBareSign =
            text[i] == '%' &&
            (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2]));
        if (byte > ' ' && byte < 0x7F && !isBareSign) {
            result += text[i];
        } else {
            result += {'%', kHex[byte >> 4], kHex[byte & 15]};
        }
    }
    return result;
}

}  // namespace

std::optional<Url> resolvedLink(std::string_view reference, const Url& base) {
    constexpr std::size_t kLongest = 8192;
    reference = trimmingWhiteSpace(reference);
    if (reference.empty() || reference.size() > kLongest) return std::nullopt;
    return base.resolved(escapedReference(reference));
}

std::optional<Url> safeLink(std::string_view reference, const Url& base) {
    auto url = resolvedLink(reference, base);
    if (!url) return std::nullopt;
    const std::string scheme = lowerCasedAscii(url->scheme());
    return scheme == "http" || scheme == "https" || scheme == "feed" ? url : std::nullopt;
}

}  // namespace siftwell
