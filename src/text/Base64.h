// Base64 as credentials are sent in it.
//
// Threads: any. Errors: none.
#pragma once

#include <string>
#include <string_view>

namespace siftwell {

// The bytes up to the first NUL in lines of 72 characters with CR LF between them. A last group of
// one or two bytes begins a new line even when it is the first: "ab" gives CR LF "YWI=". Servers
// have been sent this for years.
std::string base64Encode(std::string_view text);

}  // namespace siftwell
