#include "search/Snippet.h"

#include <algorithm>
#include <array>
#include <deque>

#include "text/DisplayWidth.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

using Range = Snippet::Range;

constexpr std::string_view kLeftOut = "…";
constexpr std::size_t kLeftOutColumns = 3;  // with a blank on either side
constexpr std::size_t kMostBytes = 4096;    // that a passage reaches to either side
constexpr std::size_t kNearestBlank = 20;   // columns given up so that no word is cut
constexpr std::size_t kMostParts = QueryMatches::kMostParts;

// Blanks, control characters and what ends lines: one blank stands for a run of them.
bool isGap(char32_t character) {
    return character <= 0x20 || (character >= 0x7F && character <= 0xA0) || character == 0x1680 ||
           (character >= 0x2000 && character <= 0x200A) || character == 0x2028 ||
           character == 0x2029 || character == 0x202F || character == 0x205F || character == 0x3000;
}

// ---- Where to look

// The densest place of a text: where most parts of the query stand together.
class BestPlace {
public:
    BestPlace(std::size_t parts, std::size_t maxBytes) : m_parts(parts), m_maxBytes(maxBytes) {}

    // False when nothing better can come.
    bool add(const QueryMatch& match) {
        if (!m_first[match.part]) m_first[match.part] = Range{match.begin, match.end};
        m_window.push_back(match);
        m_distinct += m_counts[match.part]++ == 0 ? 1U : 0U;
        while (match.end - m_window.front().begin > m_maxBytes && m_window.size() > 1) dropFront();
        if (std::pair(m_distinct, m_window.size()) > m_best) keep();
        return m_distinct < m_parts;
    }

    std::optional<Range> best() const { return m_place; }

    // The first part of the query that does not stand there but elsewhere.
    std::optional<Range> elsewhere() const {
        for (std::size_t part = 0; part < m_parts; ++part) {
            if (m_first[part] && !m_isThere[part]) return m_first[part];
        }
        return std::nullopt;
    }

private:
    void dropFront() {
        m_distinct -= --m_counts[m_window.front().part] == 0 ? 1U : 0U;
        m_window.pop_front();
    }

    void keep() {
        m_best = {m_distinct, m_window.size()};
        const auto begin =
            std::min_element(m_window.begin(), m_window.end(), [](const auto& a, const auto& b) {
                return a.begin < b.begin;
            })->begin;
        m_place = Range{begin, m_window.back().end};
        for (std::size_t part = 0; part < m_parts; ++part) m_isThere[part] = m_counts[part] > 0;
    }

    const std::size_t m_parts;
    const std::size_t m_maxBytes;
    std::deque<QueryMatch> m_window;
    std::array<std::size_t, kMostParts> m_counts{};
    std::array<std::optional<Range>, kMostParts> m_first{};
    std::array<bool, kMostParts> m_isThere{};
    std::size_t m_distinct = 0;
    std::pair<std::size_t, std::size_t> m_best{};
    std::optional<Range> m_place;
};

// ---- How far it reaches

// Walks over a text by characters and counts their columns; a gap counts one.
class Walk {
public:
    Walk(std::string_view text, std::size_t at) : m_text(text), m_at(at) {}

    std::size_t at() const { return m_at; }
    std::size_t columns() const { return m_columns; }

    bool forward(std::size_t maxColumns) {
        if (m_at >= m_text.size()) return false;
        return step(utf8CharacterAt(m_text, m_at), maxColumns, m_at, true);
    }
    bool backward(std::size_t maxColumns) {
        if (m_at == 0) return false;
        return step(utf8CharacterBefore(m_text, m_at), maxColumns, m_at, false);
    }

private:
    bool step(const Utf8Character& next, std::size_t maxColumns, std::size_t at, bool isForward) {
        const bool isInGap = isGap(next.character);
        const std::size_t width = isInGap ? (m_isInGap ? 0 : 1) : columnsOf(next.character);
        if (m_columns + width > maxColumns) return false;
        m_columns += width;
        m_isInGap = isInGap;
        m_at = isForward ? at + next.bytes : at - next.bytes;
        return true;
    }

    std::string_view m_text;
    std::size_t m_at;
    std::size_t m_columns = 0;
    bool m_isInGap = false;
};

bool isGapAt(std::string_view text, std::size_t at) {
    return at == text.size() || isGap(utf8CharacterAt(text, at).character);
}
bool isGapBefore(std::string_view text, std::size_t at) {
    return at == 0 || isGap(utf8CharacterBefore(text, at).character);
}

// The next place from `from` on where a word may begin, or `from` when there is none near.
std::size_t wordBegin(std::string_view text, std::size_t from, std::size_t until) {
    Walk walk(text, from);
    while (!isGapBefore(text, walk.at())) {
        if (walk.at() >= until || !walk.forward(kNearestBlank)) return from;
    }
    return walk.at();
}

// The same before `from`, where one may end.
std::size_t wordEnd(std::string_view text, std::size_t from, std::size_t until) {
    Walk walk(text, from);
    while (!isGapAt(text, walk.at())) {
        if (walk.at() <= until || !walk.backward(kNearestBlank)) return from;
    }
    return walk.at();
}

