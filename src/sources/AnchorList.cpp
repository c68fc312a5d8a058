#include "sources/AnchorList.h"

#include <algorithm>
#include <array>

#include "text/HtmlQueries.h"
#include "text/LeadingInteger.h"
#include "text/TextScanner.h"

namespace siftwell {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kBlanksAndQuotes = "\" \t\r\n";

// What the program's own dumps escape: quotation marks, brackets and the like.
bool isEscapedInDumps(std::int64_t code) {
    constexpr std::string_view kEscaped = "\"<>&=";
    return (code > 0 && code <= ' ') ||
           (code < 0x7F && kEscaped.find(static_cast<char>(code)) != std::string_view::npos);
}

// Decodes such numeric entities and no others: an address may hold what looks like one.
std::string withoutEscapes(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t entity = std::min(text.find("&#", at), text.size());
        result += text.substr(at, entity - at);
        at = entity;
        if (at == text.size()) break;
        constexpr std::size_t kLongest = 5;
        const std::size_t end = text.substr(at, kLongest).find(';');
        const std::int64_t code =
            end == std::string_view::npos ? 0 : leadingInteger(text.substr(at + 2, end - 2));
        if (isEscapedInDumps(code)) {
            result += static_cast<char>(code);
            at += end + 1;
        } else {
            result += text[at++];
        }
    }
    return result;
}

// Takes the first HREF that there is, be it the front of another attribute's name.
std::optional<Url> addressIn(std::string_view tag) {
    TextScanner scanner(tag);
    if (!scanner.scanUpTo("HREF") || !scanner.scan("HREF=")) return std::nullopt;
    return Url::parse(
        withoutEscapes(stringByRemovingQuotationMarks(scanner.scanUpToAnyOf(kBlanks))));
}

// 0 when the tag has no such attribute, or one without a number.
std::int64_t numberIn(std::string_view tag, std::string_view attribute) {
    TextScanner scanner(tag);
    if (!scanner.scanPast(attribute)) return 0;
    std::string_view value = scanner.scanUpToAnyOf({});
    value.remove_prefix(std::min(value.find_first_not_of(kBlanksAndQuotes), value.size()));
    return leadingInteger(value);
}

std::optional<Date> dateIn(std::string_view tag) {
    struct Attribute {
        std::string_view name;
        Date (*toDate)(double seconds);
    };
    constexpr std::array<Attribute, 4> kAttributes = {{{"LAST_VISIT=", Date::fromUnix},
                                                       {"ADD_DATE=", Date::fromUnix},
                                                       {"LAST_MODIFIED=", Date::fromUnix},
                                                       {"LASTCHECKEDTIME=", Date::fromReference}}};
    std::optional<Date> latest;
    for (const Attribute& attribute : kAttributes) {
        const std::int64_t seconds = numberIn(tag, attribute.name);
        if (seconds == 0) continue;
        const Date date = attribute.toDate(static_cast<double>(seconds));
        if (!latest || date > *latest) latest = date;
    }
    return latest;
}

// The attribute's name comes with "=" and the quotation mark that opens the value.
std::optional<std::string> quotedIn(std::string_view tag, std::string_view attribute) {
    TextScanner scanner(tag);
    if (!scanner.scanPast(attribute)) return std::nullopt;
    const std::string_view value = scanner.scanUpToAnyOf("\"");
    if (value.empty()) return std::nullopt;
    return withoutEscapes(value);
}

}  // namespace

std::vector<BatchEntry> anchorsInText(std::string_view text, Date newerThan, const GoOn& goOn) {
    std::vector<BatchEntry> anchors;
    TextScanner scanner(text);
    scanner.scanUpTo("<a");
    while (!scanner.isAtEnd() && anchors.size() < kMaxAddresses && goOn()) {
        const std::string_view tag = scanner.scanUpToAnyOf(">");
        scanner.scanUpTo("<a");
        auto url = addressIn(tag);
        if (!url) continue;
        const auto date = dateIn(tag);
        if (date && *date <= newerThan) continue;
        anchors.push_back({.url = *std::move(url),
                           .date = date,
                           .source = quotedIn(tag, "SOURCE=\""),
                           .indexer = quotedIn(tag, "INDEXER=\"")});
    }
    return anchors;
}

}  // namespace siftwell
