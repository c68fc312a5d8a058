// Needle: a short text to look for in long ones.
//
// Letters are those of ASCII; where their case does not matter, no other character has any. Looks
// at the needle's first and its rarest byte in sixteen places at once, so that a text without the
// needle is read at memory speed; every place that has both is compared.
//
// Threads: a value; borrows its text. Errors: none; an empty needle is nowhere.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <string_view>

#include "text/ByteBlock.h"

namespace siftwell {

class Needle {
public:
    enum class Letters { Exact, AnyCase, AnyCaseButFirst };

    Needle(std::string_view needle, Letters letters);

    std::size_t size() const { return m_needle.size(); }

    // The first place in from ... to - 1 where the needle begins, or `to`. It stands wholly in
    // `text`, of which it may take bytes behind `to`.
    std::size_t find(std::string_view text, std::size_t from, std::size_t to) const;

    // The same in the whole text behind `from`; npos when it is not there.
    std::size_t find(std::string_view text, std::size_t from = 0) const;

private:
    // Sixteen times one byte of the needle. A letter in any case is compared when 0x20 was added to
    // what is there.
    struct Probe {
        Probe(std::string_view needle, std::size_t at, bool anyCase);
        ByteBlock matches(ByteBlock block) const { return (block | fold).isEqualTo(wanted); }

        ByteBlock wanted;
        ByteBlock fold;
    };

    static constexpr std::size_t kStride = 4 * ByteBlock::kSize;

    ByteBlock candidates(const char* at) const {
        return m_first.matches(ByteBlock::load(at)) &
               m_rarest.matches(ByteBlock::load(at + m_toRarest));
    }
    bool isNowhereInStride(const char* at) const;
    bool isAt(const char* at) const;
    std::size_t findOneByOne(std::string_view text, std::size_t from, std::size_t end) const;

    std::string_view m_needle;
    std::size_t m_toRarest;
    bool m_isFirstAnyCase;
    bool m_isRestAnyCase;
    Probe m_first;
    Probe m_rarest;
};

inline bool Needle::isNowhereInStride(const char* at) const {
    const ByteBlock front = candidates(at) | candidates(at + ByteBlock::kSize);
    const ByteBlock back =
        candidates(at + 2 * ByteBlock::kSize) | candidates(at + 3 * ByteBlock::kSize);
    return (front | back).topBits() == 0;
}

// Here for the loops around it, which set up the probes once.
inline std::size_t Needle::find(std::string_view text, std::size_t from, std::size_t to) const {
    if (m_needle.empty() || text.size() < m_needle.size()) return to;
    const std::size_t end = std::min(to, text.size() - m_needle.size() + 1);
    const std::size_t readable = text.size() - m_toRarest;  // by both probes
    std::size_t at = from;
    while (at < end && at + ByteBlock::kSize <= readable) {
        for (std::uint32_t bits = candidates(text.data() + at).topBits(); bits != 0;
             bits &= bits - 1) {
            const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(bits));
            if (place >= end) return to;
            if (isAt(text.data() + place)) return place;
        }
        at += ByteBlock::kSize;
        while (at < end && at + kStride <= readable && isNowhereInStride(text.data() + at)) {
            at += kStride;
        }
    }
    const std::size_t found = findOneByOne(text, at, end);
    return found == end ? to : found;
}

// Whether `text` contains `part`, whose letters may have any case.
bool containsIgnoringCase(std::string_view text, std::string_view part);

}  // namespace siftwell
