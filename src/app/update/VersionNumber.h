// VersionNumber: the version of a program, to be compared with another.
//
// Numbers and words, apart or with one of ". - _" in between. Numbers compare as numbers, however
// long; words, in any letter case, stand for what comes before a release: 1.9 < 1.10b2 < 1.10b10 <
// 1.10 = 1.10.0 < 1.10.1. A "v" in front does not count.
//
// Threads: a value. Errors: none; what is no version is not parsed.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

class VersionNumber {
public:
    static constexpr std::size_t kMaxLength = 64;

    // None without any number, with other characters, or over the length.
    static std::optional<VersionNumber> parse(std::string_view text);

    std::strong_ordering operator<=>(const VersionNumber& other) const;
    bool operator==(const VersionNumber& other) const = default;

private:
    VersionNumber() = default;

    void add(std::string_view part);
    void dropZeroes();

    // Small letters, or digits without zeros in front ("" is zero). No zero stands at the end or
    // before letters.
    std::vector<std::string> m_parts;
};

}  // namespace siftwell
