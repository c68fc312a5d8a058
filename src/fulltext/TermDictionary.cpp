#include "fulltext/TermDictionary.h"

#include <algorithm>

#include "base/Translate.h"
#include "fulltext/ByteSearch.h"
#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

Status damaged() { return {StatusCode::Damaged, _("The terms of the index are damaged.")}; }

std::uint32_t offsetOf(std::string_view entries, TermNumber number) {
    return loadNumber<std::uint32_t>(entries.data() + std::size_t{number} * kTermEntrySize);
}

}  // namespace

TermDictionary::TermDictionary(const CheckedBytes& body, const SegmentTrailer& trailer)
    : m_body(&body),
      m_size(trailer.terms),
      m_bytes(trailer.termBytes),
      m_entries(trailer.termEntries) {}

std::optional<TermEntry> TermDictionary::entry(TermNumber number) const {
    if (number > m_size) return std::nullopt;
    const auto raw =
        m_body->range(m_entries.offset + std::uint64_t{number} * kTermEntrySize, kTermEntrySize);
    if (!raw) return std::nullopt;
    return loadNumber<TermEntry>(raw->data());
}

std::optional<std::string_view> TermDictionary::term(TermNumber number) const {
    const auto begin = entry(number);
    const auto end = entry(number + 1);
    if (!begin || !end || end->bytes <= begin->bytes || end->bytes > m_bytes.size) {
        return std::nullopt;
    }
    return m_body->range(m_bytes.offset + begin->bytes, end->bytes - begin->bytes - 1);
}

Result<std::vector<TermNumber>> TermDictionary::matches(std::string_view word,
                                                        TermMatch match) const {
    switch (match) {
        case TermMatch::Exact:
            return exact(word);
        case TermMatch::Prefix:
            return withPrefix(word);
        case TermMatch::Anywhere:
            return scan(word);
        case TermMatch::Suffix:
            return scan(std::string(word) + '\0');
    }
    return std::vector<TermNumber>();
}

// The first term that is not before the word.
Result<TermNumber> TermDictionary::lowerBound(std::string_view word) const {
    TermNumber low = 0;
    TermNumber high = m_size;
    while (low < high) {
        const TermNumber middle = low + (high - low) / 2;
        const auto candidate = term(middle);
        if (!candidate) return damaged();
        if (*candidate < word) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

Result<std::vector<TermNumber>> TermDictionary::exact(std::string_view word) const {
    const Result<TermNumber> first = lowerBound(word);
    if (!first) return first.status();
    if (*first == m_size) return std::vector<TermNumber>();
    const auto candidate = term(*first);
    if (!candidate) return damaged();
    return *candidate == word ? std::vector<TermNumber>{*first} : std::vector<TermNumber>();
}

Result<std::vector<TermNumber>> TermDictionary::withPrefix(std::string_view word) const {
    const Result<TermNumber> first = lowerBound(word);
    if (!first) return first.status();
    std::vector<TermNumber> found;
    for (TermNumber number = *first; number < m_size; ++number) {
        const auto candidate = term(number);
        if (!candidate) return damaged();
        if (!candidate->starts_with(word)) break;
        found.push_back(number);
    }
    return found;
}

Result<std::vector<TermNumber>> TermDictionary::scan(std::string_view pattern) const {
    const auto bytes = m_body->range(m_bytes.offset, m_bytes.size);
    const auto entries = m_body->range(m_entries.offset, m_entries.size);
    if (!bytes || !entries) return damaged();
    std::vector<TermNumber> found;
    TermNumber from = 0;
    for (std::size_t at = 0; (at = findBytes(*bytes, pattern, at)) != std::string_view::npos;) {
        from = termAt(*entries, static_cast<std::uint32_t>(at), from);
        if (from >= m_size) return damaged();
        found.push_back(from++);
        const std::uint32_t next = offsetOf(*entries, from);
        if (next <= at) return damaged();
        at = next;
    }
    return found;
}

// The term that the byte at `offset` belongs to, which is `from` or a later one: searched in
// growing steps, since hits often lie close together.
TermNumber TermDictionary::termAt(std::string_view entries, std::uint32_t offset,
                                  TermNumber from) const {
    TermNumber low = from;
    TermNumber step = 1;
    while (step < m_size - low && offsetOf(entries, low + step) <= offset) {
        low += step;
        step *= 2;
    }
    TermNumber high = low + std::min(step, m_size - low);
    while (low + 1 < high) {
        const TermNumber middle = low + (high - low) / 2;
        (offsetOf(entries, middle) > offset ? high : low) = middle;
    }
    return low;
}

}  // namespace siftwell::fulltext
