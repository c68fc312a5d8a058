// What is said of a row, as the user reads it.
//
// Threads: main. A page's own words are never taken for markup.
#pragma once

#include <QString>

#include "records/ResultRow.h"

namespace siftwell {

// In one line; the address where a page has no title.
QString shownTitle(const ResultRow& row);
// Without "https://" and with its characters unescaped, for reading; written from left to right.
QString shownAddress(const ResultRow& row);
// The day, and for days of this year the time.
QString shownDate(const ResultRow& row);

// "80 percent relevant"
QString relevanceText(double relevance);
// All of it, to be read aloud.
QString fullText(const ResultRow& row, double relevance);

// Long ones are broken into lines.
QString plainToolTip(const QString& text);

}  // namespace siftwell
