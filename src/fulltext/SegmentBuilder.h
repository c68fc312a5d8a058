// Building a segment from documents in memory.
#pragma once

#include <span>

#include "base/Status.h"
#include "fulltext/MemoryDocument.h"
#include "fulltext/Spool.h"

namespace siftwell::fulltext {

// Writes the payload of a segment with the documents, of which there is at least one and none is
// null; answers the record header that goes before it. Needs as much memory as the documents take.
Result<std::string> buildSegment(std::span<const std::shared_ptr<const MemoryDocument>> documents,
                                 Spool& output, const ContinueCallback& mayContinue);

}  // namespace siftwell::fulltext
