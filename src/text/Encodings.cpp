#include "text/Encodings.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <memory>

#include "text/ByteBlock.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kLongestName = 60;

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// Pages that name the first very often hold characters that only the second has; what both have
// is the same.
struct Superset {
    std::string_view named;
    std::string_view meant;
};
constexpr Superset kSupersets[] = {
    {"ibm-1383_P110-1999", "windows-936-2000"},         // GB 2312, GBK
    {"ibm-970_P110_P110-2006_U2", "windows-949-2000"},  // EUC-KR, Unified Hangul Code
};

// What the library calls the converter of that name; the letters and digits of a name count, the
// rest of it does not. A comma would begin options for the converter.
std::string converterNamed(const std::string& name) {
    if (name.size() > kLongestName || name.find(',') != std::string::npos) return {};
    UErrorCode error = U_ZERO_ERROR;
    const char* const converter = ucnv_getAlias(name.c_str(), 0, &error);
    if (U_FAILURE(error) || converter == nullptr) return {};
    for (const Superset& superset : kSupersets) {
        if (superset.named == converter) return std::string(superset.meant);
    }
    return converter;
}

std::size_t countOfNonAscii(std::string_view bytes) {
    std::size_t count = 0;
    std::size_t at = 0;
    for (; at + ByteBlock::kSize <= bytes.size(); at += ByteBlock::kSize) {
        const std::uint32_t bits = ByteBlock::load(bytes.data() + at).topBits();
        if (bits != 0) count += static_cast<std::size_t>(std::popcount(bits));
    }
    const std::string_view rest = bytes.substr(at);
    return count + static_cast<std::size_t>(std::count_if(
                       rest.begin(), rest.end(), [](char byte) { return !isAsciiByte(byte); }));
}

std::string decodeLatin1(std::string_view bytes) {
    const std::size_t nonAscii = countOfNonAscii(bytes);
    if (nonAscii == 0) return std::string(bytes);
    std::string text(bytes.size() + nonAscii, '\0');
    char* to = text.data();
    while (!bytes.empty()) {
        const std::size_t plain = asciiPrefix(bytes);
        to = std::copy_n(bytes.data(), plain, to);
        bytes.remove_prefix(plain);
        for (; !bytes.empty() && !isAsciiByte(bytes.front()); bytes.remove_prefix(1)) {
            to += writeUtf8(static_cast<unsigned char>(bytes.front()), to);
        }
    }
    return text;
}

std::optional<std::string> decodeUtf8(std::string_view bytes) {
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    return isValidUtf8(bytes) ? std::optional(std::string(bytes)) : std::nullopt;
}

// A converter that stops at what it cannot convert.
Converter openConverter(const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &error));
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

std::optional<std::string> decodeWithConverter(std::string_view bytes, const std::string& name) {
    const Converter source = openConverter(name.c_str());
    const Converter target = openConverter("UTF-8");
    if (!source || !target) return std::nullopt;

    std::string text(bytes.size() + bytes.size() / 2 + 16, '\0');
    std::size_t used = 0;
    const char* from = bytes.data();
    UChar pivot[1024];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    bool isFirst = true;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
        if (!isFirst) text.resize(text.size() * 2);
        error = U_ZERO_ERROR;
        char* to = text.data() + used;
        ucnv_convertEx(target.get(), source.get(), &to, text.data() + text.size(), &from,
                       bytes.data() + bytes.size(), pivot, &pivotSource, &pivotTarget,
                       std::end(pivot), isFirst, true, &error);
        used = static_cast<std::size_t>(to - text.data());
        isFirst = false;
    }
    if (U_FAILURE(error)) return std::nullopt;
    text.resize(used);
    if (text.starts_with(kUtf8Mark)) text.erase(0, kUtf8Mark.size());
    return text;
}

}  // namespace

std::optional<Encoding> Encoding::named(const std::string& name) {
    std::string converter = converterNamed(name);
    if (converter.empty()) return std::nullopt;
    if (converter == "UTF-8") return utf8();
    if (converter == "ISO-8859-1") return latin1();
    return Encoding(Kind::Converter, std::move(converter));
}

std::optional<std::string> Encoding::decode(std::string_view bytes) const {
    switch (m_kind) {
        case Kind::Latin1:
            return decodeLatin1(bytes);
        case Kind::Utf8:
            return decodeUtf8(bytes);
        case Kind::Converter:
            return decodeWithConverter(bytes, m_converter);
    }
    return std::nullopt;
}

std::optional<Encoding> encodingForEncodingName(const std::optional<std::string>& name) {
    return !name || name->empty() ? Encoding::latin1() : Encoding::named(*name);
}

}  // namespace siftwell
