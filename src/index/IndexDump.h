// IndexDump: all documents of the indexes as a list of anchors, from which they can be indexed
// again.
//
// One block for each document, in the order of the indexes and of the documents in them:
//
//   <DL><P><DT><B><a HREF="…" LAST_VISIT="…" SOURCE="…" INDEXER="…">…</A></B></DT>
//   <DD><B>Date:</B> 2026-11-21 08:15<BR>
//   <B>Source:</B> …<BR>
//   <B>Terms:</B>
//    each term                                      (these two lines on demand)
//   </DD></DL>
//
// What would end an attribute or a tag, or pass for another attribute, stands as "&#34;" and the
// like, which the reader of such lists decodes; nothing else is escaped.
//
// Threads: any. The index lock is shared for as long as it takes: who calls keeps others from
// waiting for it. Memory: a buffer, however many documents there are. Errors: as Status; then the
// file of that name is as it was.
#pragma once

#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/NotificationCentre.h"
#include "base/Status.h"
#include "index/DocumentStore.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"

namespace siftwell {

class IndexDump {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        StoreCounters& counters;
        NotificationCentre& centre;
    };
    explicit IndexDump(const Parts& parts) : m_parts(parts) {}

    // Posts "SiftwellIndexRebuildProgressNotification" with the percentage done, whenever a whole
    // per cent more is, and without an object at the end. Busy when it was broken off.
    Status write(const std::string& path, bool showTerms, const std::stop_token& stop) const;

private:
    struct Run;

    bool dumpDocumentsInIndex(const SKIndex& index, Run& run) const;
    void postProgress(Run& run) const;

    const Parts m_parts;
};

// A text as it stands in a dump.
std::string escapedInDump(std::string_view text);

// Takes the documents with these addresses out of a dump. A file that holds none of them stays as
// it is.
Status removeFromDump(const std::string& path, const std::vector<std::string>& addresses);

}  // namespace siftwell
