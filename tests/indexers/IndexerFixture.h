// IndexerFixture: indexers of one search item over a real store and a real retriever, with files in
// a temporary folder whose dates the test says.
//
// Dates are seconds since 2001 and small, so that they read well; the clock stands far behind them.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include "base/Exception.h"
#include "indexers/Indexers.h"
#include "retrieval/RetrieverFixture.h"

namespace siftwell {

// What the base class has for those that are derived from it.
class BareIndexer : public SiftwellIndexer {
public:
    using SiftwellIndexer::beginCacheIndexing;
    using SiftwellIndexer::lockDirectory;
    using SiftwellIndexer::SiftwellIndexer;
    using SiftwellIndexer::waitForCacheIndexing;
};

class IndexerFixture : public RetrieverFixture {
protected:
    IndexerFixture() {
        m_settings->registerDefaults(
            {{"NativeExtensions",
              PropertyList::Array{"txt", "html", "dat", "monitor", "webloc", "webarchive"}},
             {"ExtractorExtensions", PropertyList::Array{"pdf"}},
             {"MaxDownloadThreads", 5}});
        watch("SiftwellIndexerProgressNotification",
              [this](const PropertyList& record) { noteProgress("", *record.asDictionary()); });
        watch("SiftwellIndexerProgressDoneNotification",
              [this](const PropertyList& record) { noteProgress("/", *record.asDictionary()); });
        watch("SiftwellIndexerProgressStartNotification", [this](const PropertyList& record) {
            m_announced.push_back(*integerFor(*record.asDictionary(), "count"));
        });
    }

    // A file below "files", changed at that moment; its path.
    std::string file(const std::string& name, const std::string& bytes, double changed = 1000) {
        const std::string path = m_folder.write("files/" + name, bytes);
        setChanged(path, changed);
        return path;
    }
    static void setChanged(const std::string& path, double changed) {
        const auto seconds =
            static_cast<std::time_t>(Date::fromReference(changed).secondsSinceUnix());
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
    }
    std::string files() const { return m_folder.file("files"); }
    static std::string addressOf(const std::string& path) {
        return Url::fromFilePath(path).absoluteString();
    }

    SearchItem& item() { return m_item; }
    SiftwellIndexer::Surroundings surroundings() {
        return {store(), retriever(), m_notifier, *m_settings, m_paths, m_clock, m_locks};
    }
    // An indexer that does nothing of its own.
    BareIndexer& bare(const std::string& className = "LocalFiles") {
        m_record = std::make_shared<SearchItemRecord>(m_item);
        m_bare = std::make_unique<BareIndexer>(surroundings(), m_record, className);
        return *m_bare;
    }

    // One scan of the item, which remembers what the indexer wrote, as the scan cycle does; the
    // result.
    int scan(const std::string& className) {
        m_announced.clear();
        m_progress.clear();
        m_item.Indexer = className;
        m_record = std::make_shared<SearchItemRecord>(m_item);
        const auto indexer = makeIndexer(className, surroundings(), m_record);
        indexer->performIndexingScan();
        finish();
        m_item = m_record->item();
        return m_item.ScanResult.value_or(-1);
    }
    static double seconds(std::optional<Date> date) {
        return date ? date->secondsSinceReference() : -1;
    }

    // The pages that were begun in the last scan, in their order.
    std::vector<std::string> begun() const {
        std::vector<std::string> addresses;
        for (const std::string& message : m_progress) {
            const bool isPage = !message.starts_with('/') && message.find(':') != message.npos;
            if (isPage) addresses.push_back(message);
        }
        return addresses;
    }
    // Date and indexer of an indexed page.
    std::string filed(const std::string& address) {
        const auto record = recordOf(address);
        if (!record) return "not there";
        return std::to_string(std::lround(seconds(record->date))) + " " + record->source + " " +
               record->indexer;
    }

    // "Name: reason" of the exception that it throws.
    template <typename Action>
    static std::string thrownBy(Action action) {
        try {
            action();
        } catch (const NamedException& exception) {
            return exception.name() + ": " + exception.reason();
        }
        return "nothing";
    }

    SearchItem m_item = {.Name = "Item", .LastScanDate = Date::distantPast()};
    std::shared_ptr<SearchItemRecord> m_record;
    IndexerLocks m_locks;
    std::vector<std::string> m_progress;    // messages as they came; "/" before those that are done
    std::vector<std::int64_t> m_announced;  // documents
    std::unique_ptr<BareIndexer> m_bare;

private:
    void noteProgress(const std::string& mark, const PropertyList::Dictionary& progress) {
        if (stringFor(progress, "source") == "Loader") return;
        m_progress.push_back(mark + stringFor(progress, "message"));
    }
};

}  // namespace siftwell
