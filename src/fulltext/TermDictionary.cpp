#include "fulltext/TermDictionary.h"

#include <algorithm>

#include "base/Translate.h"
#include "fulltext/ByteSearch.h"
#include "fulltext/Bytes.h"
#include "fulltext/TermGrams.h"

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
      m_entries(trailer.termEntries),
      m_samples(trailer.termSamples),
      m_grams(trailer.termGrams) {}

std::optional<TermEntry> TermDictionary::entry(TermNumber number) const {
    if (number > m_size) return std::nullopt;
    const auto raw =
        m_body->range(m_entries.offset + std::uint64_t{number} * kTermEntrySize, kTermEntrySize);
    if (!raw) return std::nullopt;
    return loadNumber<TermEntry>(raw->data());
}

std::optional<std::string_view> TermDictionary::textBetween(const TermEntry& entry,
                                                            const TermEntry& behind) const {
    if (behind.bytes <= entry.bytes || behind.bytes > m_bytes.size) return std::nullopt;
    return m_body->range(m_bytes.offset + entry.bytes, behind.bytes - entry.bytes - 1);
}

std::optional<std::string_view> TermDictionary::term(TermNumber number) const {
    const auto begin = entry(number);
    const auto end = entry(number + 1);
    return begin && end ? textBetween(*begin, *end) : std::nullopt;
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

// Between which two terms the first lies that is not before the word.
std::optional<std::pair<TermNumber, TermNumber>> TermDictionary::rangeAround(
    std::string_view word) const {
    const auto samples = m_body->range(m_samples.offset, m_samples.size);
    if (!samples) return std::nullopt;
    const std::uint64_t key = sortKeyOf(word);
    const std::size_t count = samples->size() / sizeof(key);
    const auto sampleAt = [&](std::size_t at) {
        return loadNumber<std::uint64_t>(samples->data() + at * sizeof(key));
    };
    const auto firstThat = [&](std::size_t from, auto holds) {
        for (std::size_t end = count; from < end;) {
            const std::size_t middle = from + (end - from) / 2;
            // One of both is next.
            __builtin_prefetch(samples->data() + (from + middle) / 2 * sizeof(key));
            __builtin_prefetch(samples->data() + (middle + end) / 2 * sizeof(key));
            holds(sampleAt(middle)) ? end = middle : from = middle + 1;
        }
        return from;
    };
    const std::size_t low = firstThat(0, [key](std::uint64_t sample) { return sample >= key; });
    std::size_t high = low;
    if (low < count && sampleAt(low) == key) {
        high = firstThat(low, [key](std::uint64_t sample) { return sample > key; });
    }
    return std::pair(
        static_cast<TermNumber>(low == 0 ? 0 : (low - 1) * kTermsPerSample),
        static_cast<TermNumber>(std::min<std::size_t>(high * kTermsPerSample, m_size)));
}

// The first term that is not before the word.
Result<TermNumber> TermDictionary::lowerBound(std::string_view word) const {
    const auto range = rangeAround(word);
    if (!range) return damaged();
    auto [low, high] = *range;
    if (low >= high) return low;
    // All that is looked at is checked at once.
    const TermNumber first = low;
    const auto entries = m_body->range(m_entries.offset + std::uint64_t{first} * kTermEntrySize,
                                       (std::uint64_t{high} - first + 1) * kTermEntrySize);
    if (!entries) return damaged();
    prefetch(*entries);
    const std::uint32_t begin = offsetOf(*entries, 0);
    const std::uint32_t end = offsetOf(*entries, high - first);
    if (begin > end || end > m_bytes.size) return damaged();
    const auto bytes = m_body->range(m_bytes.offset + begin, end - begin);
    if (!bytes) return damaged();
    prefetch(*bytes);
    while (low < high) {
        const TermNumber middle = low + (high - low) / 2;
        const std::uint32_t at = offsetOf(*entries, middle - first);
        const std::uint32_t behind = offsetOf(*entries, middle - first + 1);
        if (at < begin || behind <= at || behind > end) return damaged();
        if (bytes->substr(at - begin, behind - at - 1) < word) {
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
    const auto grams = m_body->range(m_grams.offset, m_grams.size);
    if (!bytes || !entries || !grams) return damaged();
    std::vector<TermNumber> found;
    const std::vector<std::uint32_t> chunks = chunksWith(*grams, m_size, pattern);
    for (std::size_t at = 0; at < chunks.size();) {
        const std::uint32_t first = chunks[at];
        std::uint32_t end = first + 1;
        while (++at < chunks.size() && chunks[at] == end) ++end;
        const auto endTerm = static_cast<TermNumber>(
            std::min<std::uint64_t>(std::uint64_t{end} * kTermsPerSample, m_size));
        if (!scanRun(*bytes, *entries, pattern, first * kTermsPerSample, endTerm, found)) {
            return damaged();
        }
    }
    return found;
}

bool TermDictionary::scanRun(std::string_view bytes, std::string_view entries,
                             std::string_view pattern, TermNumber first, TermNumber end,
                             std::vector<TermNumber>& found) const {
    std::size_t at = offsetOf(entries, first);
    const std::size_t behind = offsetOf(entries, end);
    if (at > behind || behind > bytes.size()) return false;
    const std::string_view run = bytes.substr(0, behind);
    for (TermNumber from = first; (at = findBytes(run, pattern, at)) != std::string_view::npos;) {
        from = termAt(entries, static_cast<std::uint32_t>(at), from);
        if (from >= end) return false;
        found.push_back(from++);
        const std::uint32_t next = offsetOf(entries, from);
        if (next <= at) return false;
        at = next;
    }
    return true;
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
