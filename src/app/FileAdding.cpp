#include "app/FileAdding.h"

#include "base/Files.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"
#include "retrieval/LocalFile.h"
#include "sources/FolderWalk.h"

namespace siftwell {

FileAdding::FileAdding(IndexController& indexes, SWNotifier& notifier, const Settings& settings)
    : m_indexes(indexes), m_notifier(notifier), m_isReadable(settings) {}

FileAdding::~FileAdding() { stop(); }

void FileAdding::start(std::vector<Target> targets, unsigned threads,
                       std::function<void()> whenDone) {
    m_targets = std::move(targets);
    m_whenDone = std::move(whenDone);
    m_running = threads;
    m_threads.emplace_back([this](const std::stop_token& stop) { walk(stop); });
    for (unsigned i = 0; i < threads; ++i) m_threads.emplace_back([this] { work(); });
}

void FileAdding::stop() {
    for (std::jthread& thread : m_threads) thread.request_stop();
    {
        MutexLock lock(m_mutex);
        m_waiting.clear();
        m_isWalkDone = true;
        m_changed.notifyAll();
    }
    m_threads.clear();
}

FileAdding::Progress FileAdding::progress() {
    Progress progress{.found = m_found,
                      .done = m_done,
                      .unchanged = m_unchanged,
                      .filtered = m_filtered,
                      .bytes = m_bytes,
                      .isDone = m_running == 0};
    MutexLock lock(m_mutex);
    progress.isWalkDone = m_isWalkDone;
    return progress;
}

void FileAdding::walk(const std::stop_token& stop) {
    nameThisThread("walk");
    for (const Target& target : m_targets) {
        const auto info = fileInfo(target.path);
        if (info && info->isFolder) {
            walkFolder(target, stop);
        } else {
            putNamed(target, stop);
        }
    }
    MutexLock lock(m_mutex);
    m_isWalkDone = true;
    m_changed.notifyAll();
}

void FileAdding::putNamed(const Target& target, const std::stop_token& stop) {
    const std::string extension = pathExtension(target.path);
    if (m_isReadable.canParseContentWithType(0, extension)) {
        put({target.path, &target}, stop);
    } else {
        m_notifier.reportError(filledIn(_("Siftwell cannot parse files of type \"%@\""), extension),
                               6, Url::fromFilePath(target.path).absoluteString(), "");
    }
}

void FileAdding::walkFolder(const Target& target, const std::stop_token& stop) {
    FolderWalk files(target.path, [&](const Status& status) {
        reportUnreadable(Url::fromFilePath(target.path).absoluteString(), status);
    });
    for (std::string path; !stop.stop_requested() && files.next(path);) {
        if (!m_isReadable.canParseContentWithType(0, pathExtension(path))) continue;
        if (!put({path, &target}, stop)) return;
    }
}

// Waits while many files are waiting; false when the work is to be left off.
bool FileAdding::put(Job job, const std::stop_token& stop) {
    MutexLock lock(m_mutex);
    while (m_waiting.size() >= kMaxWaiting && !stop.stop_requested()) m_changed.wait(m_mutex);
    if (stop.stop_requested()) return false;
    m_waiting.push_back(std::move(job));
    m_indexes.addToPendingDocumentCount(1);
    ++m_found;
    m_changed.notifyAll();
    return true;
}

bool FileAdding::take(Job& job) {
    MutexLock lock(m_mutex);
    while (m_waiting.empty() && !m_isWalkDone) m_changed.wait(m_mutex);
    if (m_waiting.empty()) return false;
    job = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_changed.notifyAll();
    return true;
}

void FileAdding::work() {
    nameThisThread("add");
    for (Job job; take(job);) {
        add(job);
        ++m_done;
    }
    if (--m_running == 0) m_whenDone();
}

void FileAdding::add(const Job& job) {
    const Url url = Url::fromFilePath(job.path);
    const bool isFiltered = !m_indexes.canProcessURL(url);
    if (isFiltered || isUnchanged(job, url)) {
        ++(isFiltered ? m_filtered : m_unchanged);
        m_indexes.addToPendingDocumentCount(-1);
        return;
    }
    auto page = loadLocalFile(job.path, m_indexes.admission());
    if (!page) {
        m_indexes.addToPendingDocumentCount(-1);
        return reportUnreadable(url.absoluteString(), page.status());
    }
    // Of the files in a folder, those that hold no text are none of the user's concern.
    if (page->content.empty() && job.path == job.target->path) {
        m_notifier.reportError(_("No text on page"), 3, url.absoluteString(), "");
    }
    m_bytes += page->content.size();
    page->source = job.target->source;
    page->indexer = job.target->indexer;
    m_indexes.parseAndAddContent(*std::move(page));
}

bool FileAdding::isUnchanged(const Job& job, const Url& url) {
    const auto info = fileInfo(job.path);
    return info && m_indexes.isDocument(url, job.target->source, info->modified);
}

void FileAdding::reportUnreadable(const std::string& address, const Status& status) {
    m_notifier.reportError(_("Failed to get content"), 5, address, status.message());
}

}  // namespace siftwell
