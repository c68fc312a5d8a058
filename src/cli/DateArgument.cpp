#include "cli/DateArgument.h"

#include <charconv>
#include <cmath>
#include <ctime>

namespace siftwell {

namespace {

// The local calendar at a moment, with its fields free to be changed and normalised.
std::tm localCalendar(Date date) {
    const auto time = static_cast<std::time_t>(std::floor(date.secondsSinceUnix()));
    std::tm fields{};
    localtime_r(&time, &fields);
    return fields;
}

Date dateOf(std::tm fields) {
    fields.tm_isdst = -1;
    return Date::fromUnix(static_cast<double>(mktime(&fields)));
}

// The 31st of a month that has no such day is its last day.
Date dateNotBehindItsMonth(const std::tm& fields) {
    std::tm normalised = fields;
    normalised.tm_isdst = -1;
    static_cast<void>(mktime(&normalised));
    if (normalised.tm_mday != fields.tm_mday) {
        normalised = fields;
        normalised.tm_mday = 0;  // of the month that follows
        ++normalised.tm_mon;
    }
    return dateOf(normalised);
}

std::optional<Date> ageBefore(Date now, int count, char unit) {
    std::tm fields = localCalendar(now);
    switch (unit) {
        case 'd':
            fields.tm_mday -= count;
            break;
        case 'w':
            fields.tm_mday -= 7 * count;
            break;
        case 'm':
            fields.tm_mon -= count;
            return dateNotBehindItsMonth(fields);
        case 'y':
            fields.tm_year -= count;
            return dateNotBehindItsMonth(fields);
        default:
            return std::nullopt;
    }
    return dateOf(fields);
}

}  // namespace

std::optional<Date> dateFromArgument(std::string_view text, Date now, DayEdge edge) {
    constexpr int kMaxCount = 10000;
    int count = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error == std::errc() && stop + 1 == text.data() + text.size() && count >= 0 &&
        count <= kMaxCount) {
        return ageBefore(now, count, *stop);
    }
    if (text.size() != 10) return std::nullopt;
    const auto noonUtc = Date::parseUtc(std::string(text) + " 12:00:00");
    if (!noonUtc) return std::nullopt;
    std::tm fields{};
    const auto time = static_cast<std::time_t>(noonUtc->secondsSinceUnix());
    gmtime_r(&time, &fields);
    fields.tm_hour = fields.tm_min = fields.tm_sec = 0;
    if (edge == DayEdge::Begin) return dateOf(fields);
    ++fields.tm_mday;
    return dateOf(fields) - 0.001;
}

}  // namespace siftwell
