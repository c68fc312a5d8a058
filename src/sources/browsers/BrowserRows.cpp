#include "sources/browsers/BrowserRows.h"

#include <algorithm>
#include <cmath>

#include "text/Ascii.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::int64_t kReferenceSinceUnix = 978'307'200;

bool hasScheme(std::string_view address, std::string_view scheme) {
    return equalsIgnoringCase(address.substr(0, scheme.size()), scheme);
}

}  // namespace

std::optional<Date> DateCount::date(std::int64_t units) const {
    const std::int64_t seconds = units / unitsPerSecond;
    // Later than any date, and far from what would overflow below.
    if (units < 0 || seconds > 100'000'000'000) return std::nullopt;
    const std::int64_t whole = seconds + dayZero - kReferenceSinceUnix;
    const Date date =
        Date::fromReference(static_cast<double>(whole)) +
        static_cast<double>(units % unitsPerSecond) / static_cast<double>(unitsPerSecond);
    if (date <= Date::fromUnix(0) || date > Date::distantFuture()) return std::nullopt;
    return date;
}

std::int64_t DateCount::units(Date date) const {
    const Date within = std::clamp(date, Date::fromUnix(0), Date::distantFuture());
    // A Date holds nearly every microsecond, so that one must not be lost to the rounding.
    constexpr double kInexactness = 3e-7;
    const double sinceReference = within.secondsSinceReference() + kInexactness;
    const double perSecond = static_cast<double>(unitsPerSecond);
    return static_cast<std::int64_t>(std::floor(sinceReference * perSecond)) +
           (kReferenceSinceUnix - dayZero) * unitsPerSecond;
}

bool isTakenAddress(std::string_view address) {
    return !address.empty() && address.size() <= kMaxAddressBytes;
}

bool isTakenBookmark(std::string_view address) {
    return isTakenAddress(address) && !hasScheme(address, "javascript:") &&
           !hasScheme(address, "place:");
}

std::string takenTitle(std::string title) {
    title.resize(utf8Prefix(title, kMaxTitleBytes).size());
    return title;
}

}  // namespace siftwell
