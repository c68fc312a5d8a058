// WordMarker: where in a page the words stand that were looked for, and the scripts that get its
// text and mark them.
//
// The text comes out of the page, is searched by the program as snippets are, and only numbers go
// back into it: nothing of a page is ever part of a script.
//
// Threads: any; pure functions. Errors: none; a page is hostile, and gets no more than it can hurt
// itself with.
#pragma once

#include <QString>
#include <vector>

#include "index/QueryMatches.h"

namespace siftwell {

inline constexpr int kMostMarks = 2000;

// A script that answers the texts of the page, each behind a NUL, and remembers where they stand.
QString scriptOfTexts();

struct WordMark {
    int text = 0;   // which of the texts
    int begin = 0;  // UTF-16 units of it
    int end = 0;

    bool operator==(const WordMark&) const = default;
};

// Rising, and apart from each other.
std::vector<WordMark> marksIn(const QString& texts, const QueryMatches& query);

// A script that marks these places, and shows the first of them that can be seen.
QString scriptOfMarks(const std::vector<WordMark>& marks);

}  // namespace siftwell
