// The command line of Siftwell.

#include <csignal>
#include <cstdlib>

#include "base/Log.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/Translate.h"
#include "cli/CommandLine.h"

namespace {

constexpr std::size_t kMaxLogBytes = 1 << 20;

// Before any thread exists: the run loop takes these signals, and a reader that hangs up is no
// reason to end without closing the indexes.
void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace

int main(int argc, char** argv) {
    blockSignals();
    siftwell::useLanguageOfEnvironment();
    const siftwell::Paths paths = siftwell::Paths::ofThisUser();
    siftwell::setLogSink(siftwell::logFileSink(paths.stateFolder + "/siftwell.log", kMaxLogBytes));
    const auto mainLoop = siftwell::makeHeadlessRunLoop();
    siftwell::Console console;
    return static_cast<int>(siftwell::runCommandLine(argc, argv, {paths, *mainLoop, console}));
}
