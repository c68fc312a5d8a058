// FileTail: the end of an index file, where everything new goes.
//
// Small records wait in memory and are written together. A place is given out at once and holds its
// record once writeOut() has returned.
//
// Threads: append and reserve are called under the index's mutex, which also guards the waiting
// bytes; writeOut lets one thread write at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Gate.h"
#include "base/Mutex.h"
#include "base/Status.h"
#include "fulltext/Record.h"
#include "fulltext/Storage.h"

namespace siftwell::fulltext {

class FileTail {
public:
    explicit FileTail(std::uint64_t end = 0) : m_end(end) {}

    RecordPlace append(std::string_view record);

    // A place for a record that is written by other means.
    RecordPlace reserve(std::uint64_t size);

    // Writes what is waiting. Called without the index's mutex.
    Status writeOut(StorageFile& file);

    std::uint64_t end() const;
    std::size_t waitingBytes() const;

private:
    struct Part {
        std::uint64_t offset;
        std::string bytes;
    };

    mutable Mutex m_mutex;
    std::uint64_t m_end SW_GUARDED_BY(m_mutex);
    std::vector<Part> m_waiting SW_GUARDED_BY(m_mutex);
    std::size_t m_waitingBytes SW_GUARDED_BY(m_mutex) = 0;
    Gate m_writing;
};

}  // namespace siftwell::fulltext
