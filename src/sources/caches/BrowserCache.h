// BrowserCache: the pages that a browser keeps in a folder, in whichever form it keeps them.
//
// Only what a person could read again is a page: status 200, an address of http or https, a text
// type, and a body that is there to its end.
//
// Threads: one at a time. Errors: a damaged entry is no page. Where a part of the cache cannot be
// read, the rest is listed beside the first reason, since there may be pages in that part. Input is
// hostile: bodies unpack to kMaxPageBytes at most.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Status.h"
#include "records/CachedPage.h"

namespace siftwell {

class BrowserCache {
public:
    static constexpr std::size_t kMaxPageBytes = std::size_t{64} << 20;
    static constexpr std::size_t kMaxEntries = 1'000'000;  // of a file with many

    struct Entry {
        std::string name;  // within the folder, for page()
        Date changed;
    };

    // By the files in the folder; NotFound when there is no cache of a known form in it.
    static Result<std::unique_ptr<BrowserCache>> open(const std::string& folder);

    virtual ~BrowserCache() = default;

    struct Listing {
        std::vector<Entry> entries;
        Status status;  // OK when everything was listed
    };

    // What was changed after the date, in rising order of the names. Reads no bodies.
    virtual Listing entriesChangedAfter(Date date) = 0;

    // None when there is no page under that name, or no page of which anything could be read.
    virtual std::optional<CachedPage> page(const std::string& name) = 0;
};

}  // namespace siftwell
