#include "text/Alphanumeric.h"

#include <algorithm>
#include <bit>
#include <bitset>

#include "text/InPlaceRewrite.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kStride = 4 * ByteBlock::kSize;

class ReplacementYield {
public:
    static constexpr std::size_t kInterval = 100;

    explicit ReplacementYield(const Yield& yield) : m_yield(yield) {}

    void replacing(std::size_t characters) {
        for (; characters > m_untilNext; m_untilNext += kInterval) {
            if (m_yield) m_yield();
        }
        m_untilNext -= characters;
    }

private:
    const Yield& m_yield;
    std::size_t m_untilNext = 0;
};

ByteBlock alphanumericAscii(ByteBlock block) {
    const ByteBlock small = block | ByteBlock::filledWith(0x20);
    return small.isBetween('a', 'z') | block.isBetween('0', '9');
}

ByteBlock withSpacesUnless(ByteBlock kept, ByteBlock block) {
    return (block & kept) | (ByteBlock::filledWith(' ') & ~kept);
}

// The next 64 bytes, if they are ASCII.
bool reduceAsciiStride(InPlaceRewrite& text, ReplacementYield& replacementYield) {
    if (text.size() - text.position() < kStride) return false;
    ByteBlock any = ByteBlock::filledWith(0);
    for (std::size_t i = 0; i < kStride; i += ByteBlock::kSize) any = any | text.blockAhead(i);
    if (any.topBits() != 0) return false;
    std::uint64_t keptBits = 0;
    for (std::size_t i = 0; i < kStride; i += ByteBlock::kSize) {
        const ByteBlock block = text.nextBlock();
        const ByteBlock kept = alphanumericAscii(block);
        keptBits |= std::uint64_t{kept.topBits()} << i;
        text.exchange(withSpacesUnless(kept, block), ByteBlock::kSize, true);
    }
    replacementYield.replacing(static_cast<std::size_t>(std::popcount(~keptBits)));
    return true;
}

// The answers of isAlphanumeric() for the characters that pages are made of.
class AlphanumericTable {
public:
    static const AlphanumericTable& shared() {
        static const AlphanumericTable table;
        return table;
    }

    bool has(char32_t character) const {
        return character < kSize ? m_has[character] : isAlphanumeric(character);
    }

private:
    static constexpr std::size_t kSize = 0x10000;

    AlphanumericTable() {
        for (char32_t character = 0; character < kSize; ++character) {
            m_has[character] = isAlphanumeric(character);
        }
    }

    std::bitset<kSize> m_has;
};

// What comes next: bytes that keep their number, then perhaps a character of several bytes that
// becomes a space.
struct Front {
    std::size_t count;
    std::size_t replacedBytes;
};

// At most sixteen bytes, in which no character is cut.
Front frontOf(const InPlaceRewrite& text, ByteBlock block, const AlphanumericTable& alphanumeric) {
    const std::size_t count = std::min(text.size() - text.position(), ByteBlock::kSize);
    std::uint32_t others = block.topBits() & lowBits(count);
    while (others != 0) {
        const auto at = static_cast<std::size_t>(std::countr_zero(others));
        const Utf8Character next = utf8CharacterAt(text.text(), text.position() + at);
        if (!alphanumeric.has(next.character)) return {at, next.bytes};
        if (at + next.bytes > count) return {at, 0};
        others &= ~lowBits(at + next.bytes);
    }
    return {count, 0};
}

void reduceFront(InPlaceRewrite& text, const AlphanumericTable& alphanumeric,
                 ReplacementYield& replacementYield) {
    const ByteBlock block = text.nextBlock();
    const Front front = frontOf(text, block, alphanumeric);
    const ByteBlock kept = alphanumericAscii(block) | block.isAtLeast('\x80');
    const std::uint32_t spaces = ~kept.topBits() & lowBits(front.count);
    replacementYield.replacing(static_cast<std::size_t>(std::popcount(spaces)));
    text.exchange(withSpacesUnless(kept, block), front.count, spaces != 0);
    if (front.replacedBytes > 0) {
        replacementYield.replacing(1);
        text.skipTo(text.position() + front.replacedBytes);
        text.write(' ');
    }
}

}  // namespace

void reduceToAlphanumeric(std::string& text, const Yield& whilePerforming) {
    InPlaceRewrite reduced(text);
    ReplacementYield replacementYield(whilePerforming);
    const AlphanumericTable& alphanumeric = AlphanumericTable::shared();
    while (!reduced.isAtEnd()) {
        if (!reduceAsciiStride(reduced, replacementYield)) {
            reduceFront(reduced, alphanumeric, replacementYield);
        }
    }
    reduced.finish();
}

}  // namespace siftwell
