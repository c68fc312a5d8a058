#include "tool/Confinement.h"

#include "base/Sanitizers.h"

#ifndef SIFTWELL_SANITIZED
#include <sys/prctl.h>

#include <csignal>
#include <ctime>

#include "base/Translate.h"
#include "confine/Failure.h"
#include "confine/FileRules.h"
#include "confine/Limits.h"
#include "confine/SystemCallFilter.h"
#endif

namespace siftwell {

#ifdef SIFTWELL_SANITIZED

wire::Hello confineTo(const std::vector<std::string>&, const std::string&) { return {}; }

#else

namespace {

// What libraries read from files at their first use: the time zone, the translated texts.
void readWhatIsNeeded() {
    tzset();
    static_cast<void>(localized("Waiting..."));
}

}  // namespace

wire::Hello confineTo(const std::vector<std::string>& files, const std::string& privateFolder) {
    constexpr rlim_t kMemory = rlim_t{1} << 30;  // several times a page of the largest size
    constexpr rlim_t kFiles = 64;
    constexpr rlim_t kFileSize = rlim_t{4} << 30;
    limit(RLIMIT_CORE, 0, 0);
    limit(RLIMIT_AS, kMemory, kMemory);
    limit(RLIMIT_NOFILE, kFiles, kFiles);
    // A copy that would be larger fails like one on a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    limit(RLIMIT_FSIZE, kFileSize, kFileSize);
    readWhatIsNeeded();
    require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "give up new rights");
    const bool hasFileRules = allowOnly(files, privateFolder);
    refuseOtherSystemCalls(Work::ReadDatabases);
    return {.hasFileRules = hasFileRules, .hasSystemCallFilter = true};
}

#endif

}  // namespace siftwell
