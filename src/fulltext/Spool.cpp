#include "fulltext/Spool.h"

#include <algorithm>

namespace siftwell::fulltext {

Status Spool::append(std::string_view bytes) {
    if (!m_status.isOk()) return m_status;
    m_buffer += bytes;
    if (m_buffer.size() >= kMaxInMemory) m_status = spill();
    return m_status;
}

Status Spool::spill() {
    if (m_file == nullptr) {
        auto file = m_storage.openTemporary(m_indexPath);
        if (!file) return file.status();
        m_file = *std::move(file);
    }
    if (Status status = m_file->writeAt(m_written, m_buffer); !status.isOk()) return status;
    m_written += m_buffer.size();
    m_buffer.clear();
    return {};
}

Status Spool::copyTo(StorageFile& file, std::uint64_t offset, const ContinueCallback& mayContinue) {
    constexpr std::uint64_t kPart = 1 << 20;
    if (!m_status.isOk()) return m_status;
    for (std::uint64_t done = 0; done < m_written;) {
        const std::uint64_t count = std::min(kPart, m_written - done);
        const auto part = m_file->readAt(done, static_cast<std::size_t>(count));
        if (!part) return part.status();
        if (Status status = file.writeAt(offset + done, *part); !status.isOk()) return status;
        done += count;
        if (!mayContinue()) return {StatusCode::Busy, "The work was given up."};
    }
    return file.writeAt(offset + m_written, m_buffer);
}

}  // namespace siftwell::fulltext
