// CacheResponse: the head of a server's answer, as caches of Safari's kind keep it beside the body.
//
// Threads: pure function. Errors: what cannot be read is none. Input is hostile; see
// PropertyListFormat.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "records/CachedObject.h"

namespace siftwell {

// `response` is a property list whose "Array" holds, by position, 0 the address, 4 the header
// fields, 5 the length; there are six elements or more. Address and content type may also stand
// there without what usually holds them.
//
// The encoding name is whatever stands behind "charset=" in the content type, with blanks and
// quotation marks, and where there is no "charset=" whatever stands behind the semicolon: indexes
// have always been made that way, and names that are none lead to no text.
std::optional<CachedURLResponse> cachedResponseWithResponse(std::string_view response,
                                                            std::string data);

}  // namespace siftwell
