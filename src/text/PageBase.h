// Where the relative addresses in a page's markup lead.
//
// Threads: pure function. Errors: none; markup is hostile, and what cannot be understood is passed
// over. Time is linear in the page.
#pragma once

#include <string>
#include <string_view>

#include "base/Url.h"

namespace siftwell {

// The markup with a base element in front of all others, so that the page's relative addresses mean
// the same wherever the page is shown: those of `address`, the page's own, or of the web address
// that the page itself declares as its base. What has to come before any element stays in front.
// The page's encoding is one that writes ASCII in bytes of its own.
std::string pageWithBase(std::string_view page, const Url& address);

}  // namespace siftwell
