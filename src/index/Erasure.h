// Erasure removes pages so that no byte of them is left in any file of the index folder.
//
// Removing a document only marks it; its text, the terms that no other document has, and its record
// stay until the files are written anew. Here that is done at once, for every index that holds a
// page or held it before. What repairs and killed programs left beside an index is deleted when it
// is one of these, or when an address stands in it; a dump that waits to be indexed loses the
// pages.
//
// Threads: any; the index lock is shared meanwhile. Errors: reported, with severity 9 where bytes
// may be left in a file, which is named. Time: reads every index file.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "base/SWNotifier.h"
#include "base/Url.h"
#include "index/DocumentStore.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"

namespace siftwell {

class Erasure {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        DocumentStore& store;
        SWNotifier& notifier;
    };
    explicit Erasure(const Parts& parts) : m_parts(parts) {}

    // Those of the pages that there were.
    std::vector<Url> erase(const std::vector<Url>& urls, const std::string& folder) const;

private:
    struct Traces;

    bool removeEverywhere(const Url& url, const SKDocument& document, Traces& traces) const;
    void rewrite(const SKIndex& index, const Traces& traces) const;
    void eraseBeside(const std::string& folder, const Traces& traces) const;
    void eraseFrom(const std::string& path, const Traces& traces) const;
    void report(const Status& status) const;

    const Parts m_parts;
};

}  // namespace siftwell
