#include "text/HtmlQueries.h"

#include <algorithm>

#include "text/HtmlRewrites.h"
#include "text/Needle.h"
#include "text/TextScanner.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kSniffedUnits = 5120;
constexpr std::size_t kMaxFrames = 1000;
constexpr auto npos = std::string_view::npos;

bool beginsWithBoth(std::string_view text, std::string_view one, std::string_view other) {
    const std::string_view start = utf16Prefix(text, kSniffedUnits);
    return containsIgnoringCase(start, one) && containsIgnoringCase(start, other);
}

// The rest of the tag in which `at` stands, its ">" left out; none when it stands in no tag.
std::optional<std::string_view> restOfTagAround(std::string_view text, std::size_t at) {
    const std::size_t before = text.find_last_of("<>", at);
    const std::size_t behind = text.find_first_of("<>", at);
    if (before == npos || text[before] != '<' || behind == npos || text[behind] != '>') {
        return std::nullopt;
    }
    return text.substr(at, behind - at);
}

std::string_view fromFirstAlphanumeric(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character first = utf8CharacterAt(text, 0);
        if (isAlphanumeric(first.character)) break;
        text.remove_prefix(first.bytes);
    }
    return text;
}

}  // namespace

bool isHTML(std::string_view text) { return beginsWithBoth(text, "<html", "<head"); }
bool isRSS(std::string_view text) { return beginsWithBoth(text, "<rss", "<channel"); }

std::optional<std::string_view> contentWithinTag(std::string_view text, std::string_view tagName) {
    const std::string opening = "<" + std::string(tagName);
    const std::string closing = "</" + std::string(tagName);
    TextScanner scanner(text);
    if (!scanner.scanPast(opening) || !scanner.scanPast(">")) return std::nullopt;
    const auto content = scanner.scanUpTo(closing);
    return content && !content->empty() ? content : std::nullopt;
}

std::optional<std::string_view> HTMLHead(std::string_view text) {
    return contentWithinTag(text, "head");
}

std::optional<std::string> HTMLTitle(std::string_view text) {
    const auto content = contentWithinTag(text, "title");
    return content ? std::optional(cleanTitle(*content)) : std::nullopt;
}

std::string cleanTitle(std::string_view content) {
    std::string spaced;
    for (const char c : content) {
        const bool isSpace = c == ' ' || c == '\n' || c == '\r' || c == '\t';
        if (!isSpace || !spaced.ends_with(' ')) spaced += isSpace ? ' ' : c;
    }
    std::string title(trimmingWhiteSpace(spaced));
    replaceHTMLEncodedDelimiters(title, {});
    return title;
}

std::optional<std::string_view> HTMLCharSet(std::string_view text) {
    constexpr std::string_view kWord = "charset";
    const std::size_t word = Needle(kWord, Needle::Letters::AnyCase).find(text);
    if (word == npos) return std::nullopt;
    const auto inTag = restOfTagAround(text, word);
    const std::size_t sign = inTag ? inTag->find('=', kWord.size()) : npos;
    if (sign == npos) return std::nullopt;
    const std::string_view value = fromFirstAlphanumeric(inTag->substr(sign));
    if (value.empty()) return std::nullopt;
    return value.substr(0, value.find_first_of("\t\";"));
}

std::vector<Url> HTMLFramesForURL(std::string_view text, const Url& baseURL) {
    std::vector<Url> frames;
    TextScanner scanner(text);
    while (scanner.scanUpTo("<frame") && frames.size() < kMaxFrames) {
        const auto tag = scanner.scanUpTo(">");
        if (!tag) break;
        TextScanner inTag(*tag);
        if (!inTag.scanUpTo("src") || !inTag.scan("src=")) continue;
        const auto source = stringByRemovingQuotationMarks(inTag.scanUpToAnyOf(" \t\r\n"));
        if (auto frame = baseURL.resolved(source)) frames.push_back(std::move(*frame));
    }
    return frames;
}

std::string_view stringByRemovingQuotationMarks(std::string_view text) {
    text = trimmingWhiteSpace(text);
    while (text.size() > 1 && (text.front() == '\'' || text.front() == '"') &&
           text.back() == text.front()) {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

}  // namespace siftwell
