#include "index/IndexController.h"

#include <algorithm>

#include "base/Files.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "index/IndexFolder.h"
#include "index/StopWords.h"
#include "text/Alphanumeric.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr int kMonthlyFormat = 1;
constexpr int kCurrentFormat = 2;

// Well-known public name servers; nothing is sent to them.
constexpr const char* kWellKnownAddresses[] = {"9.9.9.9", "1.1.1.1"};

// Searches look at such texts one by one. With six times as much, a search over thirty indexes took
// twice as long while pages came.
constexpr std::size_t kMaxUnsegmentedText = 1 << 20;

constexpr const char* kSearchedSchemes[] = {"http", "https", "file", "feed"};

}  // namespace

IndexController::IndexController(const Surroundings& surroundings, Access access)
    : m_surroundings(surroundings),
      m_access(access),
      m_stopWords(readStopWords(surroundings.paths)),
      m_gate(surroundings.centre),
      m_admission(surroundings.settings),
      m_search(m_locks, surroundings.mainLoop) {
    for (const std::string& source : m_surroundings.settings.strings("IndexedSources")) {
        noteIndexedSource(source);
    }
    const fulltext::Index::Surroundings engine{
        .maintenance = access == Access::ReadWrite ? &m_maintenance : nullptr,
        .budget = &m_writeBudget,
        .pace = [this] { yieldForPriorityThread(); },
        .maxUnsegmentedText = kMaxUnsegmentedText};
    m_indexes = std::make_unique<IndexSet>(
        IndexSet::Settings{.access = access,
                           .surroundings = engine,
                           .stopWords = {m_stopWords.begin(), m_stopWords.end()}},
        m_surroundings.notifier, m_surroundings.clock);
    m_store = std::make_unique<DocumentStore>(
        DocumentStore::Parts{*m_indexes, m_locks, m_counters, m_surroundings.centre,
                             m_surroundings.notifier, m_surroundings.clock},
        [this] { flush(); });
    m_loader = std::make_unique<IndexLoader>(
        IndexLoader::Parts{*m_indexes, m_locks, m_gate, m_counters, m_surroundings.centre,
                           m_surroundings.notifier, [this](const std::string& source) {
                               if (m_indexFormat == kMonthlyFormat) noteIndexedSource(source);
                           }});
    m_filterPass = std::make_unique<FilterPass>(FilterPass::Parts{
        *m_indexes, m_locks, m_gate, m_counters, m_admission, *m_store, m_surroundings.centre,
        m_surroundings.notifier, [this](const SKIndex& index) { flushIndex(index); },
        [this] { flush(); }});
    m_dump = std::make_unique<IndexDump>(
        IndexDump::Parts{*m_indexes, m_locks, m_counters, m_surroundings.centre});
    m_erasure = std::make_unique<Erasure>(
        Erasure::Parts{*m_indexes, m_locks, *m_store, m_surroundings.notifier});
    m_expiry = std::make_unique<Expiry>(
        Expiry::Parts{*m_indexes, m_locks, m_gate, m_counters, *m_store, *m_loader,
                      m_surroundings.notifier, [this] { return m_indexFormat == kMonthlyFormat; },
                      [this](const SKIndex& index) { flushIndex(index); }, [this] { flush(); },
                      [this] { forgetIndexedSources(); }});
    findFolder();
    loadIndex();
    observe();
    applyPreferences();
}

IndexController::~IndexController() {
    m_search.finishAfterIdlePeriod(std::chrono::seconds(0));
    m_ending.request_stop();
    stopWalks();
}

// Whether a filter pass was broken off.
bool IndexController::stopWalks() {
    m_loader->stop();
    return m_filterPass->stop();
}

void IndexController::endSearchOfThisThread() {
    if (m_surroundings.mainLoop.isOwnedByThisThread()) {
        m_search.finishAfterIdlePeriod(std::chrono::seconds(0));
    }
}

void IndexController::findFolder() {
    const bool mayWrite = m_access == Access::ReadWrite;
    m_folder = findIndexFolder(m_surroundings.paths, mayWrite, m_surroundings.notifier);
    if (m_folder && mayWrite) {
        migrateOldIndexFolder(m_surroundings.paths, *m_folder, m_surroundings.notifier);
    }
    m_store->setFolder(m_folder.value_or(""));
}

