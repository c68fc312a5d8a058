// Any bytes in any encoding: the first line of the input is the name that the response gives.
// Whatever it is, text is valid UTF-8 and not much longer than the bytes.

#include <optional>
#include <string>
#include <string_view>

#include "Require.h"
#include "text/Encodings.h"
#include "text/Utf8.h"

namespace {

void check(const std::optional<std::string>& text, std::string_view bytes) {
    if (!text) return;
    siftwell::fuzz::require(siftwell::isValidUtf8(*text));
    siftwell::fuzz::require(text->size() <= 16 * bytes.size() + 16);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto [firstLine, bytes] =
        siftwell::fuzz::atFirstLineEnd(siftwell::fuzz::asText(data, size));
    const std::string name(firstLine);
    check(siftwell::decodePage(bytes, name), bytes);
    check(siftwell::decodeCachedObject(bytes, std::nullopt), bytes);
    check(siftwell::stringByGuessingEncodingFromData(bytes), bytes);
    siftwell::fileEncodingName(bytes);
    return 0;
}
