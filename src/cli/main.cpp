// The command line of Siftwell.

#include <csignal>
#include <exception>

#include "base/Faults.h"
#include "base/Log.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/Translate.h"
#include "cli/CommandLine.h"

namespace {

constexpr std::size_t kMaxLogBytes = 1 << 20;

// "" when there is no folder for it.
std::string logFile(const siftwell::Paths& paths) {
    return paths.stateFolder.empty() ? "" : paths.stateFolder + "/siftwell.log";
}

// Before any thread exists: the run loop takes these signals, and a reader that hangs up is no
// reason to end without closing the indexes.
void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

// Names of files stand in the log, and whoever reads it does so on a terminal.
void logTo(const std::string& file) {
    if (file.empty()) return;
    siftwell::setLogSink([write = siftwell::logFileSink(file, kMaxLogBytes)](
                             std::string_view line) { write(siftwell::printable(line)); });
}

siftwell::ExitStatus run(int argc, char** argv, siftwell::Console& console) {
    const siftwell::Paths paths = siftwell::Paths::ofThisUser();
    logTo(logFile(paths));
    siftwell::installFaultHandlers(logFile(paths));
    const auto mainLoop = siftwell::makeHeadlessRunLoop();
    const auto status = siftwell::runCommandLine(argc, argv, {paths, *mainLoop, console});
    const siftwell::Status written = console.flush();
    if (written.isOk()) return status;
    console.message("siftwell: " + written.message());
    return siftwell::ExitStatus::SomeFailed;
}

}  // namespace

int main(int argc, char** argv) {
    blockSignals();
    siftwell::useLanguageOfEnvironment();
    siftwell::Console console;
    try {
        return static_cast<int>(run(argc, argv, console));
    } catch (const std::exception& exception) {
        console.message("siftwell: " + siftwell::printable(exception.what()));
        return static_cast<int>(siftwell::ExitStatus::Unusable);
    }
}
