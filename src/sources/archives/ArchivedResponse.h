// ArchivedResponse: the page that a file of an old cache holds, an archive of a request and of the
// response to it.
//
// Threads: pure function. Errors: what cannot be read is none. Input is hostile; see TypedArchive.h
// and KeyedArchive.h for what bounds it.
#pragma once

#include <optional>
#include <string_view>

#include "records/CachedObject.h"

namespace siftwell {

// Tries the sequential form, the keyed form and, for a file of Brindle's, the sequential form with
// its own order of fields.
std::optional<CachedURLResponse> cachedResponseForData(std::string_view bytes,
                                                       std::string_view fromFile);

}  // namespace siftwell
