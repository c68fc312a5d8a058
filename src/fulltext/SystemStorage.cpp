#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/FileDescriptor.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "fulltext/Storage.h"

namespace siftwell::fulltext {

namespace {

std::uint64_t pageSize() {
    static const auto size = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return size;
}

class SystemMapping : public Mapping {
public:
    SystemMapping(void* start, std::size_t length, std::size_t skipped)
        : m_start(start), m_length(length), m_skipped(skipped) {}
    ~SystemMapping() override { munmap(m_start, m_length); }
    SystemMapping(const SystemMapping&) = delete;
    SystemMapping& operator=(const SystemMapping&) = delete;

    std::string_view bytes() const override {
        return {static_cast<const char*>(m_start) + m_skipped, m_length - m_skipped};
    }

private:
    void* m_start;
    std::size_t m_length;
    std::size_t m_skipped;  // between the page's beginning and the first byte asked for
};

class SystemFile : public StorageFile {
public:
    SystemFile(FileDescriptor descriptor, std::string path)
        : m_descriptor(std::move(descriptor)), m_path(std::move(path)) {}

    const std::string& path() const override { return m_path; }
    int descriptor() const { return m_descriptor.get(); }
    void setPath(const std::string& path) { m_path = path; }

    Result<std::string> readAt(std::uint64_t offset, std::size_t count) const override {
        std::string bytes(count, '\0');
        for (std::size_t done = 0; done < count;) {
            const ssize_t got = pread(descriptor(), bytes.data() + done, count - done,
                                      static_cast<off_t>(offset + done));
            if (got == 0)
                return Status(StatusCode::Damaged,
                              filledIn(_("The file %@ is cut short."), m_path));
            if (got < 0 && errno != EINTR) return failure("read");
            if (got > 0) done += static_cast<std::size_t>(got);
        }
        return bytes;
    }

    Status writeAt(std::uint64_t offset, std::string_view bytes) override {
        while (!bytes.empty()) {
            const ssize_t put =
                pwrite(descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
            if (put < 0) {
                if (errno == EINTR) continue;
                return failure("write");
            }
            bytes.remove_prefix(static_cast<std::size_t>(put));
            offset += static_cast<std::uint64_t>(put);
        }
        return {};
    }

    Result<std::uint64_t> size() const override {
        struct stat info {};
        if (fstat(descriptor(), &info) != 0) return failure("examine");
        return static_cast<std::uint64_t>(info.st_size);
    }

    Status truncate(std::uint64_t size) override {
        if (ftruncate(descriptor(), static_cast<off_t>(size)) != 0) return failure("shorten");
        return {};
    }

    Status sync() override {
        if (fdatasync(descriptor()) != 0) return failure("sync");
        return {};
    }

    Result<std::unique_ptr<Mapping>> map(std::uint64_t offset, std::size_t count) const override {
        const std::uint64_t skipped = offset % pageSize();
        const std::size_t length = count + static_cast<std::size_t>(skipped);
        void* start = mmap(nullptr, length, PROT_READ, MAP_SHARED, descriptor(),
                           static_cast<off_t>(offset - skipped));
        if (start == MAP_FAILED) return failure("map");
        return std::unique_ptr<Mapping>(
            std::make_unique<SystemMapping>(start, length, static_cast<std::size_t>(skipped)));
    }

    Status lockForWriting() override {
        if (setLock(F_WRLCK)) return {};
        if (errno != EAGAIN && errno != EACCES) return failure("lock");
        return {StatusCode::Busy,
                filledIn(_("Another program is writing the index %@. Only one can at a time."),
                         m_path)};
    }

    void unlockForWriting() override { setLock(F_UNLCK); }

private:
    bool setLock(short type) const {
        struct flock whole {};
        whole.l_type = type;
        whole.l_whence = SEEK_SET;
        return fcntl(descriptor(), F_OFD_SETLK, &whole) == 0;
    }

    Status failure(std::string_view verb) const {
        return Status::fromErrno(errno, std::string(verb) + " the file " + m_path);
    }

    FileDescriptor m_descriptor;
    std::string m_path;
};

int openFlags(Storage::Mode mode) {
    constexpr int kAlways = O_CLOEXEC | O_NONBLOCK;
    switch (mode) {
        case Storage::Mode::ReadOnly:
            return kAlways | O_RDONLY;
        case Storage::Mode::ReadWrite:
            return kAlways | O_RDWR;
        case Storage::Mode::CreateNew:
            return kAlways | O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW;
    }
    return kAlways;
}

FileDescriptor openUnnamedFile(const std::string& folder) {
    FileDescriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file.isOpen()) return file;
    std::string pattern = folder + "/.siftwell.XXXXXX";  // where unnamed files are not supported
    file = FileDescriptor(mkostemp(pattern.data(), O_CLOEXEC));
    if (file.isOpen()) unlink(pattern.c_str());
    return file;
}

class SystemStorage : public Storage {
public:
    Result<std::unique_ptr<StorageFile>> open(const std::string& path, Mode mode) override {
        FileDescriptor file(::open(path.c_str(), openFlags(mode), 0600));
        if (!file.isOpen()) return Status::fromErrno(errno, "open the file " + path);
        struct stat info {};
        if (fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
            return Status(StatusCode::Invalid, path + " is not a plain file.");
        }
        return std::unique_ptr<StorageFile>(std::make_unique<SystemFile>(std::move(file), path));
    }

    Result<std::unique_ptr<StorageFile>> openTemporary(const std::string& path) override {
        FileDescriptor file = openUnnamedFile(folderOf(path));
        if (!file.isOpen()) return Status::fromErrno(errno, "create a file beside " + path);
        return std::unique_ptr<StorageFile>(std::make_unique<SystemFile>(std::move(file), path));
    }

    Status rename(StorageFile& file, const std::string& to) override {
        if (std::rename(file.path().c_str(), to.c_str()) != 0) {
            return Status::fromErrno(errno, "rename the file " + file.path());
        }
        static_cast<SystemFile&>(file).setPath(to);
        return {};
    }

    Status keep(const StorageFile& file, const std::string& as) override {
        if (::link(file.path().c_str(), as.c_str()) == 0) return {};
        return Storage::keep(file, as);
    }

    Status remove(const std::string& path) override {
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            return Status::fromErrno(errno, "delete the file " + path);
        }
        return {};
    }

    Status syncFolderOf(const std::string& path) override { return syncFolder(folderOf(path)); }

    bool isNamed(const StorageFile& file, const std::string& path) override {
        const auto& own = static_cast<const SystemFile&>(file);
        struct stat opened {};
        struct stat named {};
        return fstat(own.descriptor(), &opened) == 0 && stat(path.c_str(), &named) == 0 &&
               opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    }
};

}  // namespace

Status Storage::keep(const StorageFile& file, const std::string& as) {
    constexpr std::uint64_t kPiece = 1 << 20;
    const Result<std::uint64_t> size = file.size();
    if (!size) return size.status();
    auto copy = open(as, Mode::CreateNew);
    if (!copy) return copy.status();
    Status status;
    for (std::uint64_t at = 0; at < *size && status.isOk(); at += kPiece) {
        const auto bytes = file.readAt(at, static_cast<std::size_t>(std::min(kPiece, *size - at)));
        status = bytes ? (*copy)->writeAt(at, *bytes) : bytes.status();
    }
    if (status.isOk()) status = (*copy)->sync();
    if (!status.isOk()) static_cast<void>(remove(as));
    return status;
}

Storage& Storage::system() {
    static SystemStorage storage;
    return storage;
}

}  // namespace siftwell::fulltext
