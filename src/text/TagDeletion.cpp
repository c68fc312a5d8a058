#include <algorithm>

#include "text/BytePlaces.h"
#include "text/HTMLProcessor.h"
#include "text/InPlaceRewrite.h"
#include "text/Needle.h"

namespace siftwell {

namespace {

// Copies what is left, of which nothing is deleted.
void copyToEnd(InPlaceRewrite& page, ReadYield& readYield) {
    while (!page.isAtEnd()) page.copyUpTo(readYield.standingAt(page.position(), page.size()));
}

void deleteStretches(std::string& text, const Needle& start, const Needle& stop,
                     const Yield& yield) {
    InPlaceRewrite page(text);
    ReadYield readYield(yield);
    while (!page.isAtEnd()) {
        const std::size_t end = readYield.standingAt(page.position(), page.size());
        const std::size_t hit = start.find(page.text(), page.position(), end);
        page.copyUpTo(hit);
        if (hit == end) continue;
        const std::size_t stopAt = stop.find(page.text(), hit + start.size(), page.size());
        if (stopAt == page.size()) break;  // so there is none behind any later start either
        page.skipTo(stopAt + stop.size());
        page.writeSpaceUnlessOneStands();
    }
    copyToEnd(page, readYield);
    page.finish();
}

// The same for delimiters of one byte, which stand close together in every page.
void deleteStretches(std::string& text, char start, char stop, const Yield& yield) {
    InPlaceRewrite page(text);
    ReadYield readYield(yield);
    BytePlaces<ReadYield::kInterval> places(start, stop);
    bool isInside = false;
    for (std::size_t from = 0; from < page.size(); from += ReadYield::kInterval) {
        const std::size_t to = std::min(from + ReadYield::kInterval, page.size());
        if (!isInside) readYield.standingAt(from, to);
        for (const std::uint16_t place : places.list(page.text(), from, to)) {
            const std::size_t at = from + place;
            if (isInside && page.text()[at] == stop) {
                page.skipTo(at + 1);
                page.writeSpaceUnlessOneStands();
                isInside = false;
            } else if (!isInside && page.text()[at] == start) {
                page.copyUpTo(at);
                isInside = true;
            }
        }
        if (!isInside) page.copyUpTo(to);
    }
    copyToEnd(page, readYield);
    page.finish();
}

}  // namespace

void HTMLProcessor::deleteTagsWithStartDelimiter(std::string_view start,
                                                 std::string_view stopDelimiter, bool ignoreCase,
                                                 const Yield& whilePerforming) {
    if (start.empty() || stopDelimiter.empty()) return;
    if (start.size() == 1 && stopDelimiter.size() == 1) {
        deleteStretches(m_text, start[0], stopDelimiter[0], whilePerforming);
    } else {
        const auto letters = ignoreCase ? Needle::Letters::AnyCaseButFirst : Needle::Letters::Exact;
        deleteStretches(m_text, Needle(start, letters), Needle(stopDelimiter, letters),
                        whilePerforming);
    }
}

}  // namespace siftwell
