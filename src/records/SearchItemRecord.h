// SearchItemRecord: the working copy of a search item while it is scanned.
//
// Its indexer writes dates and results into it; the driver looks them up meanwhile and puts the
// copy in the place of the stored item at the end.
//
// Threads: any.
#pragma once

#include <utility>

#include "base/Mutex.h"
#include "records/SearchItem.h"

namespace siftwell {

class SearchItemRecord {
public:
    explicit SearchItemRecord(SearchItem item) : m_item(std::move(item)) {}

    SearchItem item() const {
        MutexLock lock(m_mutex);
        return m_item;
    }

    // `change` is handed the item; it must not wait for anything.
    template <typename Change>
    void change(Change change) {
        MutexLock lock(m_mutex);
        change(m_item);
    }

private:
    mutable Mutex m_mutex;
    SearchItem m_item SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
