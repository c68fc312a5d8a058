#include "text/Base64.h"

namespace siftwell {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kBytesPerLine = 54;
constexpr std::size_t kBytesPerGroup = 3;

unsigned byteOrZero(std::string_view group, std::size_t i) {
    return i < group.size() ? static_cast<unsigned char>(group[i]) : 0;
}

void appendGroup(std::string& result, std::string_view group) {
    const unsigned bits =
        byteOrZero(group, 0) << 16 | byteOrZero(group, 1) << 8 | byteOrZero(group, 2);
    result += kAlphabet[bits >> 18];
    result += kAlphabet[bits >> 12 & 63];
    result += group.size() > 1 ? kAlphabet[bits >> 6 & 63] : '=';
    result += group.size() > 2 ? kAlphabet[bits & 63] : '=';
}

}  // namespace

std::string base64Encode(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    std::string result;
    for (std::size_t at = 0; at < text.size(); at += kBytesPerGroup) {
        const std::string_view group = text.substr(at, kBytesPerGroup);
        const bool isWhole = group.size() == kBytesPerGroup;
        if (at % kBytesPerLine == 0 && (at > 0 || !isWhole)) result += "\r\n";
        appendGroup(result, group);
    }
    return result;
}

}  // namespace siftwell
