#include "index/DocumentStore.h"

#include "base/Log.h"
#include "base/Translate.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr int kSeverity = 3;
constexpr int kIndexSeverity = 9;
constexpr std::int64_t kFlushInterval = 100;

std::optional<fulltext::DocumentID> numberOf(const SKDocument& document, const SKIndex& index) {
    const auto found = index->index->documentWith(document);
    if (!found) writeLog(found.status().message());
    return found ? *found : std::nullopt;
}

}  // namespace

std::string titleFor(const AddRequest& request) {
    if (request.title && !request.title->empty()) return *request.title;
    std::string title = request.url.scheme() == "feed"
                            ? filledIn(_("RSS Feed: %@"), request.url.host().value_or(""))
                            : repairedUtf8(request.url.lastPathComponent());
    return utf16Length(title) > 1 ? title : request.url.absoluteString();
}

SKIndex DocumentStore::skIndexForSource(const std::string& source, const std::string& scheme,
                                        bool createIfNecessary) {
    const std::string name = indexNameForSource(source, scheme);
    if (!createIfNecessary || m_folder.empty()) return m_parts.indexes.find(name);
    return m_parts.indexes.findOrCreate(m_folder, name);
}

bool DocumentStore::isSKDocument(const SKDocument& document, const SKIndex& inSKIndex,
                                 std::optional<Date> withDate) const {
    if (inSKIndex == nullptr) return false;
    const auto number = numberOf(document, inSKIndex);
    if (!number) return false;
    const auto date = inSKIndex->properties->dateForSKDocument(*number);
    return date && (!withDate || *date >= *withDate);
}

SKIndex DocumentStore::skIndexForSKDocument(const SKDocument& document,
                                            std::optional<Date> withDate) {
    const SharedHold hold(m_parts.locks.indexGate());
    const auto indexes = m_parts.indexes.list();
    const auto size = static_cast<std::ptrdiff_t>(indexes->size());
    const auto holds = [&](std::ptrdiff_t position) {
        return isSKDocument(document, (*indexes)[static_cast<std::size_t>(position)], withDate);
    };
    if (size == 0) return nullptr;
    std::ptrdiff_t remembered = -1;
    {
        MutexLock lock(m_mutex);
        remembered = m_rememberedPosition;
        m_rememberedPosition = size - 1;
    }
    if (remembered >= 0 && remembered < size && holds(remembered)) {
        return (*indexes)[static_cast<std::size_t>(remembered)];
    }
    SKIndex found;
    std::ptrdiff_t position = size - 1;
    for (; position >= 0 && found == nullptr; --position) {
        if (holds(position)) found = (*indexes)[static_cast<std::size_t>(position)];
    }
    MutexLock lock(m_mutex);
    m_rememberedPosition = position;  // one below the hit
    return found;
}

bool DocumentStore::isDocument(const Url& url, const std::string& fromSource,
                               std::optional<Date> indexedWithDate) {
    const SharedHold hold(m_parts.locks.indexGate());
    const auto document = skDocumentForURL(url, m_parts.notifier);
    if (!document) return false;
    const SKIndex own = skIndexForSource(fromSource, url.scheme(), true);
    return isSKDocument(*document, own, indexedWithDate) ||
           skIndexForSKDocument(*document, indexedWithDate) != nullptr;
}

DocumentStore::AddOutcome DocumentStore::add(const AddRequest& request) {
    const SharedHold hold(m_parts.locks.indexGate());
    const auto document = skDocumentForURL(request.url, m_parts.notifier);
    const SKIndex target =
        document ? skIndexForSource(request.source, request.url.scheme(), true) : nullptr;
    if (target == nullptr) {
        m_parts.notifier.reportError(_("Could not create index entry for URL"), kSeverity,
                                     request.url.absoluteString(), "");
        return AddOutcome::NotAdded;
    }
    if (isSKDocument(*document, target, request.date)) return AddOutcome::UpToDate;
    if (!clearOlderCopies(request, *document, target)) return AddOutcome::UpToDate;
    const auto record = addToIndex(request, *document, target);
    if (!record) return AddOutcome::NotAdded;
    if (m_parts.counters.documents.add(1) % kFlushInterval == 0) m_flush();
    postAddition(*record);
    return AddOutcome::Added;
}

// False when some index holds the page with the same or a later date. Older copies elsewhere go in
// any case; one in the target is replaced by the new one.
bool DocumentStore::clearOlderCopies(const AddRequest& request, const SKDocument& document,
                                     const SKIndex& target) {
    bool isNewest = true;
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        const auto number = numberOf(document, index);
        if (!number) continue;
        const auto record = index->properties->propertiesForSKDocument(*number);
        if (!record) continue;  // unknown without a record: replaced or cleared some other time
        if (request.date && record->date >= *request.date) {
            isNewest = false;
        } else if (index == target) {
            postRemoval(request.url.absoluteString());
        } else {
            removeNumber(*number, index, request.url.absoluteString(), true);
        }
    }
    return isNewest;
}

