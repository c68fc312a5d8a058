// Repair: bringing back what a damaged index file still holds.
//
// The file may be damaged anywhere, also so that it cannot be opened. Every document whose record
// is whole comes back with its number and its text, but for those that were removed or replaced.
// Where the damage has taken what tells that, a removed document may come back; the report counts
// those of which nobody knows. The bytes of a page may look like a record; they are taken for one
// only where the damage hides where the page's own record begins and what the index knows of it.
//
// A new file is written beside the old one, synced, and renamed over it, as compaction does; the
// old one is kept as NAME.damaged. A program that is killed in between leaves the old file in
// place.
//
// Threads: any; no other writer has the index open. Searches and other processes go on with the old
// file until they open the index anew.
// Memory: about 200 bytes for each document record, and what a writer needs. Time: linear.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Status.h"
#include "fulltext/Findings.h"
#include "fulltext/Header.h"
#include "fulltext/Storage.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// What others know of the index; used where its file does not tell any more.
struct RepairHints {
    IndexSettings settings;
    std::optional<FileIdentity> identity;
    DocumentID next = kFirstDocumentID;  // no number below it may be given again
    // Whether the document is alive; none when nobody knows. May be empty.
    std::function<std::optional<bool>(DocumentID)> isAlive;
};

struct RepairReport {
    Findings findings;             // what was damaged; when there is none, nothing was done
    std::uint64_t documents = 0;   // brought back
    std::uint64_t lost = 0;        // alive, or perhaps, without a whole record
    std::uint64_t uncertain = 0;   // brought back though they may have been removed
    bool areSettingsLost = false;  // those of the hints were taken
    bool isLimited = false;        // the damage was too great to look for every record
    std::string keptAs;            // where the damaged file is
};

// Busy when the index has a writer; UnknownVersion for a file of a newer program, which is left
// untouched. On failure the index is as it was.
Result<RepairReport> repairIndex(const std::string& path, const RepairHints& hints,
                                 Storage& storage, const PaceCallback& pace);

// What is damaged in the file, which need not be one that can be opened, and is not changed.
Result<Findings> findDamageIn(const std::string& path, Storage& storage);

// The name of the file that a repair writes; one that is left over from a killed program is
// deleted.
std::string repairPath(const std::string& indexPath);

}  // namespace siftwell::fulltext
