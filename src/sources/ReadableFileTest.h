// ReadableFileTest: whether the program can read a kind of file.
//
// Threads: a value; the preferences are read when it is made.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Settings.h"

namespace siftwell {

class ReadableFileTest {
public:
    explicit ReadableFileTest(const Settings& settings);

    // Files without an extension are tried. A type code that is not 0 is compared as its four bytes
    // lie in memory, reversed on this machine.
    bool canParseContentWithType(std::uint32_t type, std::string_view orExtension) const;

private:
    bool m_useContentExtractors;
    std::vector<std::string> m_nativeExtensions;
    std::vector<std::string> m_nativeTypes;
    std::vector<std::string> m_extractorExtensions;
    std::vector<std::string> m_extractorTypes;
};

}  // namespace siftwell
