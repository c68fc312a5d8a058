// Undoes the encodings in which a page's bytes were sent: gzip, deflate, br and zstd.
//
// Threads: pure function. Errors: none where something cannot be undone. Input is hostile: what is
// unpacked, at every step, is at most so many bytes, and all of it takes at most 3 seconds of the
// processor (a page of a megabyte takes some milliseconds).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace siftwell {

// `codings` are in the order in which they were applied, in small letters, as HttpResponseHead
// gives them. None for an unknown one, for more than three or one that comes twice, and when the
// bytes are not what they should be or end too soon. What lies behind the end of a stream is left
// out (behind that of zstd, only more of it may lie).
std::optional<std::string> decodedContent(std::string bytes,
                                          const std::vector<std::string>& codings,
                                          std::size_t maxBytes);

}  // namespace siftwell
