#include "index/OpenIndex.h"

namespace siftwell {

Status OpenIndex::flush() {
    const ExclusiveHold hold(pairGate);
    if (!properties->write()) return {};
    Status status = index->flush();
    if (status.isOk()) properties->indexWasFlushed();
    return status;
}

Status OpenIndex::close() {
    // An index that is closed flushes by itself; documents whose records could not be written must
    // not become part of it.
    Status status = properties->isWritten() ? index->close() : Status();
    properties->close();
    return status;
}

}  // namespace siftwell
