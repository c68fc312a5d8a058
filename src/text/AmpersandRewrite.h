// AmpersandRewrite: the frame of the passes that decode entities.
//
// A pass takes the text in blocks of up to sixteen bytes without an ampersand, and is asked at
// every ampersand what to do about it. It calls its yield as HTMLProcessor says.
//
// Threads: one thread. Errors: none.
#pragma once

#include <algorithm>
#include <bit>
#include <string>
#include <string_view>

#include "text/InPlaceRewrite.h"
#include "text/Yield.h"

namespace siftwell {

// The bytes from the "&" to the next ";", or none when that is out of reach. In the last three
// bytes of a text no entity is looked for.
inline std::string_view entityAtNext(const InPlaceRewrite& page) {
    constexpr std::size_t kLongest = 12;
    if (page.size() - page.position() <= 3) return {};
    const std::string_view reach = page.text().substr(page.position(), kLongest);
    return reach.substr(0, reach.find(';') + 1);
}

// Goes on to the next ampersand, at most to `end`; whether it stands at one.
//
// Pass(page) begins a run of blocks. pass.take(page, block, count) reads at least one and at most
// `count` of the next bytes, of which `block` is made; it has to be inlined here.
template <typename Pass>
bool takeUpToAmpersand(InPlaceRewrite& page, std::size_t end) {
    InPlaceRewrite own = page;  // which the compiler keeps in registers
    Pass pass(own);
    bool isAtAmpersand = false;
    while (!isAtAmpersand && own.position() < end) {
        const ByteBlock block = own.nextBlock();
        const std::uint32_t ampersands = block.isEqualTo('&').topBits();
        const std::size_t inReach = end - own.position();
        isAtAmpersand = (ampersands & 1) != 0;
        if (ampersands == 0 && inReach >= ByteBlock::kSize) {
            pass.take(own, block, ByteBlock::kSize);
        } else if (!isAtAmpersand) {
            const auto before = static_cast<std::size_t>(std::countr_zero(ampersands));
            pass.take(own, block, std::min({inReach, before, ByteBlock::kSize}));
        }
    }
    page = own;
    return isAtAmpersand;
}

// Rewrites the whole text; Pass::takeAmpersand(page) reads at least the ampersand.
template <typename Pass>
void rewriteAroundAmpersands(std::string& text, const Yield& yield) {
    InPlaceRewrite page(text);
    ReadYield readYield(yield);
    while (!page.isAtEnd()) {
        const std::size_t end = readYield.standingAt(page.position(), page.size());
        if (takeUpToAmpersand<Pass>(page, end)) Pass::takeAmpersand(page);
    }
    page.finish();
}

}  // namespace siftwell
