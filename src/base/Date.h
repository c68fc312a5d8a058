// Date: an absolute point in time, in seconds since 2001-01-01 00:00:00 UTC.
//
// Formats that count from 1970 or write dates as text are converted where they are read and
// written.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace siftwell {

class Date {
public:
    Date() = default;
    static constexpr Date fromReference(double seconds) { return Date(seconds); }
    static constexpr Date fromUnix(double seconds) { return Date(seconds - kUnixToReference); }

    // Stand for "never" and "always": 0001-01-01 and 4001-01-01.
    static constexpr Date distantPast() { return Date(-63113904000.0); }
    static constexpr Date distantFuture() { return Date(63113904000.0); }

    constexpr double secondsSinceReference() const { return m_seconds; }
    constexpr double secondsSinceUnix() const { return m_seconds + kUnixToReference; }

    constexpr Date operator+(double seconds) const { return Date(m_seconds + seconds); }
    constexpr Date operator-(double seconds) const { return Date(m_seconds - seconds); }
    constexpr double operator-(Date other) const { return m_seconds - other.m_seconds; }
    constexpr auto operator<=>(const Date&) const = default;

    // In the local time zone, by a strftime pattern such as "%Y-%m-%d %H:%M:%S".
    std::string formattedLocally(const char* pattern) const;
    // "2026-11-21T08:15:00Z", whole seconds.
    std::string iso8601() const;

    // Seconds since the reference of a calendar date and time in UTC, or none when the fields are
    // out of range. `time` is "yyyy-MM-dd", or "yyyy-MM-dd HH:mm:ss" with a blank or a T between.
    static std::optional<Date> parseUtc(std::string_view time);

private:
    explicit constexpr Date(double seconds) : m_seconds(seconds) {}

    static constexpr double kUnixToReference = 978307200.0;

    double m_seconds = 0;
};

}  // namespace siftwell
