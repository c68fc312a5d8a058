// RecordScan: the whole records of a file whose structure cannot be trusted.
//
// Records follow each other. Behind a damaged one the scan goes on where it says that it ends, when
// another one begins there: what looks like a record inside of a page's bytes is not taken for one.
// Only where the damage hides the next beginning is every byte looked at.
//
// Time: linear. What does not turn out to be a record is compared with its checksum only as long as
// all that together is a few times the file.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "fulltext/Record.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

struct RecordVisitor {
    std::function<void(RecordKind, RecordPlace)> whole;  // of a segment, its trailer alone
    std::function<void(RecordKind, std::uint64_t offset)> damaged;
    PaceCallback pace;  // may be empty
};

struct ScanOutcome {
    bool isLimited = false;     // the limit was reached: not every record may have been found
    std::uint64_t lastGap = 0;  // the last place where something else than a whole record lies
};
ScanOutcome scanRecords(std::string_view file, const RecordVisitor& visitor);

}  // namespace siftwell::fulltext
