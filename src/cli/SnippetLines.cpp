#include "cli/SnippetLines.h"

#include <algorithm>

#include "cli/Console.h"
#include "text/DisplayWidth.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kMostLines = 2;
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kPlain = "\033[0m";

// Where the line that begins at `begin` ends: behind the last word that fits.
std::size_t lineEnd(std::string_view text, std::size_t begin, std::size_t columns) {
    std::size_t end = 0;
    std::size_t width = 0;
    for (std::size_t at = begin; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (text[at] == ' ') end = at;
        width += columnsOf(next.character);
        if (width > columns) return end > begin ? end : at;
        at += next.bytes;
    }
    return text.size();
}

std::string lineOf(const Snippet& snippet, std::size_t begin, std::size_t end, bool isBold) {
    const std::string_view text = snippet.text;
    std::string line;
    for (const Snippet::Range& match : snippet.matches) {
        if (!isBold || match.end <= begin || match.begin >= end) continue;
        const std::size_t from = std::max(match.begin, begin);
        const std::size_t to = std::min(match.end, end);
        line += printable(text.substr(begin, from - begin));
        line.append(kBold) += printable(text.substr(from, to - from));
        line += kPlain;
        begin = to;
    }
    return line + printable(text.substr(begin, end - begin));
}

}  // namespace

std::vector<std::string> snippetLines(const Snippet& snippet, std::size_t columns, bool isBold) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < snippet.text.size() && lines.size() < kMostLines;) {
        const std::size_t end = lineEnd(snippet.text, begin, columns);
        lines.push_back(lineOf(snippet, begin, end, isBold));
        if (end == begin) break;  // not even one character fits
        begin = end + (end < snippet.text.size() && snippet.text[end] == ' ' ? 1U : 0U);
    }
    return lines;
}

}  // namespace siftwell
