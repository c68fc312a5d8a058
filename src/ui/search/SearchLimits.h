// SearchLimits: what keeps a search from looking everywhere, as the user reads it, and how each
// limit is lifted.
//
// Threads: main.
#pragma once

#include <QDate>
#include <QString>
#include <functional>
#include <vector>

#include "base/Settings.h"
#include "ui/search/ActiveSearch.h"

namespace siftwell {

struct SearchLimit {
    QString text;    // what holds: "Only pages of the last 6 months"
    QString remedy;  // what the button says: "Search Any Time"
    std::function<void()> lift;
};

// Those that hold now. `settings` and `search` outlive them.
std::vector<SearchLimit> limitsOf(ActiveSearch& search, Settings& settings);

void searchEverywhere(ActiveSearch& search);

// "Everywhere", the one place, or how many of all.
QString locationText(ActiveSearch& search);
// "Any time", "Past week", "Last 6 months", "1 Jan 2000 – 2 Nov 2026"
QString dateText(const Settings& settings);

// The last `count` units of so many minutes each.
void limitToRecent(Settings& settings, int count, int minutes);
void limitToDays(Settings& settings, const QDate& first, const QDate& last);
void liftDateLimit(Settings& settings);

}  // namespace siftwell