void IndexController::observe() {
    NotificationCentre& centre = m_surroundings.centre;
    m_observations.push_back(centre.observe("SiftwellPreferenceChangeNotification",
                                            [this](const PropertyList&) { applyPreferences(); }));
    m_observations.push_back(centre.observe("SiftwellIndexFilterRequestNotification",
                                            [this](const PropertyList&) { applyFilters(); }));
    m_observations.push_back(
        centre.observe("SiftwellIndexerProgressStartNotification",
                       [this](const PropertyList& progress) { updatePendingCount(progress); }));
}

void IndexController::updatePendingCount(const PropertyList& progress) {
    if (const auto* dictionary = progress.asDictionary()) {
        addToPendingDocumentCount(integerFor(*dictionary, "count").value_or(0));
    }
}

void IndexController::applyPreferences() { m_admission.applyPreferences(); }

bool IndexController::loadIndex() {
    endSearchOfThisThread();
    const bool mustFilter = stopWalks();
    if (m_ending.stop_requested()) m_ending = std::stop_source();
    disableIndexing();
    {
        const ScanLock::Turn turn(m_locks.scanLock());
        const ExclusiveHold hold(m_locks.indexGate());
        m_indexes->drop();
        m_indexFormat = kCurrentFormat;
        if (m_folder) m_indexes->load(*m_folder);
        const auto indexes = m_indexes->list();
        if (std::any_of(indexes->begin(), indexes->end(),
                        [](const SKIndex& index) { return isMonthlyIndexName(index->name); })) {
            m_indexFormat = kMonthlyFormat;
        }
        loadCounters();
        enableIndexing();
    }
    // A process that only reads shows nothing and must not wait for the walk.
    if (m_access == Access::ReadWrite) m_loader->start();
    if (mustFilter) applyFilters();
    return !m_indexes->list()->empty();
}

void IndexController::loadCounters() {
    Settings& settings = m_surroundings.settings;
    if (!m_indexes->list()->empty()) {
        setDeletedDocumentCount(settings.integer("DeletionCount"));
        setDocumentCount(settings.integer("DocumentCount"));
        return;
    }
    setDeletedDocumentCount(0);
    setDocumentCount(0);
    // The next scan reads every source from the beginning.
    if (m_access == Access::ReadWrite) settings.set("LastIndexScanDate", Date::distantPast());
}

void IndexController::flush() {
    if (m_access == Access::ReadOnly) return;
    endSearchOfThisThread();
    const SharedHold hold(m_locks.indexGate());
    const auto indexes = m_indexes->list();
    for (const SKIndex& index : *indexes) {
        yieldForPriorityThread();  // each may wait for the disk
        flushIndex(index);
    }
    storeCounters();
}

void IndexController::flushIndex(const SKIndex& index) {
    if (const Status status = index->flush(); index->isNews(status)) {
        m_surroundings.notifier.reportError(status.message(), 9, "", "");
    }
}

void IndexController::storeCounters() {
    Settings& settings = m_surroundings.settings;
    settings.set("DocumentCount", documentCount());
    settings.set("DeletionCount", deletedDocumentCount());
    PropertyList::Array sources;
    {
        MutexLock lock(m_mutex);
        sources.assign(m_indexedSources.begin(), m_indexedSources.end());
    }
    settings.set("IndexedSources", std::move(sources));
}

bool IndexController::compactIndex() {
    endSearchOfThisThread();
    const SharedHold hold(m_locks.indexGate());
    const auto indexes = m_indexes->list();
    for (const SKIndex& index : *indexes) {
        yieldForPriorityThread();
        if (m_ending.stop_requested()) return false;
        flushIndex(index);  // what is removed but not flushed would be kept
        if (const Status status = index->index->compact(); !status.isOk()) {
            m_surroundings.notifier.reportError(status.message(), 9, "", "");
        }
    }
    setDeletedDocumentCount(0);
    return true;
}

void IndexController::expireOlderThan(Date cutOff,
                                      const std::optional<std::vector<std::string>>& forSources) {
    if (m_access == Access::ReadOnly) return;
    endSearchOfThisThread();
    m_expiry->expireOlderThan(cutOff, forSources);
}

