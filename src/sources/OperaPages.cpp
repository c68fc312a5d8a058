#include "sources/OperaPages.h"

#include <algorithm>
#include <utility>

#include "text/LeadingInteger.h"
#include "text/TextScanner.h"

namespace siftwell {

namespace {

// Blanks are none of them.
constexpr std::string_view kSeparators = "\t\r\n\";>";

struct Record {
    std::string_view address;
    std::int64_t secondsSince1970 = 0;
};

bool isBookmarksFile(std::string_view text) {
    return text.find("#URL\n") != std::string_view::npos &&
           text.find("\tUNIQUEID=") != std::string_view::npos;
}

Record nextBookmark(TextScanner& scanner) {
    if (!scanner.scanPast("URL=")) return {};
    Record bookmark{.address = scanner.scanUpToAnyOf(kSeparators)};
    if (bookmark.address.empty()) return {};
    TextScanner fields(scanner.scanUpToOrEnd("UNIQUEID="));
    if (fields.scanPast("CREATED=")) {
        bookmark.secondsSince1970 = leadingInteger(fields.scanUpToAnyOf({}));
    }
    return bookmark;
}

std::string_view withoutSeparatorsAround(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSeparators), text.size()));
    return text.substr(0, text.find_last_not_of(kSeparators) + 1);
}

// The line at the front; `text` is what comes behind it.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

Record nextVisit(TextScanner& scanner) {
    std::string_view lines = withoutSeparatorsAround(scanner.scanUpToOrEnd("-1"));
    scanner.scan("-1");
    takeLine(lines);  // the title
    const std::string_view address = takeLine(lines);
    return {.address = address, .secondsSince1970 = leadingInteger(takeLine(lines))};
}

}  // namespace

std::vector<BatchEntry> operaPagesInText(std::string_view text, const GoOn& goOn) {
    std::vector<BatchEntry> pages;
    const auto next = isBookmarksFile(text) ? nextBookmark : nextVisit;
    TextScanner scanner(text);
    while (!scanner.isAtEnd() && pages.size() < kMaxAddresses && goOn()) {
        const Record record = next(scanner);
        auto url = Url::parse(record.address);
        if (!url) continue;
        const auto seconds = static_cast<double>(record.secondsSince1970);
        pages.push_back(
            {.url = *std::move(url),
             .date = seconds == 0 ? std::nullopt : std::optional(Date::fromUnix(seconds))});
    }
    return pages;
}

}  // namespace siftwell
