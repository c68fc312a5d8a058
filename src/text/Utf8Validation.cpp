#include <algorithm>
#include <cstdint>

#include "text/ByteBlock.h"
#include "text/Utf8.h"

// Sixty-four bytes at a time become a number in which bit i says something about byte i. What must
// follow a byte is that number shifted, so that no character is looked at alone.

namespace siftwell {

namespace {

constexpr std::size_t kWidth = 64;

class Bytes64 {
public:
    Bytes64(std::string_view text, std::size_t at)
        : m_blocks{ByteBlock::loadWithin(text, at), ByteBlock::loadWithin(text, at + 16),
                   ByteBlock::loadWithin(text, at + 32), ByteBlock::loadWithin(text, at + 48)} {}

    bool isAscii() const {
        return ((m_blocks[0] | m_blocks[1]) | (m_blocks[2] | m_blocks[3])).topBits() == 0;
    }
    std::uint64_t notAscii() const {
        return bitsOf([](ByteBlock block) { return block; });
    }
    std::uint64_t atLeast(unsigned char least) const {
        return bitsOf([=](ByteBlock block) { return block.isAtLeast(static_cast<char>(least)); });
    }
    std::uint64_t equalTo(unsigned char byte) const {
        return bitsOf([=](ByteBlock block) { return block.isEqualTo(static_cast<char>(byte)); });
    }
    // Whether there are bytes that stand nowhere, or not before every continuation.
    bool hasRareOnes() const {
        return bitsOf([](ByteBlock block) {
                   return (block.isEqualTo('\xC0') | block.isEqualTo('\xC1')) |
                          (block.isEqualTo('\xE0') | block.isEqualTo('\xED')) |
                          block.isAtLeast('\xF0');
               }) != 0;
    }

private:
    template <typename Condition>
    std::uint64_t bitsOf(Condition condition) const {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            bits |= std::uint64_t{condition(m_blocks[i]).topBits()} << (i * ByteBlock::kSize);
        }
        return bits;
    }

    ByteBlock m_blocks[4];
};

// Bits of one kind here, and of the 64 bytes before.
struct Bits {
    std::uint64_t shifted(unsigned places) const {
        return here << places | before >> (kWidth - places);
    }
    bool reachBehind(unsigned places) const { return here >> (kWidth - places) != 0; }

    std::uint64_t here = 0;
    std::uint64_t before = 0;
};

class Validator {
public:
    // Whether nothing in these bytes is wrong, given the bytes before.
    bool take(const Bytes64& bytes);

    bool isComplete() const {
        return !m_leads.reachBehind(1) && !m_threes.reachBehind(2) && !m_fours.reachBehind(3);
    }

private:
    bool takeRareOnes(const Bytes64& bytes, std::uint64_t continuations);

    Bits m_leads;   // of two bytes or more
    Bits m_threes;  // of three or more
    Bits m_fours;
    Bits m_e0;
    Bits m_ed;
    Bits m_f0;
    Bits m_f4;
    bool m_mayRareOnesReachHere = false;
};

void take(Bits& bits, std::uint64_t here) { bits = {here, bits.here}; }

bool Validator::take(const Bytes64& bytes) {
    const std::uint64_t leads = bytes.atLeast(0xC0);
    const std::uint64_t continuations = bytes.notAscii() & ~leads;
    siftwell::take(m_leads, leads);
    siftwell::take(m_threes, bytes.atLeast(0xE0));
    const bool hasRareOnes = bytes.hasRareOnes();
    if (!hasRareOnes && !m_mayRareOnesReachHere) {
        m_fours = {};
    } else if (!takeRareOnes(bytes, continuations)) {
        return false;
    }
    m_mayRareOnesReachHere = hasRareOnes;
    const std::uint64_t expected = m_leads.shifted(1) | m_threes.shifted(2) | m_fours.shifted(3);
    return expected == continuations;
}

// Behind four of them begin forms longer than needed, surrogates, and what is no character.
bool Validator::takeRareOnes(const Bytes64& bytes, std::uint64_t continuations) {
    siftwell::take(m_fours, bytes.atLeast(0xF0));
    siftwell::take(m_e0, bytes.equalTo(0xE0));
    siftwell::take(m_ed, bytes.equalTo(0xED));
    siftwell::take(m_f0, bytes.equalTo(0xF0));
    siftwell::take(m_f4, bytes.equalTo(0xF4));
    const std::uint64_t from90 = bytes.atLeast(0x90);
    const std::uint64_t fromA0 = bytes.atLeast(0xA0);
    const std::uint64_t never = bytes.equalTo(0xC0) | bytes.equalTo(0xC1) | bytes.atLeast(0xF5);
    return (never | (m_e0.shifted(1) & continuations & ~fromA0) |
            (m_ed.shifted(1) & continuations & fromA0) |
            (m_f0.shifted(1) & continuations & ~from90) |
            (m_f4.shifted(1) & continuations & from90)) == 0;
}

std::size_t firstStrideNotAscii(std::string_view text, std::size_t at) {
    while (at < text.size() && Bytes64(text, at).isAscii()) at += kWidth;
    return at;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
    std::size_t at = 0;
    while ((at = firstStrideNotAscii(text, at)) < text.size()) {
        Validator validator;
        do {
            if (!validator.take(Bytes64(text, at))) return false;
            at += kWidth;
        } while (at < text.size() && !(validator.isComplete() && Bytes64(text, at).isAscii()));
        if (!validator.isComplete()) return false;
    }
    return true;
}

}  // namespace siftwell