// The record that was stored.
std::optional<PropertyRecord> DocumentStore::addToIndex(const AddRequest& request,
                                                        const SKDocument& document,
                                                        const SKIndex& target) {
    const SharedHold hold(target->pairGate);
    const auto added = target->index->add(document, request.content, request.readable);
    if (!added) {
        writeLog(filledIn("%@ was not added: %@", request.url.absoluteString(),
                          added.status().message()));
        reportNotAdded(request, *target);
        return std::nullopt;
    }
    PropertyRecord record = recordFor(request);
    if (added->replaced) {
        // Counted here, since another thread may have added the page only just now.
        target->properties->removeSKDocument(*added->replaced);
        m_parts.counters.documents.add(-1);
        m_parts.counters.deleted.add(1);
    }
    target->properties->addSKDocument(added->id, record);
    // Another thread may have replaced the document before it had its record.
    if (target->index->stateOf(added->id) == fulltext::DocumentState::NotIndexed) {
        target->properties->removeSKDocument(added->id);
    }
    return record;
}

// When it is the index that can no longer be written, that is told instead, and once.
void DocumentStore::reportNotAdded(const AddRequest& request, OpenIndex& target) {
    const Status status = target.index->sync();
    if (status.isOk()) {
        m_parts.notifier.reportError(_("SearchKit failed to index this URL"), kSeverity,
                                     request.url.absoluteString(),
                                     filledIn(_("Content = %@"), request.content));
    } else if (target.isNews(status)) {
        m_parts.notifier.reportError(status.message(), kIndexSeverity, "", "");
    }
}

PropertyRecord DocumentStore::recordFor(const AddRequest& request) const {
    PropertyRecord record{.date = request.date.value_or(m_parts.clock.now()),
                          .source = request.source,
                          .indexer = request.indexer,
                          .title = titleFor(request),
                          .url = request.url.absoluteString()};
    if (request.cachePath && !request.cachePath->empty()) record.cachePath = request.cachePath;
    return record;
}

bool DocumentStore::removeSKDocument(const SKDocument& document, const SKIndex& fromSKIndex,
                                     std::optional<std::string> withURLString,
                                     bool sendNotification) {
    const auto number = numberOf(document, fromSKIndex);
    if (!number) {
        reportNotRemoved(withURLString);
        return false;
    }
    if (!withURLString) {
        const auto record = fromSKIndex->properties->propertiesForSKDocument(*number);
        withURLString = record ? record->url : addressOfDocument(document);
    }
    return removeNumber(*number, fromSKIndex, *withURLString, sendNotification);
}

bool DocumentStore::removeNumber(fulltext::DocumentID document, const SKIndex& fromSKIndex,
                                 const std::string& url, bool sendNotification) {
    {
        const SharedHold hold(fromSKIndex->pairGate);
        const Status status = fromSKIndex->index->remove(document);
        if (!status.isOk()) {
            // Another thread may have removed it meanwhile; that is as good.
            if (status.code() != StatusCode::NotFound) reportNotRemoved(url);
            return false;
        }
        fromSKIndex->properties->removeSKDocument(document);
    }
    if (sendNotification) postRemoval(url);
    m_parts.counters.documents.add(-1);
    m_parts.counters.deleted.add(1);
    return true;
}

void DocumentStore::reportNotRemoved(const std::optional<std::string>& url) {
    if (!url) return;
    m_parts.notifier.reportError(_("SearchKit failed to remove this URL"), kSeverity, *url, "");
}

bool DocumentStore::removeURLFromIndex(const Url& url) {
    const SharedHold hold(m_parts.locks.indexGate());
    const auto document = skDocumentForURL(url, m_parts.notifier);
    if (!document) return false;
    const SKIndex index = skIndexForSKDocument(*document, std::nullopt);
    const auto number = index == nullptr ? std::nullopt : numberOf(*document, index);
    return number && removeNumber(*number, index, url.absoluteString(), true);
}

std::optional<PropertyRecord> DocumentStore::propertiesForDocumentID(
    fulltext::DocumentID document, const SKIndex& inSKIndex) const {
    return inSKIndex->properties->propertiesForSKDocument(document);
}

void DocumentStore::postRemoval(const std::string& url) {
    m_parts.centre.postMainThreadNotificationName("SiftwellStatusRemoveURLNotification", url);
}

void DocumentStore::postAddition(const PropertyRecord& record) {
    m_parts.centre.postMainThreadNotificationName(
        "SiftwellStatusAddURLNotification", PropertyList::Dictionary{{"url", record.url},
                                                                     {"date", record.date},
                                                                     {"source", record.source},
                                                                     {"indexer", record.indexer}});
}

}  // namespace siftwell
