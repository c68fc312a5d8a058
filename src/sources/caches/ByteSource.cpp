#include "sources/caches/ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "sources/FileDates.h"

namespace siftwell {

namespace {

constexpr std::uint64_t kReadAtOnce = 64 << 10;

bool isWithin(std::uint64_t size, std::uint64_t at, std::uint64_t length) {
    return at <= size && length <= size - at;
}

std::optional<std::string> bytesAt(int file, std::uint64_t at, std::uint64_t length) {
    std::string bytes(length, '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count =
            pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(at + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return std::nullopt;
        done += static_cast<std::size_t>(count);
    }
    return bytes;
}

}  // namespace

std::optional<std::string> BytesInMemory::read(std::uint64_t at, std::uint64_t length) const {
    if (!isWithin(size(), at, length)) return std::nullopt;
    return std::string(m_bytes.substr(at, length));
}

std::unique_ptr<BytesOfFile> BytesOfFile::open(const std::string& path) {
    FileDescriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY));
    struct stat info {};
    if (!file.isOpen() || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
    const auto size = static_cast<std::uint64_t>(info.st_size);
    const std::uint64_t atOnce = std::min(size, kReadAtOnce);
    auto end = bytesAt(file.get(), size - atOnce, atOnce);
    if (!end) return nullptr;
    std::unique_ptr<BytesOfFile> bytes(
        new BytesOfFile(std::move(file), size, dateOf(info.st_mtim)));
    bytes->m_end = *std::move(end);
    return bytes;
}

std::optional<std::string> BytesOfFile::read(std::uint64_t at, std::uint64_t length) const {
    if (!isWithin(m_size, at, length)) return std::nullopt;
    const std::uint64_t begin = m_size - m_end.size();
    if (at >= begin) return m_end.substr(at - begin, length);
    return bytesAt(m_file.get(), at, length);
}

}  // namespace siftwell
