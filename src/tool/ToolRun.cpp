#include "tool/ToolRun.h"

#include <algorithm>
#include <utility>

#include "base/Clock.h"
#include "base/Translate.h"
#include "records/IndexerNames.h"
#include "sources/caches/BrowserCache.h"
#include "text/Utf8Prefix.h"
#include "tool/EntryReaders.h"

namespace siftwell {

namespace {

constexpr std::size_t kEntriesAtOnce = 250;
constexpr double kSecondsToSettle = 60;

// Sends entries a few at a time.
class EntrySender {
public:
    explicit EntrySender(const Channel& channel) : m_channel(channel) {}

    void add(BrowserEntry entry) {
        entry.title = repairedUtf8(entry.title);
        m_some.entries.push_back(std::move(entry));
        if (m_some.entries.size() >= kEntriesAtOnce) send();
    }
    void send() {
        if (m_some.entries.empty()) return;
        m_channel.send(std::exchange(m_some, {}));
    }

private:
    const Channel& m_channel;
    wire::Entries m_some;
};

}  // namespace

std::vector<std::string> ToolRun::files() const {
    if (readsCache(m_task.indexer)) return m_task.paths;
    std::vector<std::string> all;
    for (const std::string& path : m_task.paths) {
        for (std::string& file : filesReadFor(path)) all.push_back(std::move(file));
    }
    return all;
}

void ToolRun::run() {
    if (m_task.kind == wire::Task::Kind::Lookup) {
        lookUp();
    } else if (m_task.kind == wire::Task::Kind::Scan) {
        readsCache(m_task.indexer) ? scanCaches() : scanEntries();
    }
    m_channel.send(wire::End());
}

void ToolRun::scanEntries() {
    for (std::size_t i = 0; i < m_task.paths.size(); ++i) {
        const wire::Place place{.path = i};
        if (!isBehind(place)) continue;
        // Before it is read: what is written meanwhile is for the next scan.
        const Date changed = changeDateOf(m_task.paths[i]);
        if (changed <= m_task.lastScanDate) continue;
        m_channel.send(wire::StartOf{place});
        readEntries(m_task.paths[i], changed);
    }
}

void ToolRun::readEntries(const std::string& path, Date changed) {
    const EntryReader read = entryReaderFor(m_task.indexer);
    EntrySender sender(m_channel);
    const Status status =
        read == nullptr ? Status(StatusCode::Invalid, _("There is no reader for this source."))
                        : read(path, m_task.lastURLDate, [&sender](BrowserEntry entry) {
                              sender.add(std::move(entry));
                              return true;
                          });
    sender.send();
    if (status.isOk()) {
        m_channel.send(wire::EndOf{changed});
    } else {
        m_channel.send(wire::Problem{repairedUtf8(status.message())});
    }
}

void ToolRun::scanCaches() {
    for (std::size_t i = 0; i < m_task.paths.size(); ++i) {
        // One that was not even opened is not opened again.
        const bool isDone =
            m_task.behind && (i < m_task.behind->path || m_task.behind == wire::Place{.path = i});
        if (!isDone) scanCache(i);
    }
}

void ToolRun::scanCache(std::size_t path) {
    wire::Place place{.path = path};
    if (isBehind(place)) m_channel.send(wire::StartOf{place});
    // What the browser was still writing then is no page yet, and may bear an older date later.
    const Date settled = SystemClock().now() - kSecondsToSettle;
    const auto cache = BrowserCache::open(m_task.paths[path]);
    if (!cache) return m_channel.send(wire::Problem{repairedUtf8(cache.status().message())});
    const auto listing = (*cache)->entriesChangedAfter(m_task.lastScanDate);
    Date newest = Date::distantPast();
    for (const BrowserCache::Entry& entry : listing.entries) {
        newest = std::max(newest, entry.changed);
        place.entry = entry.name;
        if (!isBehind(place)) continue;
        m_channel.send(wire::StartOf{place});
        auto page = (*cache)->page(entry.name);
        if (page) m_channel.send(wire::Page{place, *std::move(page)});
    }
    if (listing.status.isOk()) {
        m_channel.send(wire::EndOf{std::min(newest, settled)});
    } else {
        m_channel.send(wire::Problem{repairedUtf8(listing.status.message())});
    }
}

void ToolRun::lookUp() {
    if (!m_task.behind || m_task.behind->path >= m_task.paths.size()) return;
    const auto cache = BrowserCache::open(m_task.paths[m_task.behind->path]);
    auto page = cache ? (*cache)->page(m_task.behind->entry) : std::nullopt;
    if (page) m_channel.send(wire::Page{*m_task.behind, *std::move(page)});
}

}  // namespace siftwell
