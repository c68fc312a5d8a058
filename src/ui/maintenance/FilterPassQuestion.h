// FilterPassQuestion: what is asked when filters were added.
//
// Threads: main; waits for the user while the loop is served.
#pragma once

#include "base/Alerts.h"

namespace siftwell {

// Whether the pages that are in the index already shall be filtered too.
bool isFilterPassWanted(Alerts& alerts);

}  // namespace siftwell
