#include "tool/Confinement.h"

#include "base/Sanitizers.h"

#ifndef SIFTWELL_SANITIZED
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>

#include "base/Translate.h"
#include "confine/Failure.h"
#include "confine/FileRules.h"
#include "confine/SystemCallFilter.h"
#endif

namespace siftwell {

#ifdef SIFTWELL_SANITIZED

wire::Hello confineTo(const std::vector<std::string>&, const std::string&) { return {}; }

#else

namespace {

// Lower ones stay.
void limit(decltype(RLIMIT_AS) resource, rlim_t amount) {
    rlimit limits{};
    require(getrlimit(resource, &limits), "read a limit");
    limits.rlim_max = std::min(limits.rlim_max, amount);
    limits.rlim_cur = std::min(limits.rlim_cur, limits.rlim_max);
    require(setrlimit(resource, &limits), "set a limit");
}

// What libraries read from files at their first use: the time zone, the translated texts.
void readWhatIsNeeded() {
    tzset();
    static_cast<void>(localized("Waiting..."));
}

}  // namespace

wire::Hello confineTo(const std::vector<std::string>& files, const std::string& privateFolder) {
    constexpr rlim_t kMemory = rlim_t{1} << 30;  // several times a page of the largest size
    constexpr rlim_t kFiles = 64;
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_AS, kMemory);
    limit(RLIMIT_NOFILE, kFiles);
    readWhatIsNeeded();
    require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "give up new rights");
    const bool hasFileRules = allowOnly(files, privateFolder);
    refuseOtherSystemCalls(Work::ReadDatabases);
    return {.hasFileRules = hasFileRules, .hasSystemCallFilter = true};
}

#endif

}  // namespace siftwell
