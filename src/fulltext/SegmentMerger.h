// Making one segment of several, without the documents that were removed.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/Status.h"
#include "fulltext/RemovedSet.h"
#include "fulltext/Segment.h"
#include "fulltext/Spool.h"

namespace siftwell::fulltext {

// A segment as it is searched: with what was removed from it. Null when nothing was.
struct LiveSegment {
    std::shared_ptr<const Segment> segment;
    std::shared_ptr<const RemovedSet> removed;

    bool isLive(DocumentID document) const {
        return removed == nullptr || !removed->contains(document);
    }
    std::uint32_t liveDocuments() const {
        return segment->documents() - (removed == nullptr ? 0 : removed->size());
    }
};

// Where a document's record lies in the file that the new segment goes to.
using PlaceMapping = std::function<std::uint64_t(const SegmentDocument&)>;

// Writes the payload of the merged segment; answers the record header that goes before it, or an
// empty text when no document is left. The segments' ranges rise. Blocks of postings without
// removed documents are copied as they are.
Result<std::string> mergeSegments(std::span<const LiveSegment> segments,
                                  const PlaceMapping& newPlace, Spool& output,
                                  const ContinueCallback& mayContinue);

}  // namespace siftwell::fulltext
