// DefaultURLFilters: what is kept out of the index unless the user decides otherwise.
#pragma once

#include <vector>

#include "records/URLFilter.h"

namespace siftwell {

// Pages of search results, of private networks, and of advertising servers.
std::vector<URLFilter> defaultURLFilters();

}  // namespace siftwell
