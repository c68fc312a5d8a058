#include "retrieval/DocumentRetriever.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "base/Log.h"
#include "base/StackTraces.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"
#include "text/Encodings.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kTurn(500);
constexpr std::chrono::milliseconds kPoll(200);
constexpr std::int64_t kMostDownloads = 100;
// A host that was asked about a moment ago is where it was.
constexpr std::chrono::seconds kHostMemory(20);
constexpr std::size_t kMostHosts = 1000;

// The visit's date, when it can be one.
Date plausible(Date date, Date now) { return date > now || date < Date::fromUnix(0) ? now : date; }

// Passwords are forgotten with the documents that they were asked for.
bool mayBeRemembered(const HostChecks::Answer& answer) {
    return std::none_of(answer.spaces.begin(), answer.spaces.end(), [](const auto& space) {
        return std::any_of(space.users.begin(), space.users.end(),
                           [](const Credential& user) { return user.password.has_value(); });
    });
}

// What both kinds of objects have.
struct ObjectParts {
    const Url& url;
    const std::optional<std::string>& mimeType;
    const std::optional<std::string>& encoding;
    const std::string& data;
};
ObjectParts partsOf(const CachedURLResponse& cached) {
    return {cached.response.url, cached.response.mimeType, cached.response.textEncodingName,
            cached.data};
}
ObjectParts partsOf(const WebResource& saved) {
    return {saved.url, saved.mimeType, saved.textEncodingName, saved.data};
}

}  // namespace

