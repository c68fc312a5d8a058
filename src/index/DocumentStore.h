// DocumentStore: finding, adding and removing single documents across the index set.
//
// Threads: any. Every operation holds the index lock shared for as long as it looks at more than
// one index; several threads add at once. Errors: reported with severity 3 for the address
// concerned; the indexes stay as they were.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "base/NotificationCentre.h"
#include "base/SWNotifier.h"
#include "base/Url.h"
#include "index/IndexCounters.h"
#include "index/IndexLocks.h"
#include "index/IndexNaming.h"
#include "index/IndexSet.h"
#include "records/AddRequest.h"

namespace siftwell {

using SKDocument = fulltext::DocumentKey;

struct StoreCounters {
    DocumentCounter pending;  // announced by indexers, neither added nor dropped yet
    DocumentCounter deleted;  // since the last compaction
    DocumentCounter documents;
};

class DocumentStore {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        StoreCounters& counters;
        NotificationCentre& centre;
        SWNotifier& notifier;
        const Clock& clock;
    };
    // `folder` is empty when there is no index folder; `flush` is called for every hundredth
    // document.
    DocumentStore(const Parts& parts, std::function<void()> flush)
        : m_parts(parts), m_flush(std::move(flush)) {}

    void setFolder(std::string folder) { m_folder = std::move(folder); }

    // The index of the pair, made when it is missing and that is asked for; null otherwise.
    SKIndex skIndexForSource(const std::string& source, const std::string& scheme,
                             bool createIfNecessary);

    // Whether the index holds the document, with a record, and with a date not before the asked
    // one.
    bool isSKDocument(const SKDocument& document, const SKIndex& inSKIndex,
                      std::optional<Date> withDate) const;

    // The first index that does, or null. Where the walk begins depends on the last hit: runs of
    // addresses that sit in neighbouring indexes are found quickly, newer indexes first otherwise.
    SKIndex skIndexForSKDocument(const SKDocument& document, std::optional<Date> withDate);

    // Whether the page is indexed, first asked of the source's own index, which is made when
    // missing.
    bool isDocument(const Url& url, const std::string& fromSource,
                    std::optional<Date> indexedWithDate);

    enum class AddOutcome { Added, UpToDate, NotAdded };
    // Adds the page, or puts it in the place of older copies in any index. Does not count it as
    // done.
    AddOutcome add(const AddRequest& request);

    // Removes one document from one index. Answers whether it did.
    bool removeSKDocument(const SKDocument& document, const SKIndex& fromSKIndex,
                          std::optional<std::string> withURLString, bool sendNotification);

    // The same for a document whose number is known.
    bool removeNumber(fulltext::DocumentID document, const SKIndex& fromSKIndex,
                      const std::string& url, bool sendNotification);

    // Removes the page from the first index that holds it; whether there was one.
    bool removeURLFromIndex(const Url& url);

    // The record that the index holds for the number.
    std::optional<PropertyRecord> propertiesForDocumentID(fulltext::DocumentID document,
                                                          const SKIndex& inSKIndex) const;

private:
    bool clearOlderCopies(const AddRequest& request, const SKDocument& document,
                          const SKIndex& target);
    std::optional<PropertyRecord> addToIndex(const AddRequest& request, const SKDocument& document,
                                             const SKIndex& target);
    void reportNotRemoved(const std::optional<std::string>& url);
    void reportNotAdded(const AddRequest& request, OpenIndex& target);
    PropertyRecord recordFor(const AddRequest& request) const;
    void postRemoval(const std::string& url);
    void postAddition(const PropertyRecord& record);

    const Parts m_parts;
    const std::function<void()> m_flush;
    std::string m_folder;  // set before any thread adds
    Mutex m_mutex;
    std::ptrdiff_t m_rememberedPosition SW_GUARDED_BY(m_mutex) = -1;
};

// What a document without a title of its own is called.
std::string titleFor(const AddRequest& request);

}  // namespace siftwell
