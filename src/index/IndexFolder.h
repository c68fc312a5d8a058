// IndexFolder: where the indexes lie.
//
// Threads: main, at start. Errors: reported with severity 9 (8 for the migration); none stops the
// program.
#pragma once

#include <optional>
#include <string>

#include "base/Paths.h"
#include "base/SWNotifier.h"

namespace siftwell {

// The folder "Siftwell" among the user's application data, made when it is missing; a symbolic link
// in its place is followed. None when it cannot be found or made. Only looks when `mayCreate` is
// false.
std::optional<std::string> findIndexFolder(const Paths& paths, bool mayCreate,
                                           SWNotifier& notifier);

// Moves the files of an old index folder, if there is one, into the new one, and deletes the old
// folder once it is empty.
void migrateOldIndexFolder(const Paths& paths, const std::string& indexFolder,
                           SWNotifier& notifier);

}  // namespace siftwell
