#include "fulltext/Spool.h"

#include <algorithm>

namespace siftwell::fulltext {

Status Spool::append(std::string_view bytes) {
    while (!bytes.empty()) {
        if (m_parts.empty() || m_parts.back().size() == kPart) {
            if (Status status = startPart(); !status.isOk()) return status;
        }
        const std::string_view some = bytes.substr(0, kPart - m_parts.back().size());
        m_parts.back().append(some);
        m_size += some.size();
        bytes.remove_prefix(some.size());
    }
    return m_status;
}

Status Spool::startPart() {
    if (m_status.isOk() && m_parts.size() == kMaxParts) m_status = spill();
    if (m_status.isOk()) m_parts.emplace_back().room(kPart);
    return m_status;
}

Status Spool::spill() {
    if (m_file == nullptr) {
        auto file = m_storage.openTemporary(m_indexPath);
        if (!file) return file.status();
        m_file = *std::move(file);
    }
    for (const ByteBuffer& part : m_parts) {
        if (Status status = m_file->writeAt(m_written, part.view()); !status.isOk()) return status;
        m_written += part.size();
    }
    m_parts.clear();
    return {};
}

Status Spool::copyTo(StorageFile& file, std::uint64_t offset, const ContinueCallback& mayContinue) {
    if (!m_status.isOk()) return m_status;
    for (std::uint64_t done = 0; done < m_written;) {
        const std::uint64_t count = std::min<std::uint64_t>(kPart, m_written - done);
        const auto part = m_file->readAt(done, static_cast<std::size_t>(count));
        if (!part) return part.status();
        if (Status status = file.writeAt(offset + done, *part); !status.isOk()) return status;
        done += count;
        if (!mayContinue()) return {StatusCode::Busy, "The work was given up."};
    }
    std::uint64_t at = offset + m_written;
    for (const ByteBuffer& part : m_parts) {
        if (Status status = file.writeAt(at, part.view()); !status.isOk()) return status;
        at += part.size();
        if (!mayContinue()) return {StatusCode::Busy, "The work was given up."};
    }
    return {};
}

}  // namespace siftwell::fulltext
