#include "fulltext/Inverter.h"

#include <algorithm>
#include <array>

#include "fulltext/Bytes.h"
#include "fulltext/Hash.h"
#include "text/Folding.h"
#include "text/Words.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kFirstSlots = 1024;
constexpr std::size_t kMaxKeptWords = 1 << 20;

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
    // Tables that one large page has blown up are not carried along for ever.
    if (m_slots.size() > 64 * kFirstSlots) m_slots.clear();
    if (m_sequence.capacity() > kMaxKeptWords) {
        m_sequence = {};
        m_positions = {};
    }
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
                         .nextPosition = 0,
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

void Inverter::sortPositions() {
    std::uint32_t sum = 0;
    for (Entry& entry : m_entries) {
        entry.nextPosition = sum;
        sum += entry.frequency;
    }
    m_positions.resize(m_sequence.size());
    for (std::uint32_t position = 0; position < m_sequence.size(); ++position) {
        m_positions[m_entries[m_sequence[position]].nextPosition++] = position;
    }
}

// Varint distances, the first from 0.
void Inverter::appendPositions(std::string& bytes, const Entry& entry) const {
    std::array<char, 64 * kMaxVarintBytes> encoded;  // a string that grows by bytes is slow
    char* const begin = encoded.data();
    char* end = begin;
    std::uint32_t before = 0;
    for (std::uint32_t at = entry.nextPosition - entry.frequency; at < entry.nextPosition; ++at) {
        if (begin + encoded.size() - end < static_cast<std::ptrdiff_t>(kMaxVarintBytes)) {
            bytes.append(begin, end);
            end = begin;
        }
        end = writeVarint(end, m_positions[at] - before);
        before = m_positions[at];
    }
    bytes.append(begin, end);
}

void Inverter::appendTerms(InvertedText& result) {
    sortPositions();
    result.m_hashes.reserve(m_entries.size());
    result.m_terms.reserve(m_entries.size() + 1);
    result.m_bytes.reserve(m_bytes.size());
    result.m_positions.reserve(m_positions.size() * 5 / 4);
    for (const Entry& entry : m_entries) {
        if (!entry.isTerm) continue;
        result.m_hashes.push_back(entry.hash);
        result.m_terms.push_back({static_cast<std::uint32_t>(result.m_bytes.size()),
                                  static_cast<std::uint32_t>(result.m_positions.size()),
                                  entry.frequency});
        result.m_bytes.append(m_bytes, entry.bytes, entry.size);
        result.m_words += entry.frequency;
        appendPositions(result.m_positions, entry);
    }
    result.m_terms.push_back({static_cast<std::uint32_t>(result.m_bytes.size()),
                              static_cast<std::uint32_t>(result.m_positions.size()), 0});
}

}  // namespace siftwell::fulltext
