// Flushing: making what was added and removed part of the file.
//
// Threads: any; one at a time for each index, the others wait.
// Errors: a failed write is kept as the index's write error, and every later write fails with it.
#pragma once

#include "base/Status.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

enum class FlushKind {
    Ordinary,   // some text may stay outside of segments
    Relieving,  // little
    Closing,    // none
};

// Commits: a process that opens the file from now on sees it. Not synced yet.
Status flush(IndexCore& index, FlushKind kind);

// Moves the documents in memory into a segment, without committing.
Status spill(IndexCore& index);

// Makes the newest commit durable.
Status sync(IndexCore& index);

// Writes a segment's payload to a place of its own at the end of the file and opens it.
Result<std::shared_ptr<const Segment>> placeSegment(IndexCore& index, Spool& payload,
                                                    const std::string& header,
                                                    const ContinueCallback& mayContinue);

}  // namespace siftwell::fulltext
