// Driver: what a front end asks of the copy of the program that may write.
//
// The command line and the windows work through it, so that they need not know whether that copy is
// their own process (AppController) or another one (bus/RunningCopy).
//
// Threads: main.
// Errors: as Status. What goes wrong later is told by "SiftwellErrorNotification", which the copy
// that does the work posts and which arrives at the centre of the asking one too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyList.h"
#include "base/Status.h"
#include "base/Url.h"
#include "records/SearchItem.h"

namespace siftwell {

class Driver {
public:
    enum class ScanScope {
        Everything,   // needs the network
        LocalSources  // only what is read without the network; does not count as a completed scan
    };

    // What a file that is added stands for, when no indexer is named.
    enum class FileUse { Ask, ExtractURLs, IndexContents };

    struct Addition {
        Url url;  // an absolute address, or a file's
        std::optional<std::string> indexer;
        FileUse fileUse = FileUse::Ask;
        bool isScanStarted = true;
    };

    struct ScanState {
        bool isScanning = false;
        bool isLoading = false;               // pages are fetched or read, for a scan or after it
        std::uint64_t ended = 0;              // scans that came to their end since the start
        bool wasLastComplete = false;         // not refused, not broken off
        std::int64_t pendingDocuments = 0;    // announced, neither added nor dropped yet
        std::uint64_t finishedDocuments = 0;  // came to their end since the start
        std::int64_t documents = 0;           // in all indexes
    };

    struct MaintenanceState {
        bool isRunning = false;
        std::uint64_t ended = 0;             // commands that came to their end since the start
        std::optional<double> percent{};     // done of the one that runs, where that is known
        Status result{};                     // of the last one
        std::size_t removedCount = 0;        // pages that it took out of the index,
        std::vector<std::string> removed{};  // and, where it was told which, their addresses
    };

    virtual ~Driver() = default;

    // ---- Scans

    // Starts a scan, or, while one runs, has another one follow. Unavailable network: NotFound for
    // Everything.
    virtual Status startScan(ScanScope scope) = 0;
    virtual Result<ScanState> scanState() = 0;

    // ---- What is indexed

    // Makes a search item for the address and starts a scan. Invalid when nothing can be made of
    // the address.
    virtual Status addToIndex(const Addition& addition) = 0;
    // Puts the items into the list of sources, each but those that are there already: of the same
    // indexer, and leading to the same file. What is there is switched on if the item is on.
    virtual Status addMissingItems(const std::vector<SearchItem>& items) = 0;
    // How many of the pages were in an index. They are found no more; their bytes go when the index
    // is compacted the next time.
    virtual Result<std::size_t> removeFromIndex(const std::vector<std::string>& urls) = 0;

    // ---- Maintenance. Each begins in a later turn of the main loop and may take long; Busy while
    // another one is under way. See MaintenanceCommands.

    virtual Status clearIndex() = 0;
    virtual Status rebuildIndex() = 0;  // NotFound without a network
    virtual Status compactIndex() = 0;
    virtual Status dumpURLs(const std::string& path) = 0;   // an absolute path
    virtual Status dumpIndex(const std::string& path) = 0;  // likewise
    virtual Status applyFilters() = 0;
    virtual Status eraseFromIndex(const std::vector<std::string>& urls) = 0;
    virtual Result<MaintenanceState> maintenanceState() = 0;

    // ---- Sources, by their names; all of that name. NotFound when there is none.

    virtual Status setSearchItemValue(const std::string& name, const std::string& key,
                                      const PropertyList& value) = 0;
    virtual Status deleteSearchItem(const std::string& name) = 0;
    virtual Status resetScanDate(const std::string& name) = 0;  // the next scan reads all of it

    // ---- Address filters

    virtual Status addURLFilter(const std::string& text) = 0;
    virtual Status deleteURLFilter(const std::string& text) = 0;  // NotFound
    virtual Status resetURLFilters() = 0;

    // ---- Settings

    virtual Status setSetting(const std::string& key, const PropertyList& value) = 0;
    virtual Status removeSetting(const std::string& key) = 0;

    // ---- The copy itself

    // What it does now: "process", "indexingEnabled", "scanning", "scanStarted",
    // "runningItems" (the names of the sources being scanned, an array), "pending", "documents",
    // "networkDown", "nextScan" (a date).
    virtual Result<PropertyList::Dictionary> status() = 0;

    // The windows, where the copy has some; Failed otherwise. An empty text is Invalid.
    virtual Status searchService(const std::string& text) = 0;
    virtual Status showWindow() = 0;
    virtual Status toggleWindow() = 0;  // to the front, or away from there
    virtual Status quit() = 0;          // returns at once
};

}  // namespace siftwell
