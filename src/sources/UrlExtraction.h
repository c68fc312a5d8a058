// UrlExtraction: the addresses that stand anywhere in a text.
//
// Threads: pure function. Errors: input is hostile; what is no address is passed over. Time is
// linear in the text; for the number of addresses see Addresses.h.
#pragma once

#include <string_view>
#include <vector>

#include "base/Url.h"
#include "sources/Addresses.h"

namespace siftwell {

// First all that begin with "http://", then with "https://", "file://" and "feed://", in any letter
// case; what is there twice comes twice. An address ends before the first of the `endTokens` (each
// byte is one), and before white space, though another address that stands in between then is not
// seen. A backslash at the end of a line joins it with the next, where a line end is no end token.
std::vector<Url> extractURLsInString(std::string_view text, std::string_view endTokens,
                                     const GoOn& goOn);

}  // namespace siftwell
