#include "retrieval/FeedDate.h"

#include <curl/curl.h>

#include <algorithm>

#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kLongestDate = 100;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<int> twoDigits(std::string_view text) {
    if (text.size() != 2 || !isDigit(text[0]) || !isDigit(text[1])) return std::nullopt;
    return (text[0] - '0') * 10 + (text[1] - '0');
}

// Seconds east of Greenwich: "Z", "+01:00" or "+0100".
std::optional<double> zoneOffset(std::string_view text) {
    if (text == "Z" || text == "z") return 0;
    if (text.empty() || (text.front() != '+' && text.front() != '-')) return std::nullopt;
    const bool isEast = text.front() == '+';
    text.remove_prefix(1);
    if (text.size() == 5 && text[2] != ':') return std::nullopt;
    if (text.size() != 4 && text.size() != 5) return std::nullopt;
    const auto hours = twoDigits(text.substr(0, 2));
    const auto minutes = twoDigits(text.substr(text.size() - 2));
    if (!hours || !minutes || *hours > 23 || *minutes > 59) return std::nullopt;
    const double seconds = *hours * 3600.0 + *minutes * 60.0;
    return isEast ? seconds : -seconds;
}

std::optional<Date> parseRfc3339(std::string_view text) {
    constexpr std::size_t kZone = 19;  // behind "2003-12-13T18:30:02"
    if (text.size() <= kZone) return std::nullopt;
    const auto local = Date::parseUtc(text.substr(0, kZone));
    std::string_view rest = text.substr(kZone);
    if (rest.front() == '.') {
        const auto end = std::find_if_not(rest.begin() + 1, rest.end(), isDigit);
        rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
    }
    const auto offset = zoneOffset(rest);
    return local && offset ? std::optional(*local - *offset) : std::nullopt;
}

}  // namespace

std::optional<Date> parseFeedDate(std::string_view text) {
    text = trimmingWhiteSpace(text);
    if (text.size() > kLongestDate) return std::nullopt;
    if (const auto date = parseRfc3339(text)) return date;
    if (text.find(':') == std::string_view::npos) return std::nullopt;
    const time_t seconds = curl_getdate(std::string(text).c_str(), nullptr);
    if (seconds == -1) return std::nullopt;
    return Date::fromUnix(static_cast<double>(seconds));
}

std::string shownFeedDate(std::string_view text) {
    if (const auto date = parseFeedDate(text)) return date->formattedLocally("%Y/%m/%d %H:%M");
    return std::string(utf16Prefix(trimmingWhiteSpace(text), kLongestDate));
}

}  // namespace siftwell
