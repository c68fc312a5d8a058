// ByteSource: bytes that are read at any place, of a file or in memory.
//
// Threads: one at a time. Errors: none where the bytes are not there; input may change under us.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "base/FileDescriptor.h"

namespace siftwell {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;
    // Exactly so many bytes, or none. Nothing is allocated for what lies behind the end.
    virtual std::optional<std::string> read(std::uint64_t at, std::uint64_t length) const = 0;
};

class BytesInMemory final : public ByteSource {
public:
    explicit BytesInMemory(std::string_view bytes) : m_bytes(bytes) {}  // borrowed

    std::uint64_t size() const override { return m_bytes.size(); }
    std::optional<std::string> read(std::uint64_t at, std::uint64_t length) const override;

private:
    std::string_view m_bytes;
};

// A plain file, as long as it was when it was opened. The last 64 KiB are read at once: that is the
// whole of most files, and where most of the others say what they are.
class BytesOfFile final : public ByteSource {
public:
    // Null when there is no plain file; a link is none.
    static std::unique_ptr<BytesOfFile> open(const std::string& path);

    std::uint64_t size() const override { return m_size; }
    std::optional<std::string> read(std::uint64_t at, std::uint64_t length) const override;
    Date modified() const { return m_modified; }

private:
    BytesOfFile(FileDescriptor file, std::uint64_t size, Date modified)
        : m_file(std::move(file)), m_size(size), m_modified(modified) {}

    FileDescriptor m_file;
    std::uint64_t m_size;
    Date m_modified;
    std::string m_end;
};

}  // namespace siftwell
