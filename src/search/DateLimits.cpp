#include "search/DateLimits.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace siftwell {

DateLimits dateLimits(const Settings& settings, Date now) {
    const auto filterByDate = settings.integer("constrainDate");
    if (filterByDate == 0) return {Date::distantPast(), now};
    if (filterByDate == 1) {
        const double minutes =
            settings.real("constraintTime") * settings.real("constraintTimeUnits");
        return {now - minutes * 60, now};
    }
    if (filterByDate != 2) {
        std::fprintf(stderr, "siftwell: assertion failed: filterByDate == 2\n");
        std::abort();
    }
    const Date one = settings.date("constraintDate1").value_or(Date::distantPast());
    const Date other = settings.date("constraintDate2").value_or(now);
    return {std::min(one, other), std::max(one, other)};
}

}  // namespace siftwell
