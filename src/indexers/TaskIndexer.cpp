#include "indexers/TaskIndexer.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdint>
#include <utility>

#include "base/Translate.h"
#include "index/IndexController.h"
#include "indexers/IndexerTool.h"
#include "records/IndexerNames.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Browsers write what was visited some ten seconds late, so that an entry may come behind newer
// ones. What is handed over again is up to date already.
constexpr double kSecondsLate = 60;
// They date a visit when they show the page, and what they keep of it when it has come: of a short
// page that is some moments earlier.
constexpr double kSecondsUntilShown = 2;
constexpr int kMaxDeaths = 500;
constexpr int kMaxSilence = 120;  // looks of a second each
constexpr milliseconds kBetweenLooks = seconds(1);
constexpr milliseconds kTimeToEnd = seconds(10);
constexpr seconds kDownloadTime(600);
constexpr milliseconds kCancelTime = seconds(15);
constexpr int kAsksToEnd = 5;

}  // namespace

void TaskIndexer::performIndexingScanInTask() {
    std::vector<std::string> files = pathsToRead();
    if (files.empty()) return setScanResultOfWholeScan();
    Scan scan{.task = taskFor(std::move(files)), .token = newToken()};
    searchItem()->change([&scan](SearchItem& item) { item.ProcessName = scan.token; });
    RunEnd end = run(scan);
    for (int deaths = 1; end == RunEnd::Died && passOver(scan) && deaths < kMaxDeaths; ++deaths) {
        end = run(scan);
    }
    finish(scan, end);
}

wire::Task TaskIndexer::taskFor(std::vector<std::string> paths) const {
    return {.kind = wire::Task::Kind::Scan,
            .indexer = className(),
            .paths = std::move(paths),
            .lastScanDate = lastScanDate(),
            .lastURLDate = lastURLDate() - kSecondsLate};
}

// Tells this run from all others: the name, the indexer's address cut to 32 bits, the time.
std::string TaskIndexer::newToken() const {
    const auto address = static_cast<std::uint32_t>(std::bit_cast<std::uintptr_t>(this));
    const double now = m_surroundings.clock.now().secondsSinceUnix();
    return filledIn("%@.%d.%d", name(), std::int64_t{std::bit_cast<std::int32_t>(address)},
                    static_cast<std::int64_t>(now));
}

TaskIndexer::RunEnd TaskIndexer::run(Scan& scan) {
    const auto tool = IndexerTool::launch(m_surroundings.paths.indexerTool, scan.token, scan.task);
    if (!tool) {
        m_reasonOfDeath = tool.status().message();
        return RunEnd::NotLaunched;
    }
    const RunEnd end = listen(**tool, scan);
    if (end == RunEnd::Died) {
        m_reasonOfDeath = (*tool)->reasonOfDeath();
    } else if (end == RunEnd::Complete) {
        scan.exitStatus = (*tool)->exitStatus().value_or(scanResult::kUnexpectedError);
    }
    return end;
}

TaskIndexer::RunEnd TaskIndexer::listen(IndexerTool& tool, Scan& scan) {
    wire::Message message;
    for (int silence = 0; indexingEnabled(); ++silence) {
        const auto event = tool.next(message, kBetweenLooks);
        if (event == IndexerTool::Event::End) return endOf(tool);
        if (event == IndexerTool::Event::Message) {
            silence = 0;
            note(std::move(message), scan);
        } else if (silence > kMaxSilence) {
            tool.kill();
            return endOf(tool);
        }
    }
    stop(tool);
    return RunEnd::SwitchedOff;
}

// It may take its time to end: it has the lowest priority.
TaskIndexer::RunEnd TaskIndexer::endOf(IndexerTool& tool) {
    if (!tool.hasEndedWithin(kTimeToEnd)) tool.kill();
    static_cast<void>(tool.hasEndedWithin(kBetweenLooks));
    return tool.exitStatus() ? RunEnd::Complete : RunEnd::Died;
}

void TaskIndexer::note(wire::Message message, Scan& scan) {
    if (auto* const start = std::get_if<wire::StartOf>(&message)) {
        scan.current = std::move(start->place);
    } else if (auto* const some = std::get_if<wire::Entries>(&message)) {
        // That of a cache would wait for itself.
        if (!readsCache(className())) takeEntries(std::move(*some));
    } else if (auto* const page = std::get_if<wire::Page>(&message)) {
        const std::size_t path = page->place.path;
        if (path < scan.task.paths.size()) takePage(scan.task.paths[path], std::move(*page));
    } else if (const auto* const problem = std::get_if<wire::Problem>(&message)) {
        scan.isWhole = false;
        reportStopped(nameOf(scan), problem->message);
    } else if (const auto* const end = std::get_if<wire::EndOf>(&message)) {
        scan.changed = std::max(scan.changed, end->changed);
    }
}

