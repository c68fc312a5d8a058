// DocumentRetriever: the one place where an address that should be in the index becomes text that
// is handed to the index store.
//
// Whoever finds addresses queues them, or hands over bytes that a browser kept. The retriever
// decides how each document is had, limits how many are under way, decodes, follows the redirects
// and frames that stand in pages, and records failures. Every queued document has been announced
// in the store's pending count; the retriever takes it back exactly once, or the store does.
//
// Threads: any calls. A download thread takes from the queue, decodes and adds; an extractor thread
// has the files that need another program; hosts are asked for beside both.
// Errors: reported through the notifier, severity 5, for the address.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unordered_set>

#include "base/Gate.h"
#include "base/NetworkReachability.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "base/WorkSignal.h"
#include "index/IndexController.h"
#include "records/CachedObject.h"
#include "retrieval/CredentialStore.h"
#include "retrieval/DocumentDownloader.h"
#include "retrieval/DocumentQueue.h"
#include "retrieval/DownloadSet.h"
#include "retrieval/Extractions.h"
#include "retrieval/HostChecks.h"
#include "retrieval/ReleaseQueue.h"
#include "retrieval/SchemeLoader.h"

namespace siftwell {

class DocumentRetriever {
public:
    // Outlives the retriever.
    struct Surroundings {
        IndexController& indexes;
        SWNotifier& notifier;
        NotificationCentre& centre;
        const Settings& settings;
        RunLoop& mainLoop;
        const Clock& clock;
        URLLoader& network;  // for http and https
        std::shared_ptr<NetworkReachability> reachability;
        std::shared_ptr<CredentialStore> credentials;  // may be null
    };
    // On the main thread, like its end: that drops, without a word, what is queued or under way.
    explicit DocumentRetriever(const Surroundings& surroundings);
    virtual ~DocumentRetriever();

    // These two are virtual for tests that look at what is handed over.

    // Queues a document; returns at once. A date before 1970 or in the future counts as now.
    virtual void indexDocument(const Url& url, std::optional<Date> date,
                               std::optional<std::string> title, const std::string& source,
                               const std::string& indexer);

    // Decodes and indexes bytes that a browser kept under `objectPath`, on the caller's thread.
    // The index store's answer.
    virtual bool indexEncodedObject(const CachedObject& object, std::optional<Date> date,
                                    const std::string& source, const std::string& indexer,
                                    const std::string& objectPath);

    // Whether documents of the source (of any when there is none) are queued; whether some are
    // under way that were not cancelled.
    bool downloadWaitingForSource(const std::optional<std::string>& source) const;
    std::size_t waitingDocuments(const std::string& source) const { return m_queue.count(source); }
    bool downloadInProgressForSource(const std::optional<std::string>& source) const;
    // Either of both, though a document moves from one to the other meanwhile.
    bool isAtWorkForSource(const std::optional<std::string>& source) const;

    // These two wait, and so are not for the main thread while it has a loop to serve.

    // Until nothing of the source is queued or under way, or the time is over; whether all is done.
    bool waitForDownloadsForSource(const std::optional<std::string>& source,
                                   std::chrono::milliseconds timeout);
    // Drops what is queued, cancels what is under way, and waits for its end.
    void cancelDownloadsForSource(const std::optional<std::string>& source,
                                  std::chrono::milliseconds afterWaiting);

    // Re-reads "MaxDownloadThreads", "IndexProtectedPages" and "JavaScriptEnabled".
    void applyPreferences();

    // Documents that came to their end since the start.
    std::uint64_t finishedDocuments() const { return m_finishedDocuments; }

private:
    using Downloader = DownloadSet::Downloader;

    void push(QueuedDocument document);
    void drop();  // takes a document back from the pending ones
    void dropExtractions(const std::optional<std::string>& source);
    template <typename IsDone>
    bool waitUntil(IsDone isDone, std::chrono::milliseconds timeout);
    void noteEnd();

    // ---- The download thread
    void run(const std::stop_token& stop);
    void takeHostAnswers();
    void processDocumentQueue(const std::stop_token& stop);
    bool hasRoomForDownload() const;
    void process(QueuedDocument document);
    // What becomes of a document that is dealt with: others have it now, or nobody.
    enum class Fate { PassedOn, Dropped };
    Fate begin(QueuedDocument document);
    Fate beginWebDocument(QueuedDocument document);
    Fate beginFile(QueuedDocument document);
    Fate startDownload(QueuedDocument document);
    bool isRefused(const QueuedDocument& document) const;
    HostChecks::Question questionAbout(const QueuedDocument& document) const;
    std::shared_ptr<const HostChecks::Answer> rememberedAnswer(
        const HostChecks::Question& question);

    // ---- The ends of downloads
    void finishDownloads();
    void end(const Downloader& downloader);
    Fate finish(DocumentDownloader& downloader);
    std::optional<Url> redirectIn(const std::string& text, const DocumentDownloader& from) const;
    void queueRedirect(const Url& target, const DocumentDownloader& from);
    void queueFrames(const std::vector<Url>& frames, const DocumentDownloader& from);
    std::string failureOf(const DocumentDownloader& downloader);
    void reportFailure(const Url& url, const std::string& details);

    // ---- The extractor thread
    void extract(const QueuedDocument& document);

    struct HostMemory {
        std::shared_ptr<const HostChecks::Answer> answer;
        std::chrono::steady_clock::time_point since;
    };

    const Surroundings m_surroundings;
    IndexController& m_indexes;
    SWNotifier& m_notifier;
    SchemeLoader m_loader;
    const std::shared_ptr<WorkSignal> m_signal = std::make_shared<WorkSignal>();
    const std::shared_ptr<DownloadSet> m_downloads = std::make_shared<DownloadSet>(m_signal);
    const std::shared_ptr<ReleaseQueue> m_finished;
    DocumentQueue m_queue;
    Gate m_fileLoad{
        Gate::Guards::Turns};  // reading files, and decoding bytes that are here already
    std::atomic<std::size_t> m_maxDownloadThreads = 1;
    std::atomic<int> m_authorizationBehavior = 0;
    std::atomic<bool> m_isJavaScriptEnabled = true;
    std::atomic<std::uint64_t> m_finishedDocuments = 0;
    std::atomic<std::uint64_t> m_moves = 0;  // counted before a document leaves where it was

    mutable Mutex m_mutex;
    Condition m_ended;  // a document came to its end
    std::unordered_set<std::string> m_blockedURLs SW_GUARDED_BY(m_mutex);

    NotificationCentre::Observation m_observation;
    HostChecks m_hostChecks;                             // download thread
    std::map<HostChecks::Question, HostMemory> m_hosts;  // download thread
    Extractions m_extractions;
    std::jthread m_thread;
};

}  // namespace siftwell
