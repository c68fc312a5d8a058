// What the readers of files full of addresses have in common.
#pragma once

#include <cstddef>
#include <functional>

namespace siftwell {

// Asked after each address; once it says no, what was found so far is the result.
using GoOn = std::function<bool()>;

// So many addresses are taken from one file. A file can hold more of them than fit into memory, and
// nobody has so many bookmarks.
inline constexpr std::size_t kMaxAddresses = 500'000;

}  // namespace siftwell
