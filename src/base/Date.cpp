#include "base/Date.h"

#include <array>
#include <chrono>
#include <cmath>
#include <ctime>

namespace siftwell {

namespace {

// Years 1 to 9999; dates beyond cannot be written in four digits.
std::time_t clampedUnixTime(Date date) {
    constexpr double kEarliest = -62135596800.0;
    constexpr double kLatest = 253402300799.0;
    const double seconds = std::floor(date.secondsSinceUnix());
    if (!(seconds >= kEarliest)) return static_cast<std::time_t>(kEarliest);
    return static_cast<std::time_t>(std::min(seconds, kLatest));
}

std::string formatted(const std::tm& fields, const char* pattern) {
    std::array<char, 256> buffer{};
    return {buffer.data(), std::strftime(buffer.data(), buffer.size(), pattern, &fields)};
}

// Reads exactly `digits` decimal digits from the front of `text` and removes them.
std::optional<int> takeNumber(std::string_view& text, std::size_t digits) {
    if (text.size() < digits) return std::nullopt;
    int value = 0;
    for (const char c : text.substr(0, digits)) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    text.remove_prefix(digits);
    return value;
}

bool takeOneOf(std::string_view& text, std::string_view characters) {
    if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::string Date::formattedLocally(const char* pattern) const {
    const std::time_t time = clampedUnixTime(*this);
    std::tm fields{};
    localtime_r(&time, &fields);
    return formatted(fields, pattern);
}

std::string Date::iso8601() const {
    const std::time_t time = clampedUnixTime(*this);
    std::tm fields{};
    gmtime_r(&time, &fields);
    std::array<char, 32> year{};
    std::snprintf(year.data(), year.size(), "%04d", fields.tm_year + 1900);
    return year.data() + formatted(fields, "-%m-%dT%H:%M:%SZ");
}

std::optional<Date> Date::parseUtc(std::string_view time) {
    using namespace std::chrono;
    const auto yearNumber = takeNumber(time, 4);
    if (!yearNumber || !takeOneOf(time, "-")) return std::nullopt;
    const auto monthNumber = takeNumber(time, 2);
    if (!monthNumber || !takeOneOf(time, "-")) return std::nullopt;
    const auto dayNumber = takeNumber(time, 2);
    if (!dayNumber) return std::nullopt;

    const year_month_day calendar{year(*yearNumber), month(static_cast<unsigned>(*monthNumber)),
                                  day(static_cast<unsigned>(*dayNumber))};
    if (!calendar.ok()) return std::nullopt;
    double seconds = duration<double>(sys_days(calendar).time_since_epoch()).count();

    if (time.empty()) return fromUnix(seconds);
    if (!takeOneOf(time, " T")) return std::nullopt;
    const auto hours = takeNumber(time, 2);
    if (!hours || *hours > 23 || !takeOneOf(time, ":")) return std::nullopt;
    const auto minutes = takeNumber(time, 2);
    if (!minutes || *minutes > 59 || !takeOneOf(time, ":")) return std::nullopt;
    const auto wholeSeconds = takeNumber(time, 2);
    if (!wholeSeconds || *wholeSeconds > 60) return std::nullopt;
    takeOneOf(time, "Z");
    if (!time.empty()) return std::nullopt;
    seconds += *hours * 3600 + *minutes * 60 + *wholeSeconds;
    return fromUnix(seconds);
}

}  // namespace siftwell
