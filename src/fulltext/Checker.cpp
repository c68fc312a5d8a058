#include "fulltext/Checker.h"

#include "fulltext/DocumentRecord.h"
#include "fulltext/Inverter.h"

namespace siftwell::fulltext {

namespace {

// The text of a document must have the words that the segment counts.
Status checkDocument(const IndexCore& index, const Segment& segment,
                     const SegmentDocument& document, Inverter& inverter) {
    TermTables tables(index.filter);
    const auto stored = readDocument(segment.file(), document.place);
    if (!stored) return stored.status();
    if (stored->id != document.id || hashOfKey(stored->key) != document.keyHash ||
        inverter.invert(stored->readableText, tables).words() != document.words) {
        return damagedFile(segment.file(), "a document is not the one its segment knows");
    }
    return {};
}

Status checkSegment(const IndexCore& index, const LiveSegment& live, Inverter& inverter) {
    if (Status status = live.segment->check(); !status.isOk()) return status;
    const auto documents = live.segment->describeDocuments();
    if (!documents) return documents.status();
    for (const SegmentDocument& document : *documents) {
        if (!live.isLive(document.id)) continue;
        if (Status status = checkDocument(index, *live.segment, document, inverter);
            !status.isOk()) {
            return status;
        }
    }
    return {};
}

}  // namespace

Status checkIndex(IndexCore& index) {
    const SharedHold hold(index.switching);
    std::vector<LiveSegment> segments;
    {
        MutexLock lock(index.mutex);
        segments = index.contents.segments();
    }
    Inverter inverter;
    for (const LiveSegment& live : segments) {
        if (Status status = checkSegment(index, live, inverter); !status.isOk()) return status;
    }
    return {};
}

}  // namespace siftwell::fulltext
