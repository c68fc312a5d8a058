#include "app/WriterLock.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>

#include "base/Files.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

std::string lockFile(const std::string& stateFolder) { return stateFolder + "/lock"; }

pid_t writtenHolder(const std::string& stateFolder) {
    const auto text = readFile(lockFile(stateFolder), 32);
    return text ? static_cast<pid_t>(std::strtol(text->c_str(), nullptr, 10)) : 0;
}

struct flock wholeFile() {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return whole;
}

Status writeHolder(int file) {
    const std::string text = std::to_string(getpid()) + "\n";
    if (ftruncate(file, 0) != 0 ||
        pwrite(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        return Status::fromErrno(errno, "write the lock file");
    }
    return {};
}

}  // namespace

Result<WriterLock> WriterLock::take(const std::string& stateFolder) {
    if (Status status = makePrivateFolder(stateFolder); !status.isOk()) return status;
    const std::string path = lockFile(stateFolder);
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.isOpen()) return Status::fromErrno(errno, "open the lock file " + path);
    struct flock whole = wholeFile();
    if (fcntl(file.get(), F_OFD_SETLK, &whole) != 0) {
        if (errno != EAGAIN && errno != EACCES)
            return Status::fromErrno(errno, "lock the file " + path);
        return Status(
            StatusCode::Busy,
            filledIn(_("Another Siftwell (process %d) is at work on your index. Please wait "
                       "until it has finished, or end it."),
                     std::int64_t{writtenHolder(stateFolder)}));
    }
    if (Status status = writeHolder(file.get()); !status.isOk()) return status;
    return WriterLock(std::move(file));
}

pid_t WriterLock::holder(const std::string& stateFolder) {
    const FileDescriptor file(open(lockFile(stateFolder).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) return 0;
    struct flock whole = wholeFile();
    const bool isKnown = fcntl(file.get(), F_OFD_GETLK, &whole) == 0;
    return isKnown && whole.l_type != F_UNLCK ? writtenHolder(stateFolder) : 0;
}

}  // namespace siftwell
