// FilePieces: a file of text, read in pieces that fit into memory however large it is.
//
// Threads: one. Errors: a file that cannot be read ends there; see status().
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/FileDescriptor.h"
#include "base/Status.h"

namespace siftwell {

class FilePieces {
public:
    // Pieces end behind the last `separator` among the next `pieceBytes`. Where so many bytes hold
    // none, they are a piece.
    FilePieces(const std::string& path, std::string_view separator, std::size_t pieceBytes);

    // Valid until the next call; none at the end.
    std::optional<std::string_view> next();
    const Status& status() const { return m_status; }

private:
    void fill();

    const std::string m_path;
    const std::string m_separator;
    const std::size_t m_pieceBytes;
    const FileDescriptor m_file;
    std::string m_bytes;
    std::size_t m_taken = 0;  // of m_bytes
    Status m_status;
};

}  // namespace siftwell
