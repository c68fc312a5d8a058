// Any bytes in any encoding: the first line of the input is the name that the response gives.
// Whatever it is, text is valid UTF-8 and not much longer than the bytes.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "text/Encodings.h"
#include "text/Utf8.h"

namespace {

void check(const std::optional<std::string>& text, std::string_view bytes) {
    if (!text) return;
    if (!siftwell::isValidUtf8(*text) || text->size() > 16 * bytes.size() + 16) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t lineEnd = std::min(input.find('\n'), input.size());
    const std::string name(input.substr(0, lineEnd));
    const std::string_view bytes = input.substr(std::min(lineEnd + 1, input.size()));
    check(siftwell::decodePage(bytes, name), bytes);
    check(siftwell::decodeCachedObject(bytes, std::nullopt), bytes);
    check(siftwell::stringByGuessingEncodingFromData(bytes), bytes);
    siftwell::fileEncodingName(bytes);
    return 0;
}
