// TermDictionary: the sorted terms of a segment, found by name or by part of a name.
//
// Threads: any. It borrows its bytes, which must outlive it.
// Errors: bytes whose checksum is wrong give Damaged.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/CheckedBytes.h"
#include "fulltext/SegmentFormat.h"

namespace siftwell::fulltext {

using TermNumber = std::uint32_t;  // the place of a term in the order of its segment

// Which terms a query word stands for; the word is folded.
enum class TermMatch { Exact, Prefix, Suffix, Anywhere };

class TermDictionary {
public:
    TermDictionary() = default;
    TermDictionary(const CheckedBytes& body, const SegmentTrailer& trailer);

    std::uint32_t size() const { return m_size; }

    // The terms that match, in rising order. Exact and Prefix search by halves; Suffix and Anywhere
    // look through the terms in which the fragment's parts occur at all.
    Result<std::vector<TermNumber>> matches(std::string_view word, TermMatch match) const;

    std::optional<std::string_view> term(TermNumber number) const;  // none when damaged
    std::optional<TermEntry> entry(TermNumber number) const;        // also for size(): the ends
    // The text of the term whose entry, and the one behind it, are given.
    std::optional<std::string_view> textBetween(const TermEntry& entry,
                                                const TermEntry& behind) const;

private:
    std::optional<std::pair<TermNumber, TermNumber>> rangeAround(std::string_view word) const;
    Result<TermNumber> lowerBound(std::string_view word) const;
    Result<std::vector<TermNumber>> exact(std::string_view word) const;
    Result<std::vector<TermNumber>> withPrefix(std::string_view word) const;
    Result<std::vector<TermNumber>> scan(std::string_view pattern) const;
    // The terms from `first` to before `end` that hold the pattern are found; false for damage.
    bool scanRun(std::string_view bytes, std::string_view entries, std::string_view pattern,
                 TermNumber first, TermNumber end, std::vector<TermNumber>& found) const;
    TermNumber termAt(std::string_view entries, std::uint32_t offset, TermNumber from) const;

    const CheckedBytes* m_body = nullptr;
    std::uint32_t m_size = 0;
    Section m_bytes;
    Section m_entries;
    Section m_samples;
    Section m_grams;
};

}  // namespace siftwell::fulltext
