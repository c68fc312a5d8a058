#include "fulltext/Inverter.h"

#include <algorithm>
#include <array>

#include "fulltext/Bytes.h"
#include "text/Words.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kMaxKeptWords = 1 << 20;
constexpr std::size_t kWordsAtOnce = 16;

}  // namespace

void Inverter::Numbers::makeRoom(std::size_t count, std::size_t kept) {
    if (count <= m_capacity) return;
    m_capacity = std::max(count, m_capacity * 2);
    std::unique_ptr<std::uint32_t[]> larger(new std::uint32_t[m_capacity]);
    std::copy_n(m_numbers.get(), kept, larger.get());
    m_numbers = std::move(larger);
}

InvertedText Inverter::invert(std::string_view text, TermTables& tables) {
    std::shared_ptr<TermTable> table = tables.take();
    while (!scan(text, *table, tables.filter())) {
        const bool isOfOneText = table->wordCount() == m_entries.size();
        table = tables.takeInsteadOf(std::move(table), isOfOneText);
    }
    sortPositions();
    InvertedText result = gather(table);
    tables.giveBack(std::move(table));
    if (m_sequence.capacity() > kMaxKeptWords) *this = Inverter();
    return result;
}

// False when the table has no room for the words of this text besides.
bool Inverter::scan(std::string_view text, TermTable& table, const TermFilter& filter) {
    m_entries.clear();
    m_words = 0;
    m_textNumber = table.nextText();
    // Words that stand in the text are looked up several at a time, while the table's memory is
    // on its way; any other one lives only until the next.
    std::array<WordKey, kWordsAtOnce> keys;
    std::size_t count = 0;
    const std::size_t lastFollowed = text.size() - std::min(text.size(), WordKey::kHeadBytes);
    for (WordScanner scanner(text); scanner.next();) {
        const std::string_view word = scanner.word();
        const bool isFollowed = scanner.isPlain() && scanner.begin() < lastFollowed;
        if (isFollowed) {
            keys[count].setFollowed(word);
        } else {
            keys[count] = WordKey(word);
        }
        table.prefetch(keys[count++]);
        if (count < kWordsAtOnce && isFollowed) continue;
        if (!addWords({keys.data(), count}, table, filter)) return false;
        count = 0;
    }
    return addWords({keys.data(), count}, table, filter);
}

bool Inverter::addWords(std::span<const WordKey> keys, TermTable& table, const TermFilter& filter) {
    m_sequence.makeRoom(m_words + keys.size(), m_words);
    std::uint32_t* const sequence = m_sequence.get();
    for (const WordKey& key : keys) {
        const auto slot = table.add(key, filter);
        if (!slot) return false;
        TermTable::Note& note = table.note(*slot);
        if (note.text != m_textNumber) {
            note = {m_textNumber, static_cast<std::uint32_t>(m_entries.size())};
            m_entries.push_back(
                {.slot = *slot, .frequency = 0, .nextPosition = 0, .isTerm = table.isTerm(*slot)});
        }
        ++m_entries[note.entry].frequency;
        sequence[m_words++] = note.entry;
    }
    return true;
}

void Inverter::sortPositions() {
    std::uint32_t sum = 0;
    for (Entry& entry : m_entries) {
        entry.nextPosition = sum;
        sum += entry.frequency;
    }
    m_positions.makeRoom(m_words, 0);
    const std::uint32_t* const sequence = m_sequence.get();
    std::uint32_t* const positions = m_positions.get();
    for (std::uint32_t position = 0; position < m_words; ++position) {
        positions[m_entries[sequence[position]].nextPosition++] = position;
    }
}

InvertedText Inverter::gather(std::shared_ptr<const TermTable> table) {
    InvertedText result;
    result.m_slots.reserve(m_entries.size());
    result.m_places.reserve(m_entries.size() + 1);
    m_encoded.clear();
    for (const Entry& entry : m_entries) {
        if (!entry.isTerm) continue;
        result.m_slots.push_back(entry.slot);
        result.m_places.push_back({static_cast<std::uint32_t>(m_encoded.size()), entry.frequency});
        result.m_words += entry.frequency;
        encodePositions(entry);
    }
    result.m_places.push_back({static_cast<std::uint32_t>(m_encoded.size()), 0});
    const char* const end = m_encoded.room(kReadSlack) + kReadSlack;
    result.m_positions.assign(m_encoded.view().data(), end);
    result.m_table = std::move(table);
    return result;
}

// Varint distances, the first from 0.
void Inverter::encodePositions(const Entry& entry) {
    char* to = m_encoded.room(std::size_t{entry.frequency} * kMaxVarint32Bytes);
    const std::uint32_t* const positions = m_positions.get();
    std::uint32_t before = 0;
    for (std::uint32_t at = entry.nextPosition - entry.frequency; at < entry.nextPosition; ++at) {
        to = writeVarint(to, positions[at] - before);
        before = positions[at];
    }
    m_encoded.setEnd(to);
}

}  // namespace siftwell::fulltext
