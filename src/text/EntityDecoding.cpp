#include <cstdint>

#include "text/AmpersandRewrite.h"
#include "text/EntityTables.h"
#include "text/HTMLProcessor.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

char32_t codePointOfNumber(std::string_view digits) {
    std::int64_t number = 0;
    for (const char c : digits) number = number * 10 + (static_cast<unsigned char>(c) - '0');
    if (number == 0) return 0;
    const bool isInRange = number > 0 && number <= 0x10FFFF;
    return isInRange ? static_cast<char32_t>(number) : kReplacementCharacter;
}

// 0 when the candidate is no entity.
char32_t codePointOf(std::string_view candidate) {
    if (candidate.size() < 3) return 0;
    if (candidate[1] != '#') return specialCharIgnoringCase(candidate);
    return codePointOfNumber(candidate.substr(2, candidate.size() - 3));
}

// White space as spaces, and which bytes are white.
struct Spaced {
    explicit Spaced(ByteBlock block)
        : breaks(block.isEqualTo('\t') | block.isEqualTo('\n') | block.isEqualTo('\r')),
          white(breaks | block.isEqualTo(' ')),
          whiteBits(white.topBits()),
          result((block & ~white) | (ByteBlock::filledWith(' ') & white)) {}

    ByteBlock breaks;
    ByteBlock white;
    std::uint32_t whiteBits;
    ByteBlock result;
};

class EntityPass {
public:
    explicit EntityPass(const InPlaceRewrite& page) : m_isBehindSpace(page.endsWithSpace()) {}

    [[gnu::always_inline]] void take(InPlaceRewrite& page, ByteBlock block, std::size_t count);
    static void takeAmpersand(InPlaceRewrite& page);

private:
    bool m_isBehindSpace;
};

// Takes everything or, when white space stands behind a space, what is in front of the first such
// run and the run itself.
inline void EntityPass::take(InPlaceRewrite& page, ByteBlock block, std::size_t count) {
    const Spaced spaced(block);
    const std::uint32_t behindWhite = spaced.whiteBits << 1 | (m_isBehindSpace ? 1 : 0);
    const std::uint32_t surplus = spaced.whiteBits & behindWhite & lowBits(count);
    if (surplus == 0) {
        const bool differs = page.isShorter() || (spaced.breaks.topBits() & lowBits(count)) != 0;
        page.exchange(spaced.result, count, differs);
        m_isBehindSpace = (spaced.whiteBits >> (count - 1) & 1) != 0;
    } else {
        const auto kept = static_cast<std::size_t>(std::countr_zero(surplus));
        page.exchange(spaced.result, kept, true);
        page.skipTo(page.position() + static_cast<std::size_t>(std::countr_one(surplus >> kept)));
        m_isBehindSpace = true;
    }
}

void EntityPass::takeAmpersand(InPlaceRewrite& page) {
    const std::string_view candidate = entityAtNext(page);
    const char32_t codePoint = codePointOf(candidate);
    if (codePoint == 0) return page.copyUpTo(page.position() + 1);
    page.skipTo(page.position() + candidate.size());
    page.writeCharacter(codePoint);
}

}  // namespace

void HTMLProcessor::replaceHTMLEncodedChars(const Yield& whilePerforming) {
    rewriteAroundAmpersands<EntityPass>(m_text, whilePerforming);
}

}  // namespace siftwell