// The passage of so many columns with the place in it, a third of the rest in front.
Range passageAround(std::string_view text, const Range& place, std::size_t columns) {
    Walk inside(text, place.begin);
    while (inside.at() < std::min(place.end, place.begin + kMostBytes) && inside.forward(columns)) {
    }
    const std::size_t left = columns - inside.columns();
    Walk before(text, place.begin);
    while (place.begin - before.at() < kMostBytes && before.backward(left / 3)) {
    }
    Walk behind(text, inside.at());
    while (behind.at() - inside.at() < kMostBytes && behind.forward(left - before.columns())) {
    }
    // A text that ends here leaves room in front.
    while (behind.at() == text.size() && place.begin - before.at() < kMostBytes &&
           before.backward(left - behind.columns())) {
    }
    return {wordBegin(text, before.at(), place.begin), wordEnd(text, behind.at(), inside.at())};
}

// ---- What it reads

bool isWordAt(std::string_view text, std::size_t at) {
    return isAlphanumeric(utf8CharacterAt(text, at).character);
}

// The range with whole runs of word characters at both ends, whose words are those that the whole
// text has there.
Range withWholeRuns(std::string_view text, Range range) {
    const std::size_t least = range.begin - std::min(range.begin, kMostBytes);
    while (range.begin > least) {
        const Utf8Character before = utf8CharacterBefore(text, range.begin);
        if (!isAlphanumeric(before.character)) break;
        range.begin -= before.bytes;
    }
    const std::size_t most = std::min(text.size(), range.end + kMostBytes);
    while (range.end < most && isWordAt(text, range.end)) {
        range.end += utf8CharacterAt(text, range.end).bytes;
    }
    return {range.begin, std::min(range.end, text.size())};
}

// The matches that begin in the passage, cut at its end.
std::vector<Range> matchesIn(std::string_view text, const Range& passage,
                             const QueryMatches& query) {
    const Range read = withWholeRuns(text, passage);
    std::vector<Range> found;
    query.forEachIn(text.substr(read.begin, read.end - read.begin), [&](const QueryMatch& match) {
        const std::size_t begin = std::max(match.begin + read.begin, passage.begin);
        const std::size_t end = std::min(match.end + read.begin, passage.end);
        if (begin < end) found.push_back({begin, end});
        return true;
    });
    std::sort(found.begin(), found.end(),
              [](const Range& a, const Range& b) { return a.begin < b.begin; });
    std::vector<Range> apart;
    for (const Range& range : found) {
        if (apart.empty() || range.begin > apart.back().end) {
            apart.push_back(range);
        } else {
            apart.back().end = std::max(apart.back().end, range.end);
        }
    }
    return apart;
}

class SnippetWriter {
public:
    SnippetWriter(std::string_view text, const QueryMatches& query)
        : m_text(text), m_query(query) {}

    void append(const Range& passage) {
        if (passage.begin > 0 && passage.begin != m_end) appendLeftOut();
        const std::vector<Range> matches = matchesIn(m_text, passage, m_query);
        auto match = matches.begin();
        for (std::size_t at = passage.begin; at < passage.end;) {
            const Utf8Character next = utf8CharacterAt(m_text, at);
            if (match != matches.end() && at == match->begin) {
                m_snippet.matches.push_back({sizeWithGap(), 0});
            }
            append(next.character);
            at += next.bytes;
            if (match != matches.end() && at >= match->end) {
                m_snippet.matches.back().end = m_snippet.text.size();
                ++match;
            }
        }
        m_end = passage.end;
    }

    Snippet finish() {
        if (m_end < m_text.size()) appendLeftOut();
        return std::move(m_snippet);
    }

private:
    std::size_t sizeWithGap() const { return m_snippet.text.size() + (m_hasGap ? 1 : 0); }

    void appendLeftOut() {
        if (!m_snippet.text.empty()) m_snippet.text += ' ';
        m_snippet.text += kLeftOut;
        m_hasGap = true;
    }

    // What is no character is shown as such.
    void append(char32_t character) {
        if (isGap(character)) {
            m_hasGap = !m_snippet.text.empty();
            return;
        }
        if (m_hasGap) m_snippet.text += ' ';
        m_hasGap = false;
        appendUtf8(m_snippet.text, character);
    }

    std::string_view m_text;
    const QueryMatches& m_query;
    Snippet m_snippet;
    std::size_t m_end = 0;  // of the passage before
    bool m_hasGap = false;
};

}  // namespace

Snippet SnippetMaker::snippetOf(std::string_view readableText, std::size_t maxColumns) const {
    const std::string_view text = trimmingWhiteSpace(readableText);
    BestPlace best(m_query.parts(), maxColumns / 2);
    m_query.forEachIn(text, [&best](const QueryMatch& match) { return best.add(match); });
    std::vector<Range> places = {best.best().value_or(Range{})};
    if (const auto other = best.elsewhere()) places.push_back(*other);
    std::sort(places.begin(), places.end(),
              [](const Range& a, const Range& b) { return a.begin < b.begin; });

    const std::size_t leftOut = (places.size() + 1) * kLeftOutColumns - 2;
    const std::size_t columns = (maxColumns - std::min(maxColumns, leftOut)) / places.size();
    SnippetWriter writer(text, m_query);
    std::size_t end = 0;
    for (const Range& place : places) {
        Range passage = passageAround(text, place, columns);
        passage.begin = std::max(passage.begin, end);
        passage.end = std::max(passage.end, passage.begin);
        end = passage.end;
        writer.append(passage);
    }
    return writer.finish();
}

std::optional<Snippet> SnippetMaker::snippetFor(const FoundRow& row, std::size_t maxColumns) const {
    const SKIndex index = row.index.lock();
    if (index == nullptr) return std::nullopt;
    const auto text = index->index->readableTextOf(row.document);
    if (!text) return std::nullopt;
    return snippetOf(*text, maxColumns);
}

}  // namespace siftwell
