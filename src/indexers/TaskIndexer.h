// TaskIndexer: an indexer whose reader lives in the indexer tool, a process of its own.
//
// The tool reads files that other programs write, and that anything may have got into. When it dies
// on one, that one is reported and the scan goes on behind it.
//
// FirefoxHistory, FirefoxBookmarks, ChromeHistory and their like are nothing more than this.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "indexers/SiftwellIndexer.h"
#include "wire/Messages.h"

namespace siftwell {

class IndexerTool;

class TaskIndexer : public SiftwellIndexer {
public:
    using SiftwellIndexer::SiftwellIndexer;

    void performIndexingScan() override { performIndexingScanInTask(); }

protected:
    // Has the tool read what is new, hands it over as it comes, and waits for the downloads.
    void performIndexingScanInTask();

    // What the tool reads. One that is not there is no error.
    virtual std::vector<std::string> pathsToRead() { return paths(); }
    // A page out of one of those folders.
    virtual void takePage(const std::string& folder, wire::Page&& page);

private:
    // How one run of the tool ended.
    enum class RunEnd { Complete, Died, SwitchedOff, NotLaunched };

    // What a scan has learned so far.
    struct Scan {
        wire::Task task;
        std::string token;
        std::optional<wire::Place> current;  // what the tool is at
        Date changed = Date::distantPast();
        bool isWhole = true;  // nothing has to be tried again
        int exitStatus = scanResult::kUnexpectedError;
    };

    wire::Task taskFor(std::vector<std::string> paths) const;
    std::string newToken() const;
    RunEnd run(Scan& scan);
    void takeEntries(wire::Entries some);
    bool isIndexedFromCache(const Url& url, Date visited) const;
    RunEnd listen(IndexerTool& tool, Scan& scan);
    static RunEnd endOf(IndexerTool& tool);
    void note(wire::Message message, Scan& scan);
    bool passOver(Scan& scan);
    void stop(IndexerTool& tool);
    void finish(const Scan& scan, RunEnd end);
    std::string nameOf(const Scan& scan) const;

    std::string m_reasonOfDeath;
    std::optional<Date> m_newestEntry;
    bool m_hasWaitedForCaches = false;
};

}  // namespace siftwell
