#include "retrieval/FeedConverter.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxPageBytes = std::size_t{8} << 20;

// The policy stands in for a mistake in the code below.
constexpr std::string_view kBeginning =
    "<!DOCTYPE html>\n"
    "<html><head><meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\""
    " content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
    "<style>:root{color-scheme:light dark}"
    "body{font-family:sans-serif;line-height:1.5;max-width:45em;margin:2em auto;padding:0 1em}"
    "h2{font-size:1.15em;margin:1.6em 0 0}.date{margin:0;opacity:.7;font-size:.85em}"
    "p{margin:.4em 0;overflow-wrap:anywhere}</style>\n";

std::string_view escapeFor(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return {};
    }
}

std::string escaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const std::string_view escape = escapeFor(c);
        if (escape.empty()) {
            result += c;
        } else {
            result += escape;
        }
    }
    return result;
}

// Quotation marks mean nothing in a title, and readers of titles know few entities.
std::string escapedTitle(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '"' || c == '\'') {
            result += c;
        } else {
            result += escaped({&c, 1});
        }
    }
    return result;
}

std::string headingOf(const FeedEntry& entry) {
    const std::string& text =
        entry.title.empty() && entry.link ? entry.link->absoluteString() : entry.title;
    if (text.empty()) return {};
    if (!entry.link) return "<h2>" + escaped(text) + "</h2>\n";
    return "<h2><a href=\"" + escaped(entry.link->absoluteString()) + "\">" + escaped(text) +
           "</a></h2>\n";
}

std::string sectionOf(const FeedEntry& entry) {
    std::string section = headingOf(entry);
    if (!entry.date.empty()) section += "<p class=\"date\">" + escaped(entry.date) + "</p>\n";
    if (!entry.text.empty()) section += "<p>" + escaped(entry.text) + "</p>\n";
    return section;
}

}  // namespace

std::string pageOfFeed(const Feed& feed) {
    std::string page(kBeginning);
    page += "<title>" + escapedTitle(feed.title) + "</title></head>\n<body>\n";
    page += "<h1>" + escaped(feed.title) + "</h1>\n";
    for (const FeedEntry& entry : feed.entries) {
        const std::string section = sectionOf(entry);
        if (page.size() + section.size() > kMaxPageBytes) break;
        page += section;
    }
    return page + "</body></html>\n";
}

Result<std::string> convertFeed(std::string_view bytes,
                                const std::optional<std::string>& encodingName, const Url& url) {
    if (bytes.size() > 2 * kMaxFeedBytes) return {StatusCode::TooLarge, "The feed is too large."};
    auto feed = readFeed(decodeFeed(bytes, encodingName), url);
    if (!feed) return feed.status();
    if (feed->title.empty()) feed->title = url.absoluteString();
    return pageOfFeed(*feed);
}

}  // namespace siftwell
