#include "text/HtmlRewrites.h"

#include "text/EntityTables.h"
#include "text/InPlaceRewrite.h"
#include "text/Needle.h"

namespace siftwell {

namespace {

constexpr std::size_t kRowsPerYield = 10;

void yieldTo(const Yield& yield) {
    if (yield) yield();
}

// What an entity stands for is never longer than the entity.
void replaceEverywhere(std::string& text, const Entity& entity) {
    const Needle needle(entity.text, Needle::Letters::Exact);
    InPlaceRewrite rewrite(text);
    while (!rewrite.isAtEnd()) {
        const std::size_t hit = needle.find(text, rewrite.position(), text.size());
        rewrite.copyUpTo(hit);
        if (rewrite.isAtEnd()) break;
        rewrite.skipTo(hit + needle.size());
        rewrite.writeCharacter(entity.codePoint);
    }
    rewrite.finish();
}

}  // namespace

void replaceHTMLEncodedChars(std::string& text, const Yield& whilePerforming) {
    replaceNumericEntities(text, whilePerforming);
    for (std::size_t i = 0; i < kSpecialEncodedCharMap.size(); ++i) {
        if (i % kRowsPerYield == 0) yieldTo(whilePerforming);
        if (text.find('&') == std::string::npos) return;
        replaceEverywhere(text, kSpecialEncodedCharMap[i]);
    }
}

void replaceHTMLEncodedDelimiters(std::string& text, const Yield& whilePerforming) {
    replaceEverywhere(text, kGreaterLessMap[0]);
    yieldTo(whilePerforming);
    replaceEverywhere(text, kGreaterLessMap[1]);
}

void deleteTagsWithStartDelimiter(std::string& text, std::string_view start,
                                  std::string_view stopDelimiter, bool ignoreCase,
                                  const Yield& whilePerforming) {
    const auto letters = ignoreCase ? Needle::Letters::AnyCase : Needle::Letters::Exact;
    const Needle startNeedle(start, letters);
    const Needle stopNeedle(stopDelimiter, letters);
    InPlaceRewrite rewrite(text);
    while (!rewrite.isAtEnd()) {
        const std::size_t hit = startNeedle.find(text, rewrite.position(), text.size());
        rewrite.copyUpTo(hit);
        if (rewrite.isAtEnd()) break;
        yieldTo(whilePerforming);
        const std::size_t stop = stopNeedle.find(text, hit);
        if (stop == std::string::npos) {
            rewrite.copyUpTo(text.size());
            break;
        }
        rewrite.skipTo(stop + stopNeedle.size());
        rewrite.write(' ');
    }
    rewrite.finish();
}

}  // namespace siftwell
