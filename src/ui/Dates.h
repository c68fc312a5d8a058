// Dates as Qt has them, in the user's own time zone and writing.
//
// Threads: any.
#pragma once

#include <QDateTime>
#include <QLocale>

#include "base/Date.h"

namespace siftwell {

// To the second.
inline QDateTime toLocal(const Date& date) {
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(date.secondsSinceUnix()));
}

inline Date fromLocal(const QDateTime& time) {
    return Date::fromUnix(static_cast<double>(time.toSecsSinceEpoch()));
}

// Day and time, as short as the user's country writes them.
inline QString shortDateTime(const Date& date) {
    return QLocale().toString(toLocal(date), QLocale::ShortFormat);
}

}  // namespace siftwell
