#include <cstdint>

#include "text/AmpersandRewrite.h"
#include "text/Ascii.h"
#include "text/EntityTables.h"
#include "text/HTMLProcessor.h"

namespace siftwell {

namespace {

class ReadablePass {
public:
    explicit ReadablePass(const InPlaceRewrite&) {}

    [[gnu::always_inline]] void take(InPlaceRewrite& page, ByteBlock block, std::size_t count) {
        page.exchange(block, count, false);
    }
    static void takeAmpersand(InPlaceRewrite& page);
};

class SmallLetterPass : public ReadablePass {
public:
    using ReadablePass::ReadablePass;

    [[gnu::always_inline]] void take(InPlaceRewrite& page, ByteBlock block, std::size_t count) {
        const ByteBlock capitals = block.isBetween('A', 'Z');
        const bool differs = page.isShorter() || (capitals.topBits() & lowBits(count)) != 0;
        page.exchange(block | (capitals & ByteBlock::filledWith(0x20)), count, differs);
    }
};

void ReadablePass::takeAmpersand(InPlaceRewrite& page) {
    const std::string_view candidate = entityAtNext(page);
    for (const Entity& row : kGreaterLessMap) {
        if (!equalsIgnoringCase(candidate, row.text)) continue;
        page.skipTo(page.position() + candidate.size());
        return page.write(static_cast<char>(row.codePoint));
    }
    page.copyUpTo(page.position() + 1);
}

}  // namespace

void HTMLProcessor::replaceHTMLEncodedDelimiters(const Yield& whilePerforming) {
    rewriteAroundAmpersands<SmallLetterPass>(m_text, whilePerforming);
}

std::string HTMLProcessor::readableString() const {
    std::string text = m_text;
    rewriteAroundAmpersands<ReadablePass>(text, {});
    return text;
}

}  // namespace siftwell
