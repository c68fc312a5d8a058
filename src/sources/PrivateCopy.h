// PrivateCopy: copies of other programs' databases, so that those are neither locked nor seen
// half-written.
//
// Copies lie in a folder of the user's own below the system's temporary folder ("siftwell-UID"),
// and nobody else may read them: a history is nobody's business.
//
// Threads: any. Errors: as Status, whose message is the system's text for the error, a blank and
// the path.
#pragma once

#include <string>

#include "base/Status.h"

namespace siftwell {

// Copies the file under a new name, "PROCESS.TICKS.NAME"; the copy's path.
Result<std::string> copyToTemporaryFolder(const std::string& path);

// What processes that are gone left there, and copies that are older than a day whoever made them.
void removeLeftOverCopies();

// A new folder of the user's own, beside those copies, for the copies of a child program. What is
// left over there is removed first.
Result<std::string> makePrivateFolder();

// Copies a plain file to where there is none yet; nothing is left of a copy that failed.
Status copyFilePrivately(const std::string& from, const std::string& to);

}  // namespace siftwell
