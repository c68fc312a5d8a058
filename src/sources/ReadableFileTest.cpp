#include "sources/ReadableFileTest.h"

#include <algorithm>
#include <cstring>

#include "text/Ascii.h"

namespace siftwell {

namespace {

bool contains(const std::vector<std::string>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

std::string textOfType(std::uint32_t type) {
    std::string text(sizeof type, '\0');
    std::memcpy(text.data(), &type, sizeof type);
    return text;
}

}  // namespace

ReadableFileTest::ReadableFileTest(const Settings& settings)
    : m_useContentExtractors(settings.boolean("UseContentExtractors")),
      m_nativeExtensions(settings.strings("NativeExtensions")),
      m_nativeTypes(settings.strings("NativeTypes")),
      m_extractorExtensions(settings.strings("ExtractorExtensions")),
      m_extractorTypes(settings.strings("ExtractorTypes")) {}

bool ReadableFileTest::canParseContentWithType(std::uint32_t type,
                                               std::string_view orExtension) const {
    if (type != 0) {
        const std::string code = textOfType(type);
        if (contains(m_nativeTypes, code) ||
            (m_useContentExtractors && contains(m_extractorTypes, code))) {
            return true;
        }
    }
    const std::string extension = lowerCasedAscii(orExtension);
    return extension.empty() || contains(m_nativeExtensions, extension) ||
           (m_useContentExtractors && contains(m_extractorExtensions, extension));
}

}  // namespace siftwell
