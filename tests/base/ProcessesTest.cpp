#include "base/Processes.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <thread>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::Not;
using End = Processes::End;

class ProcessesTest : public testing::Test {
protected:
    Processes::Outcome run(Processes::Command command) {
        auto outcome = m_processes.run(command, m_stop.get_token());
        EXPECT_TRUE(outcome.isOk()) << outcome.status().message();
        return outcome ? *std::move(outcome) : Processes::Outcome{.status = -1};
    }

    Processes::Outcome shell(const std::string& script) {
        return run({.arguments = {"/bin/sh", "-c", script}});
    }

    StatusCode failure(const Processes::Command& command) {
        return m_processes.run(command, {}).status().code();
    }

    // Whoever adopts the orphan may take its time to collect it.
    static bool isDead(pid_t process) {
        std::ifstream file("/proc/" + std::to_string(process) + "/stat");
        std::string line;
        if (!std::getline(file, line)) return true;
        const std::string state = line.substr(line.rfind(')') + 1, 2);
        return state == " Z" || state == " X";
    }

    static bool dies(pid_t process) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!isDead(process) && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return isDead(process);
    }

    static bool hasChildren() {
        siginfo_t info{};
        return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD;
    }

    TemporaryFolder m_folder;
    std::stop_source m_stop;
    SystemProcesses m_processes;
};

