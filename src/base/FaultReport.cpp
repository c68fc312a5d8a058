#include "base/FaultReport.h"

#include <fcntl.h>
#include <sys/prctl.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>

namespace siftwell {

namespace {

constinit std::array<char, PATH_MAX> logFile{};

FileDescriptor openLogFile() {
    if (logFile[0] == '\0') return {};
    return FileDescriptor(
        open(logFile.data(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

}  // namespace

void FaultReport::setLogFile(std::string_view path) {
    if (path.size() >= logFile.size()) path = {};
    logFile[path.copy(logFile.data(), path.size())] = '\0';
}

// The time is told by calculation alone: the C library's ways to do so take a lock.
FaultReport::FaultReport(const char* what) : m_file(openLogFile()) {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto today = floor<days>(now);
    const year_month_day date(today);
    const hh_mm_ss time(now - today);
    std::array<char, 16> thread{};
    prctl(PR_GET_NAME, thread.data());
    for (const int descriptor : descriptors()) {
        if (descriptor < 0) continue;
        std::array<char, 256> line;
        const int length =
            std::snprintf(line.data(), line.size(),
                          "%04d-%02u-%02uT%02d:%02d:%02dZ siftwell: %s in the thread \"%s\"\n",
                          static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                          static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                          static_cast<int>(time.minutes().count()),
                          static_cast<int>(time.seconds().count()), what, thread.data());
        writeText(descriptor,
                  {line.data(), std::min(static_cast<std::size_t>(length), line.size() - 1)});
    }
}

void FaultReport::write(std::span<const StackFrame> frames) const {
    for (const int descriptor : descriptors()) {
        if (descriptor >= 0) writeStackCrawl(descriptor, frames);
    }
}

}  // namespace siftwell