DocumentRetriever::DocumentRetriever(const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_indexes(surroundings.indexes),
      m_notifier(surroundings.notifier),
      m_loader(surroundings.network),
      m_finished(std::make_shared<ReleaseQueue>(surroundings.mainLoop)),
      m_observation(surroundings.centre.observe("SiftwellPreferenceChangeNotification",
                                                [this](const auto&) { applyPreferences(); })),
      m_hostChecks(surroundings.reachability, surroundings.credentials, m_signal),
      m_extractions([this](const QueuedDocument& document) { extract(document); },
                    [this] { noteEnd(); }) {
    applyPreferences();
    m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

DocumentRetriever::~DocumentRetriever() {
    m_thread.request_stop();
    m_signal->raise();
    m_thread.join();
    // Each holds the set that holds it.
    for (const Downloader& downloader : m_downloads->claim(std::nullopt)) {
        downloader->cancel();
        m_downloads->remove(downloader);
    }
}

void DocumentRetriever::applyPreferences() {
    const Settings& settings = m_surroundings.settings;
    m_maxDownloadThreads = static_cast<std::size_t>(
        std::clamp<std::int64_t>(settings.integer("MaxDownloadThreads"), 1, kMostDownloads));
    m_authorizationBehavior = static_cast<int>(settings.integer("IndexProtectedPages"));
    m_isJavaScriptEnabled = settings.boolean("JavaScriptEnabled");
    m_signal->raise();
}

void DocumentRetriever::indexDocument(const Url& url, std::optional<Date> date,
                                      std::optional<std::string> title, const std::string& source,
                                      const std::string& indexer) {
    if (date) date = plausible(*date, m_surroundings.clock.now());
    push({.url = url,
          .date = date,
          .title = std::move(title),
          .source = source,
          .indexer = indexer,
          .host = nullptr});
}

void DocumentRetriever::push(QueuedDocument document) {
    m_queue.push(std::move(document));
    m_signal->raise();
}

bool DocumentRetriever::downloadWaitingForSource(const std::optional<std::string>& source) const {
    return m_queue.hasAny(source);
}

bool DocumentRetriever::downloadInProgressForSource(
    const std::optional<std::string>& source) const {
    return m_downloads->hasAny(source) || m_extractions.hasAny(source);
}

bool DocumentRetriever::isAtWorkForSource(const std::optional<std::string>& source) const {
    while (true) {
        const std::uint64_t moves = m_moves;
        if (downloadWaitingForSource(source) || downloadInProgressForSource(source)) return true;
        if (moves == m_moves) return false;
    }
}

template <typename IsDone>
bool DocumentRetriever::waitUntil(IsDone isDone, std::chrono::milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (true) {
        const std::uint64_t finished = m_finishedDocuments;
        if (isDone()) return true;
        const auto now = std::chrono::steady_clock::now();
        if (now >= end) return false;
        MutexLock lock(m_mutex);
        if (finished == m_finishedDocuments) m_ended.waitUntil(m_mutex, std::min(now + kPoll, end));
    }
}

bool DocumentRetriever::waitForDownloadsForSource(const std::optional<std::string>& source,
                                                  std::chrono::milliseconds timeout) {
    return waitUntil([&] { return !isAtWorkForSource(source); }, timeout);
}

void DocumentRetriever::cancelDownloadsForSource(const std::optional<std::string>& source,
                                                 std::chrono::milliseconds afterWaiting) {
    for (std::size_t left = m_queue.remove(source); left > 0; --left) drop();
    dropExtractions(source);
    for (const Downloader& downloader : m_downloads->claim(source)) {
        downloader->cancel();
        end(downloader);
    }
    m_signal->raise();
    waitUntil([&] { return !downloadInProgressForSource(source); }, afterWaiting);
}

void DocumentRetriever::dropExtractions(const std::optional<std::string>& source) {
    for (std::size_t left = m_extractions.remove(source); left > 0; --left) drop();
}

void DocumentRetriever::drop() {
    m_indexes.addToPendingDocumentCount(-1);
    noteEnd();
}

void DocumentRetriever::noteEnd() {
    ++m_finishedDocuments;
    MutexLock lock(m_mutex);
    m_ended.notifyAll();
}

void DocumentRetriever::run(const std::stop_token& stop) {
    nameThisThread("download");
    collectStackTracesOnThrow();
    while (!stop.stop_requested()) {
        takeHostAnswers();
        finishDownloads();
        processDocumentQueue(stop);
        m_signal->wait(kTurn);
    }
}

void DocumentRetriever::takeHostAnswers() {
    for (HostChecks::Answer& given : m_hostChecks.takeAnswers()) {
        const auto answer = std::make_shared<const HostChecks::Answer>(std::move(given));
        m_queue.unpark(answer);
        if (!mayBeRemembered(*answer)) continue;
        if (m_hosts.size() >= kMostHosts) m_hosts.clear();
        m_hosts[answer->question] = {answer, std::chrono::steady_clock::now()};
    }
}

bool DocumentRetriever::hasRoomForDownload() const {
    return m_downloads->size() < m_maxDownloadThreads;
}

void DocumentRetriever::processDocumentQueue(const std::stop_token& stop) {
    while (!stop.stop_requested() && hasRoomForDownload()) {
        auto document = m_queue.pop();
        if (!document) return;
        process(*std::move(document));
        takeHostAnswers();
        finishDownloads();  // a file's download ends at once
    }
}

void DocumentRetriever::process(QueuedDocument document) {
    Fate fate = Fate::Dropped;
    try {
        fate = begin(std::move(document));
    } catch (const std::exception& error) {
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
    }
    if (fate == Fate::Dropped) m_indexes.addToPendingDocumentCount(-1);
    ++m_moves;
    m_queue.release();
    if (fate == Fate::Dropped) noteEnd();
}

DocumentRetriever::Fate DocumentRetriever::begin(QueuedDocument document) {
    if (isRefused(document)) return Fate::Dropped;
    m_notifier.reportStatus("Indexing");
    return document.url.isFile() ? beginFile(std::move(document))
                                 : beginWebDocument(std::move(document));
}

bool DocumentRetriever::isRefused(const QueuedDocument& document) const {
    {
        MutexLock lock(m_mutex);
        if (m_blockedURLs.contains(document.url.absoluteString())) return true;
    }
    return !m_indexes.canProcessURL(document.url) ||
           m_indexes.isDocument(document.url, document.source, document.date);
}

DocumentRetriever::Fate DocumentRetriever::beginWebDocument(QueuedDocument document) {
    const HostChecks::Question question = questionAbout(document);
    if (!question.host.empty()) {
        if (document.host == nullptr) document.host = rememberedAnswer(question);
        if (document.host == nullptr) {
            if (!m_queue.park(std::move(document), question)) return Fate::Dropped;
            m_hostChecks.ask(question);
            return Fate::PassedOn;
        }
        if (!document.host->isReachable) {
            m_notifier.reportError(filledIn(_("Can't find the server %@"), question.host), 5,
                                   document.url.absoluteString(), "");
            m_indexes.addFailedURL(document.url);
            return Fate::Dropped;
        }
    }
    if (!m_indexes.indexingEnabled()) return Fate::Dropped;
    m_notifier.reportProgressIn(document.source, document.url.absoluteString());
    return startDownload(std::move(document));
}

HostChecks::Question DocumentRetriever::questionAbout(const QueuedDocument& document) const {
    return {.host = document.url.host().value_or(""),
            .wantsCredentials = m_authorizationBehavior != 0 && document.url.scheme() == "https"};
}

// Of a question that was asked a moment ago.
std::shared_ptr<const HostChecks::Answer> DocumentRetriever::rememberedAnswer(
    const HostChecks::Question& question) {
    const auto known = m_hosts.find(question);
    if (known == m_hosts.end()) return nullptr;
    if (std::chrono::steady_clock::now() - known->second.since < kHostMemory) {
        return known->second.answer;
    }
    m_hosts.erase(known);
    return nullptr;
}

DocumentRetriever::Fate DocumentRetriever::beginFile(QueuedDocument document) {
    m_notifier.reportProgressIn(document.source, document.url.absoluteString());
    if (m_indexes.extractorNeededForURL(document.url)) {
        const std::string source = document.source;
        m_extractions.push(std::move(document));
        if (m_queue.isRecalled()) dropExtractions(source);
        return Fate::PassedOn;
    }
    const GateHold hold(m_fileLoad);
    return startDownload(std::move(document));
}

DocumentRetriever::Fate DocumentRetriever::startDownload(QueuedDocument document) {
    const auto host = document.host;
    const auto downloader = std::make_shared<DocumentDownloader>(
        DocumentDownloader::Document{.url = std::move(document.url),
                                     .date = document.date,
                                     .title = std::move(document.title),
                                     .source = std::move(document.source),
                                     .indexer = std::move(document.indexer),
                                     .parseFrames = !document.isFrameURL,
                                     .acceptsPDF = m_indexes.willUseContentExtractors(),
                                     .redirectCount = document.redirectCount},
        m_downloads, m_loader, m_authorizationBehavior);
    m_downloads->add(downloader);
    if (m_queue.isRecalled()) {
        // Its source was cancelled between the queue and here.
        downloader->cancel();
        return Fate::PassedOn;
    }
    try {
        downloader->run(host == nullptr ? std::span<const ProtectionSpace>() : host->spaces);
    } catch (const std::exception& error) {
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
        downloader->cancel();
    }
    return Fate::PassedOn;
}

// The files that other programs read are looked at by the store, which runs them.
void DocumentRetriever::extract(const QueuedDocument& document) {
    const std::string address = document.url.absoluteString();
    try {
        m_indexes.parseAndAddContent({.content = "CONTENT ON DISK",
                                      .url = document.url,
                                      .date = document.date,
                                      .title = document.title,
                                      .cachePath = std::nullopt,
                                      .source = document.source,
                                      .indexer = document.indexer,
                                      .mimeType = std::nullopt});
    } catch (const std::exception& error) {
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
        m_indexes.addToPendingDocumentCount(-1);
    }
    m_notifier.reportProgressDoneIn(document.source, address);
}

bool DocumentRetriever::indexEncodedObject(const CachedObject& object, std::optional<Date> date,
                                           const std::string& source, const std::string& indexer,
                                           const std::string& objectPath) {
    const auto parts = std::visit([](const auto& kept) { return partsOf(kept); }, object);
    const bool isText = parts.mimeType && parts.mimeType->find("text/") != std::string::npos;
    if (!isText || !m_indexes.canProcessURL(parts.url)) {
        drop();
        return false;
    }
    const std::string address = parts.url.absoluteString();
    m_notifier.reportProgressIn(source, address);
    bool isAdded = false;
    try {
        std::optional<std::string> text;
        {
            const GateHold hold(m_fileLoad);
            text = decodeCachedObject(parts.data, parts.encoding);
        }
        isAdded = m_indexes.parseAndAddContent({.content = std::move(text).value_or(""),
                                                .url = parts.url,
                                                .date = date,
                                                .title = std::nullopt,
                                                .cachePath = objectPath,
                                                .source = source,
                                                .indexer = indexer,
                                                .mimeType = parts.mimeType});
    } catch (const std::exception& error) {
        writeLog(filledIn("DocumentRetriever caught error %@", error.what()));
        m_indexes.addToPendingDocumentCount(-1);
    }
    m_notifier.reportProgressDoneIn(source, address);
    noteEnd();
    return isAdded;
}

}  // namespace siftwell
