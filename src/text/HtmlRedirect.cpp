#include "text/HtmlQueries.h"
#include "text/LeadingInteger.h"
#include "text/Needle.h"
#include "text/TextScanner.h"

namespace siftwell {

namespace {

constexpr int kLongestDelay = 60;  // seconds; whoever waits so long has read the page

// The script without white space and with one kind of quotation mark.
std::string compactScript(std::string_view script) {
    std::string compact;
    for (const char c : script) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        compact += c == '"' ? '\'' : c;
    }
    return compact;
}

// One walk through the script for all three forms: each is looked for behind the one before, and
// the last one found counts.
std::optional<std::string> scriptTarget(std::string_view head) {
    if (!containsIgnoringCase(head, "<script") || !containsIgnoringCase(head, "location")) {
        return std::nullopt;
    }
    const auto content = contentWithinTag(head, "script");
    if (!content) return std::nullopt;
    const std::string script = compactScript(*content);
    std::optional<std::string> target;
    TextScanner scanner(script);
    for (const char* form : {"location='", "location.href='", "location.replace('"}) {
        if (!containsIgnoringCase(script, form) || !scanner.scanPast(form)) continue;
        const auto quoted = scanner.scanUpTo("'");
        if (quoted && !quoted->empty()) target = *quoted;
    }
    return target;
}

std::optional<std::string_view> refreshTarget(std::string_view head) {
    for (const char* word : {"<meta", "http-equiv", "refresh", "url"}) {
        if (!containsIgnoringCase(head, word)) return std::nullopt;
    }
    TextScanner scanner(head);
    scanner.scanUpTo("refresh");
    scanner.scanUpTo("content");
    scanner.scanUpTo("=");
    scanner.scanPast("\"");
    const auto delay = scanner.scanUpTo(";");
    scanner.scanUpTo("url");
    scanner.scanPast("=");
    const auto target = scanner.scanUpTo("\"");
    if (!target || leadingInteger(*delay) >= kLongestDelay) return std::nullopt;
    return target;
}

}  // namespace

std::optional<Url> HTMLRedirectURL(std::string_view text, bool isJavaScriptEnabled) {
    const auto head = HTMLHead(text);
    if (!head) return std::nullopt;
    if (isJavaScriptEnabled) {
        if (const auto target = scriptTarget(*head)) return Url::parse(*target);
    }
    const auto target = refreshTarget(*head);
    return target ? Url::parse(*target) : std::nullopt;
}

}  // namespace siftwell
