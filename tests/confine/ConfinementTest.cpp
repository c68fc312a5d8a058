// What confined programs can still do, tried by one that means harm.

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/shm.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "base/Paths.h"
#include "base/Processes.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAreArray;
using testing::IsSubsetOf;
using testing::IsSupersetOf;

class ConfinementTest : public testing::Test {
protected:
    struct Probed {
        std::set<std::string> succeeded;
        std::set<std::string> failed;
    };

    ~ConfinementTest() override { shmctl(m_memory, IPC_RMID, nullptr); }

    std::string victims() const { return m_folder.file("victims"); }

    // What the probe says, run by that command.
    Probed probed(std::vector<std::string> command) {
        m_folder.write("victims/victim", "unharmed");
        command.push_back(victims());
        command.push_back(std::to_string(m_memory));
        const auto outcome = m_processes.run({.arguments = command}, {});
        if (!outcome) return {};
        EXPECT_TRUE(outcome->isSuccess()) << Processes::description(*outcome) << outcome->errors;
        return {linesOf(outcome->output), linesOf(outcome->errors)};
    }
    Probed probedUnconfined() {
        // Some systems let no program look into another without its leave.
        prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
        return probed({SIFTWELL_PROBE});
    }

    bool isUnharmed() {
        shmid_ds memory{};
        const std::filesystem::directory_iterator files(victims());
        return m_folder.read("victims/victim") == "unharmed" &&
               std::distance(begin(files), end(files)) == 1 &&
               shmctl(m_memory, IPC_STAT, &memory) == 0;
    }

    const std::set<std::string> m_allowed = {"read", "signal itself", "own limits"};
    const std::set<std::string> m_lookedIntoOthers = {"/proc/PID/mem", "/proc/PID/environ",
                                                      "/proc/PID/maps"};

private:
    static std::set<std::string> linesOf(const std::string& text) {
        std::set<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) lines.insert(line);
        return lines;
    }

protected:
    const TemporaryFolder m_folder;
    const std::string m_launcher = programFolder() + "/siftwell-confined";

private:
    SystemProcesses m_processes;
    const int m_memory = shmget(IPC_PRIVATE, 1, 0600);
};

TEST_F(ConfinementTest, AConfinedProgramCanReadAndComputeAndNoMore) {
    const Probed confined = probed({m_launcher, SIFTWELL_PROBE});
    EXPECT_TRUE(isUnharmed());
    const Probed withoutLandlock =
        probed({SIFTWELL_PROBE, "--without-landlock", m_launcher, SIFTWELL_PROBE});
    EXPECT_TRUE(isUnharmed());
    const Probed free = probedUnconfined();
    EXPECT_FALSE(isUnharmed());

    // All of it succeeds otherwise, but for what some kernels do not have or let nobody do.
    EXPECT_THAT(free.failed,
                Each(AnyOf("internet 6", "clone3", "new open", "ring", "counters", "kernel program",
                           "comparison", "page faults", "key", "new key", "handle of another",
                           "file of another", "message queue", "send to a queue",
                           "read from a queue", "Landlock", "namespace", "/proc/PID/mem")));

    // Against looking into other processes one of the two is needed.
    const bool hasNamespaces = free.succeeded.contains("namespace");
    auto allowed = m_allowed;
    if (!hasNamespaces) allowed.insert(m_lookedIntoOthers.begin(), m_lookedIntoOthers.end());
    const bool hasLandlock = free.succeeded.contains("Landlock");
    EXPECT_THAT(confined.succeeded, IsSubsetOf(hasLandlock ? m_allowed : allowed));
    EXPECT_THAT(withoutLandlock.succeeded, IsSubsetOf(allowed));
    EXPECT_THAT(confined.succeeded, IsSupersetOf(m_allowed));
    EXPECT_THAT(withoutLandlock.succeeded, IsSupersetOf(m_allowed));
}

// As the indexer tool: it stays, keeps private copies, and may lock files, as databases are.
TEST_F(ConfinementTest, AReaderOfDatabasesWritesBelowItsFolderAlone) {
    const std::string own = m_folder.file("own");
    std::filesystem::create_directory(own);
    const Probed confined = probed({SIFTWELL_PROBE, "--databases", own});
    EXPECT_TRUE(isUnharmed());
    auto allowed = m_allowed;
    for (const char* more : {"lock", "memory", "computing time", "own file"}) allowed.insert(more);
    if (confined.succeeded.contains("without Landlock")) GTEST_SKIP() << "the kernel has none";
    EXPECT_THAT(confined.succeeded, ElementsAreArray(allowed));
}

}  // namespace
}  // namespace siftwell
