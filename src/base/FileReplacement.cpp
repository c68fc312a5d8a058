#include "base/FileReplacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "base/Files.h"

namespace siftwell {

namespace {

constexpr std::size_t kWriteSize = 64 << 10;

// One name for all attempts: what a killed program left behind is overwritten by the next.
std::string temporaryNameFor(const std::string& path) {
    return folderOf(path) + "/." + lastPathComponent(path) + ".new";
}

// Where the file really lies, when a person has put a symbolic link in its place.
std::string linkTarget(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(path.c_str(), nullptr), free);
    return resolved == nullptr ? path : std::string(resolved.get());
}

}  // namespace

FileReplacement::FileReplacement(const std::string& path)
    : m_path(linkTarget(path)),
      m_temporary(temporaryNameFor(m_path)),
      m_file(
          open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!m_file.isOpen()) m_status = Status::fromErrno(errno, "create the file " + m_temporary);
}

FileReplacement::~FileReplacement() {
    if (m_file.isOpen()) unlink(m_temporary.c_str());
}

void FileReplacement::append(std::string_view bytes) {
    if (m_waiting.size() + bytes.size() < kWriteSize) {
        m_waiting += bytes;
        return;
    }
    writeOut();
    if (m_status.isOk()) m_status = writeAll(m_file.get(), bytes, m_temporary);
}

void FileReplacement::writeOut() {
    if (m_status.isOk()) m_status = writeAll(m_file.get(), m_waiting, m_temporary);
    m_waiting.clear();
}

Status FileReplacement::finish() {
    writeOut();
    if (!m_status.isOk()) return m_status;
    if (fsync(m_file.get()) != 0) return Status::fromErrno(errno, "sync the file " + m_temporary);
    if (rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        return Status::fromErrno(errno, "replace the file " + m_path);
    }
    m_file.reset();
    return syncFolder(folderOf(m_path));
}

}  // namespace siftwell
