// Compaction: writing an index anew, without what is dead in its file.
//
// A new file is written beside the old one, synced, and renamed over it; numbers stay. It says what
// the last commit said; what came since stays uncommitted. Searches and other processes go on with
// the old file. A program that is killed in between leaves the old file in place.
//
// Threads: any. Adding goes on but for the moment in which the files are exchanged; flushes wait.
#pragma once

#include "base/Status.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

// Busy when the index is being closed.
Status compact(IndexCore& index);

// Whether more than half of the file, and not only a little, is dead.
bool isWasteful(IndexCore& index);

// The name of the file that compaction writes; one that is left over from a killed program is
// deleted.
std::string compactionPath(const std::string& indexPath);

}  // namespace siftwell::fulltext
