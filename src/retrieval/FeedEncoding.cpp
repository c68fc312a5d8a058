#include "retrieval/FeedReader.h"
#include "text/Ascii.h"
#include "text/Encodings.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

bool beginsWithMark(std::string_view bytes) {
    return bytes.starts_with(kUtf8Mark) || bytes.starts_with("\xFE\xFF") ||
           bytes.starts_with("\xFF\xFE");
}

// The quoted value behind `name` and an equals sign; "" without one.
std::string_view quotedValue(std::string_view text, std::string_view name) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t at = text.find(name);
    if (at == std::string_view::npos) return {};
    text.remove_prefix(at + name.size());
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (!text.starts_with('=')) return {};
    text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (!text.starts_with('"') && !text.starts_with('\'')) return {};
    const std::size_t end = text.find(text.front(), 1);
    return end == std::string_view::npos ? std::string_view() : text.substr(1, end - 1);
}

// A declaration that could be read as ASCII is wrong when it names an encoding of wider units.
std::string declaredEncodingName(std::string_view bytes) {
    constexpr std::size_t kLongestDeclaration = 1024;
    const std::size_t end = bytes.substr(0, kLongestDeclaration).find("?>");
    if (!bytes.starts_with("<?xml") || end == std::string_view::npos) return {};
    const std::string name(quotedValue(bytes.substr(0, end), "encoding"));
    const std::string small = lowerCasedAscii(name);
    const bool isWide =
        small.starts_with("utf-16") || small.starts_with("utf-32") || small.starts_with("iso-1064");
    return isWide ? std::string() : name;
}

std::optional<std::string> decodeNamed(std::string_view bytes, const std::string& name) {
    const auto encoding = name.empty() ? std::nullopt : Encoding::named(name);
    return encoding ? encoding->decode(bytes) : std::nullopt;
}

}  // namespace

std::string decodeFeed(std::string_view bytes, const std::optional<std::string>& encodingName) {
    if (beginsWithMark(bytes)) {
        const Encoding encoding =
            bytes.starts_with(kUtf8Mark) ? Encoding::utf8() : Encoding::utf16();
        if (auto text = encoding.decode(bytes)) return *std::move(text);
    }
    if (auto text = decodeNamed(bytes, encodingName.value_or(""))) return *std::move(text);
    if (auto text = decodeNamed(bytes, declaredEncodingName(bytes))) return *std::move(text);
    if (auto text = Encoding::utf8().decode(bytes)) return *std::move(text);
    return Encoding::latin1().decode(bytes).value_or("");
}

}  // namespace siftwell
