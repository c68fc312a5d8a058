#include "fulltext/FileTail.h"

namespace siftwell::fulltext {

namespace {

// What an index lets wait, and the record that makes it too much.
constexpr std::size_t kUsualPart = 288 << 10;

}  // namespace

RecordPlace FileTail::append(std::string_view record) {
    MutexLock lock(m_mutex);
    if (m_waiting.empty() || m_waiting.back().offset + m_waiting.back().bytes.size() != m_end) {
        m_waiting.push_back({m_end, {}});
        m_waiting.back().bytes.reserve(kUsualPart);
    }
    const RecordPlace place{m_end, record.size()};
    m_waiting.back().bytes += record;
    m_waitingBytes += record.size();
    m_end += record.size();
    return place;
}

RecordPlace FileTail::reserve(std::uint64_t size) {
    MutexLock lock(m_mutex);
    const RecordPlace place{m_end, size};
    m_end += size;
    return place;
}

Status FileTail::writeOut(StorageFile& file) {
    const GateHold hold(m_writing);
    std::vector<Part> parts;
    {
        MutexLock lock(m_mutex);
        parts.swap(m_waiting);
        m_waitingBytes = 0;
    }
    for (const Part& part : parts) {
        if (Status status = file.writeAt(part.offset, part.bytes); !status.isOk()) return status;
    }
    return {};
}

std::uint64_t FileTail::end() const {
    MutexLock lock(m_mutex);
    return m_end;
}

std::size_t FileTail::waitingBytes() const {
    MutexLock lock(m_mutex);
    return m_waitingBytes;
}

}  // namespace siftwell::fulltext
