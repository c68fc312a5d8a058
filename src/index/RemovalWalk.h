// RemovalWalk: a walk over all documents of one index that removes some of them.
//
// Threads: any that holds the index lock. Errors: those of what the rules call. An index whose
// records cannot be read keeps what it has.
#pragma once

#include <functional>

#include "index/OpenIndex.h"

namespace siftwell {

struct RemovalRules {
    // Asked before each document.
    std::function<bool()> mayContinue;
    // Called for each document that has a record; it removes the document, or answers true: it is
    // kept.
    std::function<bool(fulltext::DocumentID document, const PropertyRecord& record)> isKept;
    // What was removed waits in memory; called whenever that is much.
    std::function<void()> flush;
};

// A document without a record goes, without a word, in front of the first one that is kept.
void walkRemoving(OpenIndex& index, const RemovalRules& rules);

}  // namespace siftwell
