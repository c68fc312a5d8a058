// BrowserCache: the pages that a browser keeps in a folder, in whichever form it keeps them.
//
// Only what a person could read again is a page: status 200, an address of http or https, a text
// type, and a body that is there to its end.
//
// Threads: one at a time. Errors: what is damaged is no page; a Status where nothing of the folder
// can be read. Input is hostile: bodies unpack to kMaxPageBytes at most.
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

    struct Entry {
        std::string name;  // within the folder, for page()
        Date changed;
    };

    // By the files in the folder; NotFound when there is no cache of a known form in it.
    static Result<std::unique_ptr<BrowserCache>> open(const std::string& folder);

    virtual ~BrowserCache() = default;

    // What was changed after the date, in rising order of the names. Reads no bodies.
    virtual Result<std::vector<Entry>> entriesChangedAfter(Date date) = 0;

    // None when there is no page under that name, or no page of which anything could be read.
    virtual std::optional<CachedPage> page(const std::string& name) = 0;
};

}  // namespace siftwell
