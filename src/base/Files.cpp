#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "base/FileDescriptor.h"
#include "base/FileReplacement.h"

namespace siftwell {

namespace {

Status writeNewFile(const std::string& path, std::string_view bytes) {
    const FileDescriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.isOpen()) return Status::fromErrno(errno, "create the file " + path);
    if (Status status = writeAll(file.get(), bytes, path); !status.isOk()) return status;
    if (fsync(file.get()) != 0) return Status::fromErrno(errno, "sync the file " + path);
    return {};
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

}  // namespace

std::optional<FileInfo> fileInfo(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return std::nullopt;
    const double modified =
        static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) * 1e-9;
    return FileInfo{.isFolder = S_ISDIR(info.st_mode),
                    .isRegular = S_ISREG(info.st_mode),
                    .bytes = static_cast<std::uint64_t>(info.st_size),
                    .modified = Date::fromUnix(modified)};
}

bool isFolder(const std::string& path) {
    const auto info = fileInfo(path);
    return info && info->isFolder;
}

Result<std::string> readFile(const std::string& path, std::size_t maxBytes) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen()) return Status::fromErrno(errno, "open the file " + path);
    struct stat info {};
    if (fstat(file.get(), &info) != 0) return Status::fromErrno(errno, "examine the file " + path);
    if (!S_ISREG(info.st_mode)) return {StatusCode::Invalid, path + " is not a plain file."};

    std::string bytes;
    std::size_t used = 0;
    // One byte more than announced shows the end at once; a file that grows meanwhile is followed.
    bytes.resize(std::min(maxBytes, static_cast<std::size_t>(info.st_size) + 1));
    while (used < maxBytes) {
        if (used == bytes.size()) bytes.resize(std::min(maxBytes, used * 2));
        const ssize_t count = read(file.get(), bytes.data() + used, bytes.size() - used);
        if (count == 0) break;
        if (count < 0) {
            if (errno == EINTR) continue;
            return Status::fromErrno(errno, "read the file " + path);
        }
        used += static_cast<std::size_t>(count);
    }
    bytes.resize(used);
    return bytes;
}

Status writeAll(int file, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return Status::fromErrno(errno, "write the file " + path);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

Status writeFileAtomically(const std::string& name, std::string_view bytes) {
    FileReplacement file(name);
    file.append(bytes);
    return file.finish();
}

Status makePrivateFolder(const std::string& path) {
    if (const auto info = fileInfo(path)) {
        if (info->isFolder) return {};
        return {StatusCode::Exists,
                "There is a file where the folder " + path + " should be. Please move it away."};
    }
    if (const std::string parent = folderOf(path); parent != path) {
        if (Status status = makePrivateFolder(parent); !status.isOk()) return status;
    }
    if (mkdir(path.c_str(), 0700) == 0) return {};
    const int error = errno;
    // Another process may have been faster; a link to nothing is just in the way.
    if (error == EEXIST && fileInfo(path)) return {};
    return Status::fromErrno(error, "create the folder " + path);
}

Status probeFolderForWriting(const std::string& path) {
    const std::string probe = path + "/.probe." + std::to_string(getpid());
    const std::string block(4096, '\0');
    Status status = writeNewFile(probe, block);
    unlink(probe.c_str());
    return status;
}

Status syncFolder(const std::string& path) {
    const FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) return Status::fromErrno(errno, "open the folder " + path);
    if (fsync(folder.get()) != 0) return Status::fromErrno(errno, "sync the folder " + path);
    return {};
}

std::string folderOf(const std::string& path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    const std::size_t slash = trimmed.rfind('/');
    if (slash == std::string_view::npos) return ".";
    if (slash == 0) return "/";
    return std::string(withoutTrailingSlashes(trimmed.substr(0, slash)));
}

std::string lastPathComponent(std::string_view path) {
    const std::string_view trimmed = withoutTrailingSlashes(path);
    if (trimmed == "/") return "/";
    const std::size_t slash = trimmed.rfind('/');
    return std::string(slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1));
}

std::string pathExtension(std::string_view path) {
    const std::string name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return {};
    return name.substr(dot + 1);
}

}  // namespace siftwell
