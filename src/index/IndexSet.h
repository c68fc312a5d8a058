// IndexSet: the open indexes, in order, one for each pair of source and scheme.
//
// Threads: any. The list is replaced as a whole when an index comes or goes, so that whoever walks
// it keeps what it saw. Making an index is done by one thread at a time; the caller holds the index
// lock for everything that lets indexes go. Errors: reported with severity 9.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Gate.h"
#include "base/Mutex.h"
#include "base/SWNotifier.h"
#include "index/OpenIndex.h"

namespace siftwell {

class IndexSet {
public:
    using List = std::vector<SKIndex>;

    struct Settings {
        fulltext::Index::Access access = fulltext::Index::Access::ReadWrite;
        fulltext::Index::Surroundings surroundings;
        std::vector<std::string> stopWords;
    };

    // `notifier` and `clock` outlive the set.
    IndexSet(Settings settings, SWNotifier& notifier, Clock& clock);

    // The list as it is now; never null. Whoever walks it gives it a name: the temporary of a loop
    // over *list() ends before the loop begins.
    std::shared_ptr<const List> list() const;
    SKIndex find(const std::string& name) const;  // null when there is none

    // The position of the index, or -1.
    std::ptrdiff_t positionOf(const SKIndex& index) const;

    // The index of that name, made in `folder` when there is none; null when that fails. What may
    // pass (a busy file, an input or output error) is tried again up to ten times, five seconds
    // apart.
    SKIndex findOrCreate(const std::string& folder, const std::string& name);

    // Takes every index below `folder` that can be opened and is not empty. An empty one is deleted
    // with its side file, unless the set only reads; one that cannot be opened stays as it is.
    void load(const std::string& folder);

    // Closes and lets go of all. The first error that was not told before.
    Status closeAll();

    // Deletes the files of the index and lets it go.
    void purge(const SKIndex& index);

    // Lets go of all without writing anything.
    void drop();

private:
    void loadFile(const std::string& path, const std::string& name);
    Result<std::unique_ptr<fulltext::Index>> openForLoading(const std::string& path,
                                                            const std::string& name);
    void reportUnusable(const Status& status, const std::string& path);
    Result<std::unique_ptr<fulltext::Index>> createPatiently(const std::string& path,
                                                             const std::string& name);
    SKIndex create(const std::string& folder, const std::string& name);
    SKIndex makeOpenIndex(std::string name, std::string path,
                          std::unique_ptr<fulltext::Index> index) const;
    void append(const SKIndex& index);
    static void deleteFiles(const std::string& path);

    const Settings m_settings;
    SWNotifier& m_notifier;
    Clock& m_clock;
    Gate m_creation;
    mutable Mutex m_mutex;
    std::shared_ptr<const List> m_list SW_GUARDED_BY(m_mutex);
    std::set<std::string> m_failed SW_GUARDED_BY(m_mutex);  // names that could not be made
};

}  // namespace siftwell