void IndexController::applyFilters() {
    if (m_access == Access::ReadOnly) return;
    endSearchOfThisThread();
    m_filterPass->request();
}

std::size_t IndexController::filterDocuments() {
    if (m_access == Access::ReadOnly) return 0;
    endSearchOfThisThread();
    return m_filterPass->waitFor(m_filterPass->request());
}

Status IndexController::dumpIndices(const std::string& path, bool showTerms) {
    endSearchOfThisThread();
    return m_dump->write(path, showTerms, m_ending.get_token());
}

bool IndexController::closeIndex() {
    endSearchOfThisThread();
    m_ending.request_stop();
    stopWalks();
    const ExclusiveHold hold(m_locks.indexGate());
    if (m_access == Access::ReadOnly) {
        m_indexes->drop();
        return true;
    }
    // Without giving way: whoever has the priority may ask for the index lock.
    const auto indexes = m_indexes->list();
    for (const SKIndex& index : *indexes) flushIndex(index);
    storeCounters();
    if (const Status status = m_indexes->closeAll(); !status.isOk()) {
        m_surroundings.notifier.reportError(status.message(), 9, "", "");
    }
    return true;
}

void IndexController::purgeIndex(std::size_t position) {
    const auto indexes = m_indexes->list();
    if (position < indexes->size()) m_indexes->purge((*indexes)[position]);
}

void IndexController::noteIndexedSource(const std::string& source) {
    MutexLock lock(m_mutex);
    m_indexedSources.insert(source);
}

void IndexController::forgetIndexedSources() {
    MutexLock lock(m_mutex);
    m_indexedSources.clear();
}

std::vector<std::string> IndexController::indexedSources() const {
    std::vector<std::string> sources;
    if (m_indexFormat == kMonthlyFormat) {
        MutexLock lock(m_mutex);
        return {m_indexedSources.begin(), m_indexedSources.end()};
    }
    const auto indexes = m_indexes->list();
    for (const SKIndex& index : *indexes) {
        const std::string source = sourceOfIndexName(index->name);
        if (std::find(sources.begin(), sources.end(), source) == sources.end()) {
            sources.push_back(source);
        }
    }
    return sources;
}

bool IndexController::isIndexedSource(const std::string& source) const {
    const std::vector<std::string> sources = indexedSources();
    const std::string asNamed = m_indexFormat == kMonthlyFormat
                                    ? source
                                    : sourceOfIndexName(indexNameForSource(source, "x"));
    return std::find(sources.begin(), sources.end(), asNamed) != sources.end();
}

std::optional<SKDocument> IndexController::skDocumentForURL(const Url& url) const {
    return siftwell::skDocumentForURL(url, m_surroundings.notifier);
}

SKIndex IndexController::skIndexForSource(const std::string& source, const std::string& scheme,
                                          bool createIfNecessary) {
    return m_store->skIndexForSource(source, scheme, createIfNecessary);
}

std::ptrdiff_t IndexController::indexForSKIndex(const SKIndex& index) const {
    return m_indexes->positionOf(index);
}

SKIndex IndexController::skIndexForSKDocument(const SKDocument& document,
                                              std::optional<Date> withDate) {
    return m_store->skIndexForSKDocument(document, withDate);
}

bool IndexController::isSKDocument(const SKDocument& document, const SKIndex& inSKIndex,
                                   std::optional<Date> withDate) const {
    return m_store->isSKDocument(document, inSKIndex, withDate);
}

std::string IndexController::termsForSKDocument(const SKDocument& document,
                                                const SKIndex& inSKIndex) const {
    std::string text;
    const auto number = inSKIndex->index->documentWith(document);
    if (!number || !*number) return text;
    const auto terms = inSKIndex->index->termsOf(**number);
    if (!terms) return text;
    for (const std::string& term : *terms) text.append(1, ' ').append(term);
    return text;
}

bool IndexController::isDocument(const Url& url, const std::string& fromSource,
                                 std::optional<Date> indexedWithDate) {
    return m_store->isDocument(url, fromSource, indexedWithDate);
}

