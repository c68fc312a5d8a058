#include "base/FilePieces.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace siftwell {

FilePieces::FilePieces(const std::string& path, std::string_view separator, std::size_t pieceBytes)
    : m_path(path),
      m_separator(separator),
      m_pieceBytes(pieceBytes),
      m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    if (!m_file.isOpen()) m_status = Status::fromErrno(errno, "open the file " + path);
}

std::optional<std::string_view> FilePieces::next() {
    m_bytes.erase(0, m_taken);
    fill();
    m_taken = m_bytes.size();
    if (m_bytes.empty()) return std::nullopt;
    const std::size_t last = m_bytes.rfind(m_separator);
    if (m_bytes.size() == m_pieceBytes && last != std::string::npos) {
        m_taken = last + m_separator.size();
    }
    return std::string_view(m_bytes).substr(0, m_taken);
}

void FilePieces::fill() {
    std::size_t used = m_bytes.size();
    m_bytes.resize(m_pieceBytes);
    while (used < m_bytes.size() && m_status.isOk()) {
        const ssize_t count = read(m_file.get(), m_bytes.data() + used, m_bytes.size() - used);
        if (count == 0) break;
        if (count > 0) {
            used += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            m_status = Status::fromErrno(errno, "read the file " + m_path);
        }
    }
    m_bytes.resize(used);
}

}  // namespace siftwell
