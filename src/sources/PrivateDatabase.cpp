#include "sources/PrivateDatabase.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <thread>
#include <tuple>

#include "base/Files.h"
#include "sources/FileDates.h"
#include "sources/PrivateCopy.h"

namespace siftwell {

namespace {

constexpr int kAttempts = 3;
constexpr std::chrono::milliseconds kBetweenAttempts(100);
// The memory that connections share (-shm) is made anew from the log.
constexpr std::array<const char*, 2> kCompanions = {"-wal", "-journal"};

using FileState = std::tuple<ino_t, off_t, time_t, long>;

FileState stateOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return {};
    return {info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

std::array<FileState, 3> statesOf(const std::string& path) {
    return {stateOf(path), stateOf(path + kCompanions[0]), stateOf(path + kCompanions[1])};
}

}  // namespace

Result<PrivateDatabase> PrivateDatabase::copyOf(const std::string& path) {
    for (int attempt = 1;; ++attempt) {
        const auto before = statesOf(path);
        auto copy = copyToTemporaryFolder(path);
        if (!copy) return copy.status();
        PrivateDatabase database(*std::move(copy));
        if (Status status = database.copyCompanions(path); !status.isOk()) return status;
        if (statesOf(path) == before || attempt == kAttempts) return database;
        std::this_thread::sleep_for(kBetweenAttempts);
    }
}

Status PrivateDatabase::copyCompanions(const std::string& from) const {
    for (const char* suffix : kCompanions) {
        Status status = copyFilePrivately(from + suffix, m_path + suffix);
        // The browser may remove one at any moment.
        if (!status.isOk() && fileInfo(from + suffix)) return status;
    }
    return {};
}

void PrivateDatabase::remove() const {
    if (m_path.empty()) return;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink((m_path + suffix).c_str());
}

Date changeDateOfDatabase(const std::string& path) {
    Date latest = Date::distantPast();
    for (const char* suffix : {"", kCompanions[0], kCompanions[1]}) {
        struct stat info {};
        if (stat((path + suffix).c_str(), &info) == 0)
            latest = std::max(latest, dateOf(info.st_mtim));
    }
    return latest;
}

}  // namespace siftwell
