#include "text/Encodings.h"
#include "text/HtmlQueries.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

std::optional<std::string> decodeNamed(std::string_view bytes,
                                       const std::optional<std::string>& name) {
    const auto encoding = encodingForEncodingName(name);
    return encoding ? encoding->decode(bytes) : std::nullopt;
}

// Reads the text by the character set that it declares, when that is another one.
std::string byDeclaredCharSet(std::string text, std::string_view bytes,
                              const std::optional<std::string>& usedName) {
    const auto declared = HTMLCharSet(text);
    if (!declared || declared == usedName) return text;
    const auto encoding = encodingForEncodingName(std::string(*declared));
    if (!encoding || encoding == encodingForEncodingName(usedName)) return text;
    auto again = encoding->decode(bytes);
    return again ? std::move(*again) : text;
}

std::optional<std::string> unlessEmpty(std::string text) {
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

bool beginsWithUtf16Mark(std::string_view bytes) {
    return bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
}

}  // namespace

std::optional<std::string> decodePage(std::string_view bytes,
                                      const std::optional<std::string>& responseEncodingName) {
    auto text = decodeNamed(bytes, responseEncodingName);
    if (!text) text = Encoding::latin1().decode(bytes);
    return unlessEmpty(byDeclaredCharSet(std::move(*text), bytes, responseEncodingName));
}

std::optional<std::string> decodeCachedObject(std::string_view bytes,
                                              const std::optional<std::string>& encodingName) {
    auto text = decodeNamed(bytes, encodingName);
    if (!text) return std::nullopt;
    return unlessEmpty(byDeclaredCharSet(std::move(*text), bytes, encodingName));
}

std::optional<std::string> stringByGuessingEncodingFromData(std::string_view bytes) {
    if (bytes.size() < 4) return Encoding::latin1().decode(bytes);
    if (bytes.starts_with(kUtf8Mark)) return Encoding::utf8().decode(bytes);
    const bool hasUtf32Mark = bytes.starts_with(std::string_view("\0\0\xFE\xFF", 4));
    if (beginsWithUtf16Mark(bytes) || hasUtf32Mark) return Encoding::utf16().decode(bytes);
    return Encoding::latin1().decode(bytes);
}

std::optional<std::string> fileEncodingName(std::string_view bytes) {
    if (beginsWithUtf16Mark(bytes)) return "utf-16";
    if (bytes.starts_with(kUtf8Mark)) return "utf-8";
    if (asciiPrefix(bytes) < bytes.size() && isValidUtf8(bytes)) return "utf-8";
    return std::nullopt;
}

}  // namespace siftwell
