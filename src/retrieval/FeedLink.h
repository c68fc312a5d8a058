// The addresses in feeds.
//
// Threads: pure functions. Errors: what is no address is none, as is one over 8 KB.
#pragma once

#include <optional>
#include <string_view>

#include "base/Url.h"

namespace siftwell {

// `reference` as seen from `base`; blanks around it do not count, and characters that addresses
// cannot have are escaped.
std::optional<Url> resolvedLink(std::string_view reference, const Url& base);

// The same when it is http, https or feed: nothing that runs or reads files when it is followed.
std::optional<Url> safeLink(std::string_view reference, const Url& base);

}  // namespace siftwell
