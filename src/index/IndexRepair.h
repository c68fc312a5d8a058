// Repairing an index and its side file as a pair.
//
// The index is repaired first (fulltext/Repair.h), with what the side file knows of it where the
// index itself does not tell any more: documents that have no record were removed, unless records
// were lost with an earlier side file. Then the side file follows: a damaged one is set aside, as
// at every opening for writing, and records without document go.
//
// Threads: any; nobody in this or another process has the index open for writing.
#pragma once

#include <set>
#include <string>

#include "fulltext/Repair.h"
#include "index/IndexCheck.h"

namespace siftwell {

struct RepairedIndex {
    CheckedIndex before;
    // What follows is empty when nothing was damaged.
    fulltext::RepairReport report;
    std::uint64_t documents = 0;      // that there are now
    std::uint64_t withoutRecord = 0;  // of these
    Status records;                   // that the side file was set aside
    Status status;                    // why the repair failed
    bool isRepaired() const { return !before.status.isOk() && status.isOk(); }
    bool isWithoutLoss() const {
        return status.isOk() && report.lost == 0 && records.isOk() && !report.isLimited;
    }
};

// None as checkIndexFile(). A pair that is in order is left untouched.
std::optional<RepairedIndex> repairIndexFile(const IndexFile& file,
                                             const std::set<std::string>& stopWords,
                                             const fulltext::PaceCallback& pace = {});

}  // namespace siftwell