std::optional<PropertyRecord> IndexController::propertiesForDocumentID(
    fulltext::DocumentID document, const SKIndex& inSKIndex) const {
    return m_store->propertiesForDocumentID(document, inSKIndex);
}

bool IndexController::parseAndAddContent(PageContent page) {
    if (page.content.empty() || !canProcessURL(page.url)) {
        addToPendingDocumentCount(-1);
        return false;
    }
    const bool isReadable = m_admission.isReadableFile(page.url);
    auto request = parseContent(std::move(page), isReadable, [this] { yieldForPriorityThread(); });
    // A page that cannot be read stays announced until the scan cycle sets the count anew.
    if (request) addDataToIndex(*std::move(request));
    return false;
}

void IndexController::addDataToIndex(AddRequest request) {
    const Url url = request.url;
    if (request.content.empty()) {
        writeLog(filledIn("Returning without adding %@ to index", url.absoluteString()));
        m_surroundings.notifier.reportError(_("No text on page"), 3, url.absoluteString(), "");
        addFailedURL(url);
        addToPendingDocumentCount(-1);
        return;
    }
    if (!extractText(request)) {
        m_surroundings.notifier.reportError(_("SearchKit failed to index this URL"), 3,
                                            url.absoluteString(),
                                            filledIn(_("Content = %@"), request.content));
    } else if (m_store->add(request) == DocumentStore::AddOutcome::Added &&
               m_indexFormat == kMonthlyFormat) {
        noteIndexedSource(request.source);
    }
    addToPendingDocumentCount(-1);
}

// The text of a file that needs an extractor is read now, before any lock is taken. False when
// there is none to be had.
bool IndexController::extractText(AddRequest& request) {
    if (!extractorNeededForURL(request.url)) return true;
    if (m_surroundings.extractor == nullptr) return false;
    auto text = m_surroundings.extractor->textOf(request.url);
    if (!text) return false;
    request.readable = *text;
    reduceToAlphanumeric(*text, [this] { yieldForPriorityThread(); });
    request.content = trimmingWhiteSpace(*text);
    return true;
}

bool IndexController::removeSKDocument(const SKDocument& document, const SKIndex& fromSKIndex,
                                       const std::optional<std::string>& withURLString,
                                       bool sendNotification) {
    return m_store->removeSKDocument(document, fromSKIndex, withURLString, sendNotification);
}

std::size_t IndexController::removeURLFromIndex(const std::vector<Url>& urls) {
    endSearchOfThisThread();
    return static_cast<std::size_t>(std::count_if(urls.begin(), urls.end(), [this](const Url& url) {
        return m_store->removeURLFromIndex(url);
    }));
}

std::vector<Url> IndexController::eraseURLs(const std::vector<Url>& urls) {
    if (m_access == Access::ReadOnly || !m_folder) return {};
    endSearchOfThisThread();
    std::vector<Url> erased = m_erasure->erase(urls, *m_folder);
    flush();
    return erased;
}

bool IndexController::netConnectionAvailable() {
    return std::any_of(
        std::begin(kWellKnownAddresses), std::end(kWellKnownAddresses),
        [this](const char* address) { return m_surroundings.network.isReachable(address); });
}

bool IndexController::readyToIndex() { return netConnectionAvailable() && readyToIndexLocally(); }

bool IndexController::readyToIndexLocally() {
    if (!indexingEnabled()) return false;
    const bool isFree = m_locks.scanLock().count() == 0;
    yieldForPriorityThread();
    return isFree;
}

RunningSearches IndexController::startSearch(const std::optional<std::vector<std::string>>& sources,
                                             const std::string& query) {
    const bool isRestricted = sources && m_indexFormat == kCurrentFormat;
    return m_search.start(isRestricted ? indexesOf(*sources) : *m_indexes->list(), query);
}

std::vector<SKIndex> IndexController::indexesOf(const std::vector<std::string>& sources) {
    std::vector<SKIndex> found;
    for (const std::string& source : sources) {
        for (const char* scheme : kSearchedSchemes) {
            if (SKIndex index = skIndexForSource(source, scheme, false)) found.push_back(index);
        }
    }
    return found;
}

}  // namespace siftwell
