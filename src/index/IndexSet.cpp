#include "index/IndexSet.h"

#include <unistd.h>

#include <algorithm>

#include "base/Files.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "index/IndexFiles.h"

namespace siftwell {

namespace {

using fulltext::Index;

constexpr int kSeverity = 9;
constexpr int kAttemptsWithName = 6;
constexpr int kAttemptsWithoutName = 5;
constexpr std::chrono::seconds kBetweenAttempts(5);

// Whether the same may succeed a little later.
bool mayPass(const Status& status) {
    return status.code() == StatusCode::Busy || status.code() == StatusCode::Failed;
}

}  // namespace

IndexSet::IndexSet(Settings settings, SWNotifier& notifier, Clock& clock)
    : m_settings(std::move(settings)),
      m_notifier(notifier),
      m_clock(clock),
      m_list(std::make_shared<const List>()) {}

std::shared_ptr<const IndexSet::List> IndexSet::list() const {
    MutexLock lock(m_mutex);
    return m_list;
}

SKIndex IndexSet::find(const std::string& name) const {
    const auto indexes = list();
    const auto found = std::find_if(indexes->begin(), indexes->end(),
                                    [&name](const SKIndex& index) { return index->name == name; });
    return found == indexes->end() ? nullptr : *found;
}

std::ptrdiff_t IndexSet::positionOf(const SKIndex& index) const {
    const auto indexes = list();
    const auto found = std::find(indexes->begin(), indexes->end(), index);
    return found == indexes->end() ? -1 : found - indexes->begin();
}

SKIndex IndexSet::findOrCreate(const std::string& folder, const std::string& name) {
    if (SKIndex found = find(name)) return found;
    const GateHold hold(m_creation);
    if (SKIndex found = find(name)) return found;
    {
        MutexLock lock(m_mutex);
        if (m_failed.contains(name)) return nullptr;
    }
    return create(folder, name);
}

SKIndex IndexSet::create(const std::string& folder, const std::string& name) {
    const std::string path = folder + "/" + name;
    auto index = createPatiently(path, name);
    if (!index) {
        m_notifier.reportError(
            filledIn(fileInfo(path)
                         ? _("SearchKit could not open the index %@ at location %@ even though it "
                             "does exist.")
                         : _("Could not create the index %@ at location %@"),
                     name, path),
            kSeverity, "", index.status().message());
        MutexLock lock(m_mutex);
        if (!mayPass(index.status())) m_failed.insert(name);
        return nullptr;
    }
    SKIndex made = makeOpenIndex(name, path, *std::move(index));
    append(made);
    return made;
}

Result<std::unique_ptr<Index>> IndexSet::createPatiently(const std::string& path,
                                                         const std::string& name) {
    fulltext::IndexSettings settings{.internalName = lastPathComponent(name),
                                     .stopWords = m_settings.stopWords};
    auto index = Index::create(path, settings, m_settings.surroundings);
    for (int attempt = 1; !index && mayPass(index.status()); ++attempt) {
        if (attempt == 1) writeLog("Retrying index creation");
        if (attempt == kAttemptsWithName) {
            writeLog("Creating index with no name");
            settings.internalName.reset();
        }
        if (attempt == kAttemptsWithName + kAttemptsWithoutName) break;
        m_clock.sleepFor(kBetweenAttempts);
        index = Index::create(path, settings, m_settings.surroundings);
    }
    return index;
}

SKIndex IndexSet::makeOpenIndex(std::string name, std::string path,
                                std::unique_ptr<Index> index) const {
    auto open = std::make_shared<OpenIndex>();
    const auto report = [this](const Status& status) {
        m_notifier.reportError(status.message(), kSeverity, "", "");
    };
    open->properties = std::make_unique<DocumentProperties>(OpenIndex::sideFileOf(path), *index,
                                                            m_settings.access, report);
    open->name = std::move(name);
    open->path = std::move(path);
    open->index = std::move(index);
    return open;
}

void IndexSet::append(const SKIndex& index) {
    MutexLock lock(m_mutex);
    auto list = std::make_shared<List>(*m_list);
    list->push_back(index);
    m_list = std::move(list);
}

void IndexSet::load(const std::string& folder) {
    {
        MutexLock lock(m_mutex);
        m_failed.clear();
    }
    for (const IndexFile& file : indexFilesBelow(folder)) loadFile(file.path, file.name);
}

void IndexSet::loadFile(const std::string& path, const std::string& name) {
    auto index = openForLoading(path, name);
    if (!index && index.status().code() != StatusCode::NameMismatch) {
        return reportUnusable(index.status(), path);
    }
    const bool isFull = index && (*index)->documentCount() > 0;
    if (isFull) return append(makeOpenIndex(name, path, *std::move(index)));
    if (m_settings.access == Index::Access::ReadOnly) return;
    if (index) {
        index = Status();
        deleteFiles(path);
    }
}

// With its file's name as internal name; an index that has none is taken too, when it is not empty.
Result<std::unique_ptr<Index>> IndexSet::openForLoading(const std::string& path,
                                                        const std::string& name) {
    auto index =
        Index::open(path, lastPathComponent(name), m_settings.access, m_settings.surroundings);
    if (index || index.status().code() != StatusCode::NameMismatch) return index;
    auto nameless = Index::open(path, std::nullopt, m_settings.access, m_settings.surroundings);
    if (!nameless || (*nameless)->settings().internalName) return index;
    writeLog(
        filledIn("The search index %@ has no internal name.  This may indicate a problem (or may "
                 "not).It's probably a good idea to rebuild your search index just in case.",
                 path));
    return nameless;
}

// A file that is no index at all is none of our business, unless it has the records of one.
void IndexSet::reportUnusable(const Status& status, const std::string& path) {
    if (status.code() == StatusCode::NotFound && !fileInfo(OpenIndex::sideFileOf(path))) return;
    const bool isBroken =
        status.code() == StatusCode::NotFound || status.code() == StatusCode::Damaged;
    const std::string message =
        isBroken
            ? filledIn(_("%@ To bring back what can be: siftwell check --repair"), status.message())
            : status.message();
    m_notifier.reportError(message, kSeverity, "", "");
}

Status IndexSet::closeAll() {
    Status first;
    const auto indexes = list();
    for (const SKIndex& index : *indexes) {
        const Status status = index->close();
        if (first.isOk() && index->isNews(status)) first = status;
    }
    drop();
    return first;
}

void IndexSet::purge(const SKIndex& index) {
    {
        MutexLock lock(m_mutex);
        auto list = std::make_shared<List>(*m_list);
        std::erase(*list, index);
        m_list = std::move(list);
    }
    index->index->abandon();  // a compaction under way would bring the file back
    deleteFiles(index->path);
}

void IndexSet::drop() {
    MutexLock lock(m_mutex);
    m_list = std::make_shared<const List>();
}

void IndexSet::deleteFiles(const std::string& path) {
    unlink(path.c_str());
    for (const std::string& file : PropertyRecordFile::pathsOf(OpenIndex::sideFileOf(path))) {
        unlink(file.c_str());
    }
}

}  // namespace siftwell
