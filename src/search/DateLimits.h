// DateLimits: the dates between which the search window finds documents.
//
// Threads: any. Errors: none.
#pragma once

#include "base/Date.h"
#include "base/Settings.h"

namespace siftwell {

struct DateLimits {
    Date startDate = Date::distantPast();  // the distant past: none is too old, and none too new
    Date endDate = Date::distantFuture();

    bool isInside(Date date) const {
        return startDate == Date::distantPast() || (date >= startDate && date <= endDate);
    }
};

// By "constrainDate": 0 none; 1 the last "constraintTime" units of "constraintTimeUnits" minutes;
// 2 between "constraintDate1" and "constraintDate2", in either order. There is no other mode: the
// program ends with a message.
DateLimits dateLimits(const Settings& settings, Date now);

}  // namespace siftwell
