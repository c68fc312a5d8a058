// RunningItems: the working copies of the items that are being scanned now.
//
// Threads: any.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "records/SearchItemRecord.h"

namespace siftwell {

class RunningItems {
public:
    void add(const std::shared_ptr<SearchItemRecord>& item);
    void setDone(const std::shared_ptr<SearchItemRecord>& item);
    void waitUntilAllAreDone();
    void clear();

    std::vector<std::string> names() const;  // of those that are not done
    // The last item that is scanned by the process of that name.
    std::optional<SearchItem> itemForProcess(const std::string& processName) const;

private:
    struct Entry {
        std::shared_ptr<SearchItemRecord> item;
        bool isDone = false;
    };

    bool areAllDone() const SW_REQUIRES(m_mutex);

    mutable Mutex m_mutex;
    Condition m_done;
    std::vector<Entry> m_entries SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
