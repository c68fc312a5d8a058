// OpenIndex: an index of the set, with the records of its documents.
//
// Threads: any.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Gate.h"
#include "fulltext/Index.h"
#include "index/DocumentProperties.h"

namespace siftwell {

// A document as a walk over an index meets it.
struct StoredDocument {
    fulltext::DocumentID number = 0;
    std::optional<PropertyRecord> record;
};

struct OpenIndex {
    std::string name;  // file name relative to the index folder
    std::string path;
    std::unique_ptr<fulltext::Index> index;
    std::unique_ptr<DocumentProperties> properties;

    // Shared by whoever changes a document and its record, exclusive for writing both: what is
    // flushed has its records, whenever the program is killed.
    SharedGate pairGate;

    // Writes what changed, the records first: a program that is killed in between leaves a pair
    // that can be brought to agree. The error of the index; that of the records is told by
    // themselves.
    Status flush();
    // As flush(), and nothing of what was removed is left in the side file's log. With a rewrite,
    // no byte of it is left in any file of the pair.
    Status eraseRemoved(bool withRewrite);
    // To be flushed before: what then still waits, since its records could not be written, is lost.
    Status close();

    // Up to `max` documents behind the number, in rising order; 0 begins at the front.
    std::vector<StoredDocument> documentsBehind(fulltext::DocumentID number, std::size_t max) const;

    // Whether the status is a failure and the first one: an index that can no longer be written
    // answers the same to everybody, and it is told once.
    bool isNews(const Status& status) { return !status.isOk() && !isFailureTold.exchange(true); }
    std::atomic<bool> isFailureTold = false;

    static std::string sideFileOf(const std::string& path) { return path + ".data"; }
};

// How the whole program refers to an index. Kept alive by whoever looks at it.
using SKIndex = std::shared_ptr<OpenIndex>;

}  // namespace siftwell