TEST_F(ProcessesTest, ArgumentsEnvironmentAndInputReachTheChildAndItsAnswersComeBack) {
    const Processes::Outcome outcome =
        run({.arguments = {"sh", "-c", "cat; echo \"$0|$1|$NAME|$HOME\"; echo oops >&2; exit 3",
                           "a b", "$(false)"},
             .environment = {{"NAME=value with \"quotes\""}},
             .inputFile = m_folder.write("input", "from the file\n")});
    EXPECT_EQ(outcome.end, End::Exited);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.output, "from the file\na b|$(false)|value with \"quotes\"|\n");
    EXPECT_EQ(outcome.errors, "oops\n");

    EXPECT_EQ(shell("cat").output, "");  // nothing to read
    EXPECT_EQ(shell("kill -9 $$").end, End::Signalled);
    EXPECT_EQ(shell("kill -9 $$").status, SIGKILL);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, WhatCannotBeRunIsToldApart) {
    const std::string text = m_folder.write("text", "no program");
    EXPECT_EQ(failure({.arguments = {"there-is-no-such-program"}}), StatusCode::NotFound);
    EXPECT_EQ(failure({.arguments = {m_folder.file("missing")}}), StatusCode::NotFound);
    EXPECT_EQ(failure({.arguments = {text}}), StatusCode::Denied);
    EXPECT_EQ(failure({.arguments = {}}), StatusCode::Invalid);
    EXPECT_EQ(failure({.arguments = {"echo", std::string("a\0b", 3)}}), StatusCode::Invalid);
    EXPECT_EQ(failure({.arguments = {"cat"}, .inputFile = m_folder.file("missing")}),
              StatusCode::NotFound);
    // Opening a pipe that nobody writes to would never end.
    ASSERT_EQ(mkfifo(m_folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failure({.arguments = {"cat"}, .inputFile = m_folder.file("pipe")}),
              StatusCode::Invalid);
    EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, AChildThatHangsOrIsStoppedIsKilledWhenItsTimeIsOver) {
    for (const char* script : {"exec sleep 1000", "kill -STOP $$",
                               "trap '' TERM INT HUP; cat <&0; "
                               "exec >&- 2>&-; while :; do :; done"}) {
        const auto start = std::chrono::steady_clock::now();
        const Processes::Outcome outcome = run(
            {.arguments = {"/bin/sh", "-c", script}, .timeLimit = std::chrono::milliseconds(100)});
        EXPECT_EQ(outcome.end, End::TooSlow) << script;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << script;
    }
    EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, WhatAChildLeavesBehindIsKilledAndNotWaitedFor) {
    // It holds the outputs open.
    const Processes::Outcome ended = shell("sleep 1000 & echo $!");
    EXPECT_EQ(ended.end, End::Exited);
    EXPECT_TRUE(dies(std::stoi(ended.output)));

    const Processes::Outcome killed =
        run({.arguments = {"/bin/sh", "-c", "sleep 1000 & echo $!; exec yes"}});
    EXPECT_EQ(killed.end, End::TooLong);
    EXPECT_TRUE(dies(std::stoi(killed.output)));
    EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, AFloodOfOutputIsBounded) {
    const Processes::Outcome flood =
        run({.arguments = {"yes"}, .maxOutputBytes = 100'001, .timeLimit = std::chrono::hours(1)});
    EXPECT_EQ(flood.end, End::TooLong);
    EXPECT_EQ(flood.output.size(), 100'001U);

    // Errors are no reason to end it; they are only cut.
    const Processes::Outcome errors = run({.arguments = {"sh", "-c", "yes | head -c 300000 >&2"},
                                           .maxOutputBytes = 0,
                                           .maxErrorBytes = 10});
    EXPECT_TRUE(errors.isSuccess()) << Processes::description(errors);
    EXPECT_EQ(errors.errors, "y\ny\ny\ny\ny\n");

    // Exactly as much as is allowed, and more than fits into a pipe.
    const Processes::Outcome exact =
        run({.arguments = {"sh", "-c", "yes | head -c 300000"}, .maxOutputBytes = 300'000});
    EXPECT_TRUE(exact.isSuccess()) << Processes::description(exact);
    EXPECT_EQ(exact.output.size(), 300'000U);
}

TEST_F(ProcessesTest, FilesSignalsAndGroupOfOursAreNotInherited) {
    const FileDescriptor file(fcntl(STDERR_FILENO, F_DUPFD, 50));  // stays open in a new program
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    const Processes::Outcome outcome = shell("[ -e /proc/$$/fd/" + std::to_string(file.get()) +
                                             " ] && echo inherited; cat /proc/self/status; "
                                             "echo group $$ $(cut -d' ' -f5 /proc/$$/stat)");
    const Processes::Outcome broken = shell("kill -PIPE $$");
    std::signal(SIGPIPE, handler);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_THAT(outcome.output, Not(HasSubstr("inherited")));
    EXPECT_THAT(outcome.output, HasSubstr("SigBlk:\t0000000000000000\n"));
    EXPECT_EQ(broken.end, End::Signalled) << "a program that writes to nobody has to end";
    const auto group = outcome.output.substr(outcome.output.find("group ") + 6);
    EXPECT_EQ(group.substr(0, group.find(' ')) + "\n", group.substr(group.find(' ') + 1));
}

TEST_F(ProcessesTest, AChildEndsWhenItsCallerIsAskedToStop) {
    std::jthread stopper([this] {
        while (!m_folder.has("running")) std::this_thread::yield();
        m_stop.request_stop();
    });
    const Processes::Command command = {
        .arguments = {"/bin/sh", "-c", "touch '" + m_folder.file("running") + "'; exec sleep 1000"},
        .timeLimit = std::chrono::hours(1)};
    EXPECT_EQ(run(command).end, End::Stopped);
    EXPECT_EQ(run(command).end, End::Stopped) << "asked before it began";
    EXPECT_FALSE(hasChildren());
}

TEST_F(ProcessesTest, ManyThreadsRunChildrenAndEachGetsItsOwnAnswer) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, i] {
            const std::string word = "word" + std::to_string(i);
            const auto outcome = m_processes.run(
                {.arguments = {"/bin/sh", "-c", "echo " + word + "; exit " + std::to_string(i)}},
                {});
            ASSERT_TRUE(outcome.isOk());
            EXPECT_EQ(outcome->output, word + "\n");
            EXPECT_EQ(outcome->status, i);
        });
    }
}

TEST_F(ProcessesTest, ProgramsAreFoundInThePath) {
    EXPECT_THAT(pathOfProgram("sh"), testing::Optional(testing::EndsWith("/sh")));
    EXPECT_EQ(pathOfProgram("there-is-no-such-program"), std::nullopt);
    EXPECT_EQ(pathOfProgram("."), std::nullopt);
}

}  // namespace
}  // namespace siftwell
