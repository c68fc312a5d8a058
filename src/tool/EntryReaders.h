// EntryReaders: which reader hands out the entries of a source, by the name of its indexer.
//
// Threads: one.
#pragma once

#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Status.h"
#include "records/BrowserEntry.h"

namespace siftwell {

// Hands out what is newer than `after`, from the file as it is now; the browser may be writing it.
using EntryReader = Status (*)(const std::string& path, Date after, const TakeEntry& take);

// Null when there is none for it.
EntryReader entryReaderFor(const std::string& indexer);

// The latest date of the file or of what the database keeps beside it: new rows stand there alone
// until they are merged. The distant past when there is nothing.
Date changeDateOf(const std::string& path);

// The files that a reader opens for the path.
std::vector<std::string> filesReadFor(const std::string& path);

}  // namespace siftwell
