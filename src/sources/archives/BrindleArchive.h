// BrindleArchive: requests and cached responses whose fields are known by their names or, in a
// sequential archive, by their order. Their classes bear the platform's names.
//
// Threads: pure functions. Errors: a field of another type than it should have, or one that a
// sequential archive lacks, makes the object unreadable: none.
#pragma once

#include <optional>

#include "records/CachedObject.h"
#include "records/URLRequest.h"
#include "sources/archives/ObjectArchive.h"

namespace siftwell {

struct BrindleURLRequest {
    static std::optional<URLRequest> initWithCoder(const ObjectArchive& archive,
                                                   const ArchivedValue& value);
};

struct BrindleCachedURLResponse {
    static std::optional<CachedURLResponse> initWithCoder(const ObjectArchive& archive,
                                                          const ArchivedValue& value);
};

}  // namespace siftwell
