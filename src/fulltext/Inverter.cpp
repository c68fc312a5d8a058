#include "fulltext/Inverter.h"

#include <algorithm>

#include "fulltext/Bytes.h"
#include "fulltext/Hash.h"
#include "text/Folding.h"
#include "text/Words.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kFirstSlots = 1024;

}  // namespace

TermFilter::TermFilter(const IndexSettings& settings)
    : m_minimumLength(settings.minimumTermLength) {
    for (const std::string& word : settings.stopWords) m_stopWords.insert(folded(word));
}

bool TermFilter::isTerm(std::string_view foldedWord) const {
    if (m_minimumLength > 1 && characterCount(foldedWord) < m_minimumLength) return false;
    return !m_stopWords.contains(foldedWord);
}

InvertedText Inverter::invert(std::string_view text, const TermFilter& filter) {
    clear();
    for (WordScanner scanner(text); scanner.next();) {
        const std::uint32_t entry = entryOf(scanner.word(), filter);
        ++m_entries[entry].frequency;
        m_sequence.push_back(entry);
    }
    InvertedText result;
    appendTerms(result);
    return result;
}

void Inverter::clear() {
    // A table that one large page has blown up is not carried along for ever.
    if (m_slots.size() > 64 * kFirstSlots) m_slots.clear();
    m_slots.resize(std::max(m_slots.size(), kFirstSlots));
    std::fill(m_slots.begin(), m_slots.end(), 0);
    m_entries.clear();
    m_bytes.clear();
    m_sequence.clear();
}

std::uint32_t* Inverter::slotOf(std::string_view word, std::uint64_t hash) {
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        std::uint32_t& slot = m_slots[at];
        if (slot == 0) return &slot;
        const Entry& entry = m_entries[slot - 1];
        if (entry.hash == hash &&
            std::string_view(m_bytes).substr(entry.bytes, entry.size) == word) {
            return &slot;
        }
    }
}

std::uint32_t Inverter::entryOf(std::string_view word, const TermFilter& filter) {
    const std::uint64_t hash = seededHash(word, hashSeed());
    std::uint32_t* slot = slotOf(word, hash);
    if (*slot != 0) return *slot - 1;
    if (m_entries.size() * 2 >= m_slots.size()) {
        growTable();
        slot = slotOf(word, hash);
    }
    const std::uint32_t entry = addEntry(word, hash, filter);
    *slot = entry + 1;
    return entry;
}

std::uint32_t Inverter::addEntry(std::string_view word, std::uint64_t hash,
                                 const TermFilter& filter) {
    m_entries.push_back({.hash = hash,
                         .bytes = static_cast<std::uint32_t>(m_bytes.size()),
                         .size = static_cast<std::uint32_t>(word.size()),
                         .frequency = 0,
                         .isTerm = filter.isTerm(word)});
    m_bytes += word;
    return static_cast<std::uint32_t>(m_entries.size() - 1);
}

void Inverter::growTable() {
    m_slots.assign(m_slots.size() * 4, 0);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t entry = 0; entry < m_entries.size(); ++entry) {
        std::size_t at = m_entries[entry].hash & mask;
        while (m_slots[at] != 0) at = (at + 1) & mask;
        m_slots[at] = static_cast<std::uint32_t>(entry + 1);
    }
}

// The positions of the first entry, then those of the second, and so on.
std::vector<std::uint32_t> Inverter::positionsByEntry() const {
    std::vector<std::uint32_t> next(m_entries.size());
    std::uint32_t sum = 0;
    for (std::size_t entry = 0; entry < m_entries.size(); ++entry) {
        next[entry] = sum;
        sum += m_entries[entry].frequency;
    }
    std::vector<std::uint32_t> positions(m_sequence.size());
    for (std::uint32_t position = 0; position < m_sequence.size(); ++position) {
        positions[next[m_sequence[position]]++] = position;
    }
    return positions;
}

void Inverter::appendTerms(InvertedText& result) const {
    const std::vector<std::uint32_t> positions = positionsByEntry();
    result.m_hashes.reserve(m_entries.size());
    result.m_terms.reserve(m_entries.size() + 1);
    result.m_bytes.reserve(m_bytes.size());
    result.m_positions.reserve(positions.size() * 5 / 4);
    const std::uint32_t* position = positions.data();
    for (const Entry& entry : m_entries) {
        const std::uint32_t* const end = position + entry.frequency;
        if (entry.isTerm) {
            result.m_hashes.push_back(entry.hash);
            result.m_terms.push_back({static_cast<std::uint32_t>(result.m_bytes.size()),
                                      static_cast<std::uint32_t>(result.m_positions.size()),
                                      entry.frequency});
            result.m_bytes.append(m_bytes, entry.bytes, entry.size);
            result.m_words += entry.frequency;
            std::uint32_t before = 0;
            for (const std::uint32_t* at = position; at != end; ++at) {
                appendVarint(result.m_positions, *at - before);
                before = *at;
            }
        }
        position = end;
    }
    result.m_terms.push_back({static_cast<std::uint32_t>(result.m_bytes.size()),
                              static_cast<std::uint32_t>(result.m_positions.size()), 0});
}

}  // namespace siftwell::fulltext
