#include "sources/PrivateDatabase.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <thread>
#include <tuple>
#include <vector>

#include "base/Files.h"
#include "base/Translate.h"
#include "sources/FileDates.h"
#include "sources/PrivateCopy.h"

namespace siftwell {

namespace {

constexpr int kAttempts = 5;
constexpr std::chrono::milliseconds kBetweenAttempts(200);
// The memory that connections share (-shm) is made anew from the log.
constexpr std::array<const char*, 2> kCompanions = {"-wal", "-journal"};

// Of a database that is not written: file by file, where it lies, its size and its date. Of a log
// only which one it is: what is appended to it meanwhile changes nothing that stood there before.
using State = std::vector<std::tuple<ino_t, off_t, time_t, long, std::string>>;

std::string beginningOf(const std::string& path) {
    constexpr std::size_t kLogHead = 32;
    std::string bytes(kLogHead, '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), kLogHead);
    return bytes;
}

State stateOf(const std::string& path) {
    State state;
    for (const char* suffix : {"", "-journal"}) {
        struct stat info {};
        if (stat((path + suffix).c_str(), &info) != 0) info = {};
        state.emplace_back(info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec,
                           "");
    }
    state.emplace_back(0, 0, 0, 0, beginningOf(path + "-wal"));
    return state;
}

}  // namespace

Result<PrivateDatabase> PrivateDatabase::copyOf(const std::string& path) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (attempt > 0) std::this_thread::sleep_for(kBetweenAttempts);
        const State before = stateOf(path);
        auto copy = copyToTemporaryFolder(path);
        if (!copy) return copy.status();
        PrivateDatabase database(*std::move(copy));
        if (Status status = database.copyCompanions(path); !status.isOk()) return status;
        if (stateOf(path) == before) return database;
    }
    return Status(StatusCode::Busy,
                  filledIn(_("The database %@ is being written all the time."), path));
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
