#include "fulltext/TermFilter.h"

#include "text/Folding.h"
#include "text/Words.h"

namespace siftwell::fulltext {

TermFilter::TermFilter(const IndexSettings& settings)
    : m_minimumLength(settings.minimumTermLength) {
    for (const std::string& word : settings.stopWords) m_stopWords.insert(folded(word));
}

bool TermFilter::isTerm(std::string_view foldedWord) const {
    if (m_minimumLength > 1 && characterCount(foldedWord) < m_minimumLength) return false;
    return !m_stopWords.contains(foldedWord);
}

}  // namespace siftwell::fulltext
