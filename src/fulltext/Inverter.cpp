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
    const std::size_t capacity = std::max(count, m_capacity * 2);
    std::unique_ptr<std::uint32_t[]> larger(new std::uint32_t[capacity]);
    std::copy_n(m_numbers.get(), kept, larger.get());
    m_numbers = std::move(larger);
    m_capacity = capacity;
}

InvertedText Inverter::invert(std::string_view text, TermTables& tables) {
    std::shared_ptr<TermTable> table = tables.take();
    while (!scan(text, *table, tables.filter())) {
        const bool isOfOneText = table->wordCount() == m_entryCount;
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
    m_entryCount = 0;
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

// Whether a text had a word before cannot be guessed, so nothing branches on it.
bool Inverter::addWords(std::span<const WordKey> keys, TermTable& table, const TermFilter& filter) {
    m_sequence.makeRoom(m_words + keys.size(), m_words);
    const std::size_t most = m_entryCount + keys.size();
    if (m_entries.size() < most) m_entries.resize(std::max(most, m_entries.size() * 2));
    const std::uint32_t number = m_textNumber;
    std::uint32_t* sequence = m_sequence.get() + m_words;
    Entry* const entries = m_entries.data();
    std::uint32_t count = m_entryCount;
    bool hasRoom = true;
    for (const WordKey& key : keys) {
        const auto slot = table.add(key, filter);
        if (!slot) {
            hasRoom = false;
            break;
        }
        TermTable::Note& note = table.note(*slot);
        const std::uint32_t isNew = note.text != number ? 1 : 0;
        const std::uint32_t maskIfKnown = isNew - 1;
        note = {number, (note.entry & maskIfKnown) | (count & ~maskIfKnown)};
        count += isNew;
        Entry& entry = entries[note.entry];
        entry.slot = *slot;
        entry.isTerm = table.isTerm(*slot);
        entry.frequency = (entry.frequency & maskIfKnown) + 1;
        *sequence++ = note.entry;
    }
    m_entryCount = count;
    m_words = static_cast<std::size_t>(sequence - m_sequence.get());
    return hasRoom;
}

void Inverter::sortPositions() {
    std::uint32_t sum = 0;
    for (Entry& entry : entriesOfText()) {
        entry.nextPosition = sum;
        sum += entry.frequency;
    }
    m_positions.makeRoom(m_words, 0);
    const std::uint32_t* const sequence = m_sequence.get();
    std::uint32_t* const positions = m_positions.get();
    Entry* const entries = m_entries.data();
    for (std::uint32_t position = 0; position < m_words; ++position) {
        positions[entries[sequence[position]].nextPosition++] = position;
    }
}

InvertedText Inverter::gather(std::shared_ptr<const TermTable> table) {
    const auto isTerm = [](const Entry& entry) { return entry.isTerm; };
    InvertedText result;
    result.m_terms = static_cast<std::size_t>(
        std::count_if(entriesOfText().begin(), entriesOfText().end(), isTerm));
    result.m_numbers.resize(result.m_terms * 3 + 1);
    std::uint32_t* const slots = result.m_numbers.data();
    std::uint32_t* const frequencies = slots + result.m_terms;
    std::uint32_t* const begins = frequencies + result.m_terms;
    m_encoded.clear();
    std::size_t term = 0;
    for (const Entry& entry : entriesOfText()) {
        if (!entry.isTerm) continue;
        slots[term] = entry.slot;
        frequencies[term] = entry.frequency;
        result.m_words += entry.frequency;
        encodePositions(entry);
        begins[++term] = static_cast<std::uint32_t>(m_encoded.size());
    }
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
