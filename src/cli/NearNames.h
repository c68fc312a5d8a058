// NearNames: what somebody may have meant who typed a name that there is not.
//
// Threads: pure functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

// At most three of the names, the nearest first: those that differ in few letters, and those that
// begin alike. Letter case does not count.
std::vector<std::string> nearNames(std::string_view name, const std::vector<std::string>& names);

// " Did you mean \"A\", \"B\"?", or nothing.
std::string meantPerhaps(std::string_view name, const std::vector<std::string>& names);

}  // namespace siftwell
