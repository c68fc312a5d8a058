// TermTable: the different words of many texts, each of them kept once.
//
// A table has a fixed number of slots, and nothing in it moves or goes: a text names its terms by
// their slots, and stays right while the table fills.
//
// Threads: one adds; any may look at the words it was told of, and look for words meanwhile.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "fulltext/TermFilter.h"
#include "fulltext/WordKey.h"

namespace siftwell::fulltext {

class TermTable {
public:
    using Slot = std::uint32_t;

    // `slots` is a power of two.
    explicit TermTable(std::size_t slots);

    std::size_t slots() const { return m_mask + 1; }
    std::size_t memoryBytes() const { return slots() * (sizeof(Term) + kLongBytesPerSlot); }

    std::string_view word(Slot slot) const {
        const Term& term = m_terms[slot];
        const std::uint32_t size = term.size.load(std::memory_order_relaxed);
        return {size <= WordKey::kHeadBytes ? asCharacters(term) : &m_longBytes[term.longAt], size};
    }
    // The first eight bytes of a word as a number that sorts as they do.
    std::uint64_t sortKey(Slot slot) const { return __builtin_bswap64(m_terms[slot].head[0]); }

    std::optional<Slot> find(const WordKey& key) const {
        const Place place = locate(key);
        return place.isTaken ? std::optional(place.slot) : std::nullopt;
    }

    // What follows is for the one that adds.

    std::size_t wordCount() const { return m_wordCount; }

    // Brings what add() will look at on its way into the cache.
    void prefetch(const WordKey& key) const { __builtin_prefetch(&m_terms[key.hash & m_mask]); }

    // The slot of the word, new or not; none when the table is full. The filter is always the same.
    std::optional<Slot> add(const WordKey& key, const TermFilter& filter) {
        const Place place = locate(key);
        const bool isThere = place.isTaken || insert(place.slot, key, filter);
        return isThere ? std::optional(place.slot) : std::nullopt;
    }

    // Whether the filter makes the word a term.
    bool isTerm(Slot slot) const { return m_terms[slot].isTerm; }

    // Where the word stands among those of the text that is being read; texts are numbered.
    struct Note {
        std::uint32_t text = 0;
        std::uint32_t entry = 0;
    };
    Note& note(Slot slot) { return m_terms[slot].note; }
    std::uint32_t nextText() { return ++m_texts; }

private:
    // Aligned, so that each lies in one cache line.
    struct alignas(32) Term {
        WordKey::Head head{};
        std::uint32_t longAt = 0;             // of a longer word, in m_longBytes
        std::atomic<std::uint16_t> size = 0;  // set last; 0 in a free slot
        bool isTerm = false;
        Note note;
    };
    static_assert(sizeof(Term) == 32);

    static constexpr std::size_t kLongBytesPerSlot = 8;

    static const char* asCharacters(const Term& term) {
        const void* anonymous = term.head.data();
        return static_cast<const char*>(anonymous);
    }

    // The slot of a word, or the free one where it would stand.
    struct Place {
        Slot slot;
        bool isTaken;
    };
    Place locate(const WordKey& key) const {
        for (std::size_t slot = key.hash & m_mask;; slot = (slot + 1) & m_mask) {
            const Term& term = m_terms[slot];
            const std::size_t size = term.size.load(std::memory_order_acquire);
            if (size == 0) return {static_cast<Slot>(slot), false};
            if (term.head[0] == key.head[0] && term.head[1] == key.head[1] &&
                size == key.word.size() &&
                (key.isWhole() || word(static_cast<Slot>(slot)) == key.word)) {
                return {static_cast<Slot>(slot), true};
            }
        }
    }

    bool insert(Slot slot, const WordKey& key, const TermFilter& filter);

    const std::size_t m_mask;
    std::unique_ptr<Term[]> m_terms;
    std::unique_ptr<char[]> m_longBytes;
    std::size_t m_longSize = 0;
    std::size_t m_wordCount = 0;
    std::uint32_t m_texts = 0;
};

}  // namespace siftwell::fulltext
