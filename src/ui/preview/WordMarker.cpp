#include "ui/preview/WordMarker.h"

#include <algorithm>
#include <utility>

#include "text/Utf8.h"

namespace siftwell {

namespace {

using ByteRange = std::pair<std::size_t, std::size_t>;

// Of the first matches; those that overlap are one.
std::vector<ByteRange> rangesIn(const std::string& texts, const QueryMatches& query) {
    std::vector<ByteRange> found;
    query.forEachIn(texts, [&found](const QueryMatch& match) {
        found.emplace_back(match.begin, match.end);
        return found.size() < kMostMarks;
    });
    std::sort(found.begin(), found.end());
    std::vector<ByteRange> ranges;
    for (const ByteRange& range : found) {
        if (!ranges.empty() && range.first < ranges.back().second) {
            ranges.back().second = std::max(ranges.back().second, range.second);
        } else {
            ranges.push_back(range);
        }
    }
    return ranges;
}

// Walks through the texts' bytes and knows which UTF-16 unit of which text it stands at.
class TextPlaces {
public:
    explicit TextPlaces(const std::string& texts) : m_texts(texts) {}

    // Rising positions only. Calls `take` with the part of every text on the way.
    template <typename Take>
    void walkTo(std::size_t position, const Take& take) {
        int begin = m_unit;
        while (m_at < position) {
            const Utf8Character next = utf8CharacterAt(m_texts, m_at);
            m_at += next.bytes;
            if (next.character != 0) {
                m_unit += next.character > 0xFFFF ? 2 : 1;
                continue;
            }
            take(m_text, begin, m_unit);
            ++m_text;
            begin = m_unit = 0;
        }
        take(m_text, begin, m_unit);
    }

private:
    const std::string& m_texts;
    std::size_t m_at = 0;
    int m_text = -1;  // a NUL stands before the first one
    int m_unit = 0;
};

}  // namespace

QString scriptOfTexts() {
    return QStringLiteral(R"((() => {
        const hidden = new Set(['SCRIPT', 'STYLE', 'TEXTAREA', 'TEMPLATE', 'TITLE', 'SELECT']);
        const nodes = [], texts = [''];
        const walker = document.createTreeWalker(document, NodeFilter.SHOW_TEXT);
        for (let rest = 2000000, node = walker.nextNode(); node && rest > 0;
             node = walker.nextNode()) {
            const parent = node.parentNode;
            if (parent.namespaceURI !== 'http://www.w3.org/1999/xhtml') continue;
            if (hidden.has(parent.nodeName) || !node.data.trim()) continue;
            const text = node.data.replaceAll('\0', ' ');
            rest -= text.length;
            if (rest < 0) break;
            nodes.push(node);
            texts.push(text);
        }
        globalThis.siftwellTexts = nodes;
        return texts.join('\0');
    })())");
}

std::vector<WordMark> marksIn(const QString& texts, const QueryMatches& query) {
    const std::string bytes = texts.toStdString();
    TextPlaces places(bytes);
    std::vector<WordMark> marks;
    for (const auto& [begin, end] : rangesIn(bytes, query)) {
        places.walkTo(begin, [](int, int, int) {});
        places.walkTo(end, [&marks](int text, int from, int to) {
            if (text >= 0 && from < to) marks.push_back({text, from, to});
        });
    }
    return marks;
}

QString scriptOfMarks(const std::vector<WordMark>& marks) {
    QString numbers;
    for (const WordMark& mark : marks) {
        numbers += QStringLiteral("%1,%2,%3,").arg(mark.text).arg(mark.begin).arg(mark.end);
    }
    return QStringLiteral(R"(((marks) => {
        const nodes = globalThis.siftwellTexts || [], made = [];
        const style = {'background-color': '#ffe27a', 'color': '#1a1a1a', 'font': 'inherit',
                       'box-shadow': 'inset 0 -2px #b07d00', 'display': 'inline'};
        for (let i = marks.length - 3; i >= 0; i -= 3) {
            const node = nodes[marks[i]], begin = marks[i + 1], end = marks[i + 2];
            if (!node || !node.parentNode || end > node.length) continue;
            if (end < node.length) node.splitText(end);
            const word = node.splitText(begin);
            const mark = document.createElement('siftwell-mark');
            for (const key in style) mark.style.setProperty(key, style[key], 'important');
            word.parentNode.replaceChild(mark, word);
            mark.appendChild(word);
            made.push(mark);
        }
        delete globalThis.siftwellTexts;
        const first = made.reverse().find((mark) => mark.getClientRects().length > 0);
        if (first) first.scrollIntoView({block: 'center', inline: 'nearest'});
        return made.length;
    })([%1]))")
        .arg(numbers);
}

}  // namespace siftwell
