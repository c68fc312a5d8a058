#include "text/NormalForm.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include "text/Utf8.h"

namespace siftwell {

std::string composed(std::string_view text) {
    if (asciiPrefix(text) == text.size() || !isValidUtf8(text)) return std::string(text);
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* const normalizer = icu::Normalizer2::getNFCInstance(error);
    if (U_FAILURE(error) != 0) return std::string(text);
    const auto piece = icu::StringPiece(text.data(), static_cast<int32_t>(text.size()));
    std::string result;
    normalizer->normalize(icu::UnicodeString::fromUTF8(piece), error).toUTF8String(result);
    return U_FAILURE(error) != 0 ? std::string(text) : result;
}

}  // namespace siftwell