void TaskIndexer::takeEntries(wire::Entries some) {
    if (!std::exchange(m_hasWaitedForCaches, true)) waitForCacheIndexing();
    waitForRoom();  // the tool waits with the rest
    std::vector<BatchEntry> entries;
    for (BrowserEntry& entry : some.entries) {
        auto url = Url::parse(entry.url);
        if (!url || !m_surroundings.indexes.canProcessURL(*url)) continue;
        if (entry.date && isIndexedFromCache(*url, *entry.date)) {
            m_newestEntry = std::max(m_newestEntry.value_or(*entry.date), *entry.date);
            continue;
        }
        entries.push_back({.url = *std::move(url),
                           .date = entry.date,
                           .title = std::move(entry.title),
                           .source = std::nullopt,
                           .indexer = std::nullopt});
    }
    if (entries.empty()) return;
    const Date newest = indexURLAndDateArray(entries);
    m_newestEntry = std::max(m_newestEntry.value_or(newest), newest);
}

// Whether the bytes that were shown at that visit are in the index.
bool TaskIndexer::isIndexedFromCache(const Url& url, Date visited) const {
    IndexController& indexes = m_surroundings.indexes;
    const auto document = indexes.skDocumentForURL(url);
    if (!document) return false;
    const SKIndex index = indexes.skIndexForSKDocument(*document, visited - kSecondsUntilShown);
    if (index == nullptr) return false;
    const auto number = index->index->documentWith(*document);
    const auto record =
        number && *number ? indexes.propertiesForDocumentID(**number, index) : std::nullopt;
    return record && readsCache(record->indexer);
}

void TaskIndexer::takePage(const std::string&, wire::Page&&) {}

// Goes on behind what the tool died on, and says so. False when it died before it began anything:
// it would do so again.
bool TaskIndexer::passOver(Scan& scan) {
    if (!scan.current || scan.task.behind == scan.current) return false;
    reportStopped(nameOf(scan), m_reasonOfDeath);
    // An entry of a cache is left out for good, a whole file is tried again.
    if (scan.current->entry.empty()) scan.isWhole = false;
    scan.task.behind = scan.current;
    return true;
}

// Downloads first: the tool may be waiting until something of it is taken.
void TaskIndexer::stop(IndexerTool& tool) {
    m_surroundings.retriever.cancelDownloadsForSource(name(), kCancelTime);
    for (int asked = 0; asked < kAsksToEnd; ++asked) {
        tool.askToEnd();
        if (tool.hasEndedWithin(kBetweenLooks)) return;
    }
}

void TaskIndexer::finish(const Scan& scan, RunEnd end) {
    DocumentRetriever& retriever = m_surroundings.retriever;
    const auto last = std::chrono::steady_clock::now() + kDownloadTime;
    bool isAllHere = false;
    while (!isAllHere && indexingEnabled() && std::chrono::steady_clock::now() < last) {
        isAllHere = retriever.waitForDownloadsForSource(name(), kBetweenLooks);
    }
    retriever.cancelDownloadsForSource(name(), kCancelTime);
    if (end == RunEnd::Died || end == RunEnd::NotLaunched) {
        reportStopped("SiftwellIndexer", m_reasonOfDeath);
    }
    if (!indexingEnabled()) {
        setIndexingScanResult(scanResult::kFailure);
        return;
    }
    setIndexingScanResult(end == RunEnd::Complete ? scan.exitStatus : scanResult::kUnexpectedError);
    // Pages that did not come in time are handed over again.
    if (end != RunEnd::Complete || scan.exitStatus != 0 || !scan.isWhole || !isAllHere) return;
    const Date changed = std::min(scan.changed, m_surroundings.clock.now());
    if (changed > lastScanDate()) setLastScanDate(changed);
    if (m_newestEntry) setLastURLDate(*m_newestEntry);
}

std::string TaskIndexer::nameOf(const Scan& scan) const {
    const wire::Place place = scan.current.value_or(wire::Place());
    if (place.path >= scan.task.paths.size()) return name();
    const std::string& path = scan.task.paths[place.path];
    return place.entry.empty() ? path : path + "/" + place.entry;
}

}  // namespace siftwell
