#include "sources/PrivateCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/Files.h"

namespace siftwell {

namespace {

// Tried, since two threads may ask in the same tick for the copies of files of the same name; and
// looked at, where something may be left over.
constexpr int kMostNames = 10'000;

Status failure(int error, const std::string& path) {
    // The code as everywhere; the text is put together by the indexer.
    const StatusCode code = Status::fromErrno(error, "").code();
    return {code, std::generic_category().message(error) + " " + path};
}

// Somebody else may have made a folder of that name, to read what is put there.
Result<std::string> temporaryFolder() {
    std::error_code none;
    const auto shared = std::filesystem::temp_directory_path(none);
    if (none) return failure(none.value(), "temporary folder");
    std::string folder = shared.string() + "/siftwell-" + std::to_string(getuid());
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return failure(errno, folder);
    struct stat info {};
    if (lstat(folder.c_str(), &info) != 0) return failure(errno, folder);
    const bool isOwn = S_ISDIR(info.st_mode) && info.st_uid == getuid() &&
                       (info.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    if (!isOwn) return failure(EPERM, folder);
    return folder;
}

// Whether the process whose number the name begins with is gone. One that was just made is left, in
// case that this cannot be told rightly; a copy that is older than a day goes in any case, since
// that number may be another process's by now, and what is open stays readable.
bool isLeftOver(const std::filesystem::path& path) {
    constexpr time_t kSeconds = 60;
    constexpr time_t kDay = 86'400;
    const std::string name = path.filename().string();
    pid_t process = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
    if (error != std::errc() || *end != '.' || process <= 0) return false;
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return false;
    const time_t age = time(nullptr) - info.st_mtime;
    if (age > kDay && S_ISREG(info.st_mode)) return true;
    return age > kSeconds && kill(process, 0) != 0 && errno == ESRCH;
}

void removeLeftOversIn(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    int looked = 0;
    for (fs::directory_iterator each(folder, error), end;
         !error && each != end && looked < kMostNames; each.increment(error), ++looked) {
        std::error_code ignored;
        if (isLeftOver(each->path())) fs::remove_all(each->path(), ignored);
    }
}

Status copyBytes(int from, int to, const std::string& path) {
    std::vector<char> buffer(1 << 18);
    while (true) {
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count == 0) return {};
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failure(errno, path);
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                write(to, buffer.data() + done, static_cast<std::size_t>(count - done));
            if (written < 0 && errno != EINTR) return failure(errno, path);
            if (written > 0) done += written;
        }
    }
}

}  // namespace

Status copyFilePrivately(const std::string& from, const std::string& to) {
    const FileDescriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!source.isOpen()) return failure(errno, from);
    struct stat info {};
    if (fstat(source.get(), &info) != 0) return failure(errno, from);
    if (!S_ISREG(info.st_mode)) return failure(EINVAL, from);
    const FileDescriptor target(
        open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!target.isOpen()) return failure(errno, to);
    Status status = copyBytes(source.get(), target.get(), from);
    if (!status.isOk()) unlink(to.c_str());
    return status;
}

void removeLeftOverCopies() {
    if (const auto folder = temporaryFolder()) removeLeftOversIn(*folder);
}

Result<std::string> makePrivateFolder() {
    const auto folder = temporaryFolder();
    if (!folder) return folder.status();
    removeLeftOversIn(*folder);
    std::string name = *folder + "/" + std::to_string(getpid()) + ".XXXXXX";
    if (mkdtemp(name.data()) == nullptr) return failure(errno, name);
    return name;
}

Result<std::string> copyToTemporaryFolder(const std::string& path) {
    const auto folder = temporaryFolder();
    if (!folder) return folder.status();
    for (int attempt = 1;; ++attempt) {
        const std::string copy = *folder + "/" + std::to_string(getpid()) + "." +
                                 std::to_string(std::clock()) + "." + lastPathComponent(path);
        const Status status = copyFilePrivately(path, copy);
        if (status.isOk()) return copy;
        if (status.code() != StatusCode::Exists || attempt == kMostNames) return status;
    }
}

}  // namespace siftwell
