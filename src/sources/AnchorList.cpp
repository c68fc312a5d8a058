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

// Takes the first HREF that there is, be it the front of another attribute's name.
std::optional<Url> addressIn(std::string_view tag) {
    TextScanner scanner(tag);
    if (!scanner.scanUpTo("HREF") || !scanner.scan("HREF=")) return std::nullopt;
    return Url::parse(stringByRemovingQuotationMarks(scanner.scanUpToAnyOf(kBlanks)));
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
    return std::string(value);
}

}  // namespace

std::vector<Anchor> anchorsInText(std::string_view text, Date newerThan, const GoOn& goOn) {
    std::vector<Anchor> anchors;
    TextScanner scanner(text);
    scanner.scanUpTo("<a");
    while (!scanner.isAtEnd() && anchors.size() < kMaxAddresses && goOn()) {
        const std::string_view tag = scanner.scanUpToAnyOf(">");
        scanner.scanUpTo("<a");
        auto url = addressIn(tag);
        if (!url) continue;
        const auto date = dateIn(tag);
        if (date && *date <= newerThan) continue;
        anchors.push_back(
            {*std::move(url), date, quotedIn(tag, "SOURCE=\""), quotedIn(tag, "INDEXER=\"")});
    }
    return anchors;
}

}  // namespace siftwell
