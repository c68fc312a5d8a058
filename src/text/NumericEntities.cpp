#include <algorithm>
#include <map>

#include "text/HtmlRewrites.h"
#include "text/InPlaceRewrite.h"
#include "text/LeadingInteger.h"
#include "text/Utf8.h"

// The rule for numeric entities says: find the next "&#" and the ";" behind it, replace every
// occurrence of what they enclose in the whole text by its character, go on two characters behind
// the place of the find. Done as it is said this takes time that grows with the square of the text;
// here one reading finds out which entities get replaced, and a second one replaces them.
//
// What a find replaces further on is no find any more. What it replaces further back (entities that
// the search had jumped over) makes the text in front of the search shorter, so that the search
// jumps over as much more of the text behind it.

namespace siftwell {

namespace {

constexpr std::string_view kStart = "&#";
constexpr auto npos = std::string_view::npos;

char32_t characterOf(std::string_view entity) {
    return static_cast<char16_t>(leadingInteger(entity.substr(kStart.size())));
}

// From "&#" to the next ";"; empty where there is none.
std::string_view entityAt(std::string_view text, std::size_t at) {
    const std::size_t stop = text.find(';', at);
    return stop == npos ? std::string_view() : text.substr(at, stop + 1 - at);
}

class NumericEntitySearch {
public:
    NumericEntitySearch(std::string_view text, const Yield& yield);

    bool isReplaced(std::string_view entity) const {
        const auto fate = m_fates.find(entity);
        return fate != m_fates.end() && fate->second.isReplaced;
    }

private:
    struct Fate {
        bool isReplaced = false;
        std::size_t unitsSaved = 0;  // by replacing what was jumped over
    };

    void meet(std::string_view entity, const Yield& yield);
    void jumpOver(std::size_t units) { m_jump -= std::min(m_jump, units); }

    std::map<std::string_view, Fate> m_fates;
    std::size_t m_jump = 0;  // units ahead in which the search does not look
};

NumericEntitySearch::NumericEntitySearch(std::string_view text, const Yield& yield) {
    std::size_t at = 0;
    for (std::size_t next; (next = text.find(kStart, at)) != npos;) {
        const std::string_view entity = entityAt(text, next);
        jumpOver(utf16Length(text.substr(at, next - at)));
        if (entity.empty()) {
            const std::size_t landing = next + utf16Prefix(text.substr(next), m_jump).size();
            if (yield && text.find(kStart, landing) != npos) yield();
            return;
        }
        meet(entity, yield);
        at = next + entity.size();
    }
}

void NumericEntitySearch::meet(std::string_view entity, const Yield& yield) {
    Fate& fate = m_fates[entity];
    if (fate.isReplaced) return jumpOver(1);
    const std::size_t units = utf16Length(entity);
    if (m_jump > 0) {
        fate.unitsSaved += units - 1;
        return jumpOver(units);
    }
    if (yield) yield();
    fate.isReplaced = true;
    m_jump = fate.unitsSaved + 1;
}

}  // namespace

void replaceNumericEntities(std::string& text, const Yield& whilePerforming) {
    const std::string original = text;
    const NumericEntitySearch search(original, whilePerforming);
    InPlaceRewrite rewrite(text);
    for (std::size_t next; (next = original.find(kStart, rewrite.position())) != npos;) {
        const std::string_view entity = entityAt(original, next);
        if (entity.empty()) break;
        rewrite.copyUpTo(next);
        if (search.isReplaced(entity)) {
            rewrite.skipTo(next + entity.size());
            rewrite.writeCharacter(characterOf(entity));
        } else {
            rewrite.copyUpTo(next + entity.size());
        }
    }
    rewrite.copyUpTo(text.size());
    rewrite.finish();
}

}  // namespace siftwell
