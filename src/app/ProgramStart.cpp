#include "app/ProgramStart.h"

#include <csignal>
#include <string>
#include <string_view>

#include "base/Faults.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "text/Printable.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxLogBytes = 1 << 20;

// "" when there is no folder for it.
std::string logFile(const Paths& paths) {
    return paths.stateFolder.empty() ? "" : paths.stateFolder + "/siftwell.log";
}

void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace

Paths prepareProgram() {
    blockSignals();
    useLanguageOfEnvironment();
    Paths paths = Paths::ofThisUser();
    const std::string file = logFile(paths);
    if (!file.empty()) {
        // Names of files stand in the log, and whoever reads it does so on a terminal.
        setLogSink([write = logFileSink(file, kMaxLogBytes)](std::string_view line) {
            write(printable(line));
        });
    }
    installFaultHandlers(file);
    return paths;
}

}  // namespace siftwell
