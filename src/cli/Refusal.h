// Refusal: why an address stays out of the index, in words.
//
// Threads: pure functions.
#pragma once

#include <optional>
#include <string>

#include "base/Settings.h"
#include "index/Admission.h"

namespace siftwell {

// A sentence about the address; none when it is accepted.
std::optional<std::string> refusalOf(const Url& url, Verdict verdict);

// The first filter of the user's that keeps the address out; "" when there is none.
std::string filterAgainst(const Url& url, const Settings& settings);

}  // namespace siftwell
