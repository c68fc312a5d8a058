// The command line of Siftwell.

#include <exception>

#include "app/ProgramStart.h"
#include "base/RunLoop.h"
#include "cli/CommandLine.h"

namespace {

siftwell::ExitStatus run(int argc, char** argv, const siftwell::Paths& paths,
                         siftwell::Console& console) {
    const auto mainLoop = siftwell::makeHeadlessRunLoop();
    const auto status = siftwell::runCommandLine(argc, argv, {paths, *mainLoop, console});
    const siftwell::Status written = console.flush();
    if (written.isOk()) return status;
    console.message("siftwell: " + written.message());
    return siftwell::ExitStatus::SomeFailed;
}

}  // namespace

int main(int argc, char** argv) {
    const siftwell::Paths paths = siftwell::prepareProgram();
    siftwell::Console console;
    try {
        return static_cast<int>(run(argc, argv, paths, console));
    } catch (const std::exception& exception) {
        console.message("siftwell: " + siftwell::printable(exception.what()));
        return static_cast<int>(siftwell::ExitStatus::Unusable);
    }
}
