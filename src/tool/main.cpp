// SiftwellIndexer TOKEN: reads the files of other programs for the program that launched it.
//
// It reads a task from its input, takes from itself what it does not need for it, and tells on its
// output what it finds (wire/Messages.h). The token tells runs apart, in lists of processes too.
// When a file makes it end, nothing is lost but that file.

#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Translate.h"
#include "tool/Channel.h"
#include "tool/Confinement.h"
#include "tool/ToolRun.h"
#include "wire/Frames.h"

namespace siftwell {

namespace {

constexpr int kWrongUse = 2;  // exit status
constexpr std::size_t kMaxTaskBytes = 1 << 20;

std::string inputToItsEnd() {
    std::string bytes;
    std::array<char, 4096> buffer;  // NOLINT(*-member-init)
    while (bytes.size() <= kMaxTaskBytes) {
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count <= 0) break;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

int runTool() {
    FrameReader reader;
    reader.input() = inputToItsEnd();
    const auto frame = reader.next();
    const auto task = frame ? wire::decodeTask(*frame) : std::nullopt;
    if (!task) {
        std::fputs("SiftwellIndexer is launched by Siftwell, which tells it what to read.\n",
                   stderr);
        return kWrongUse;
    }
    const Channel channel(STDOUT_FILENO);
    ToolRun run(*task, channel);
    const char* const folder = std::getenv("TMPDIR");
    channel.send(confineTo(run.files(), folder == nullptr ? "" : folder));
    run.run();
    return 0;
}

}  // namespace

}  // namespace siftwell

int main(int argc, char**) {
    // It is of no use to anybody else.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    siftwell::useLanguageOfEnvironment();
    return argc == 2 ? siftwell::runTool() : siftwell::kWrongUse;
}
