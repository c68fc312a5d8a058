#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "base/FileDescriptor.h"
#include "cli/ProgramFixture.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

constexpr int kLongPage = 700;  // words

using testing::HasSubstr;

class InterruptionTest : public ProgramFixture {
protected:
    // What was found first is found still.
    static void expectNothingLost(const std::multiset<std::string>& before,
                                  const std::multiset<std::string>& after) {
        EXPECT_TRUE(std::includes(after.begin(), after.end(), before.begin(), before.end()));
        EXPECT_EQ(std::set<std::string>(after.begin(), after.end()).size(), after.size());
    }
};

TEST_F(InterruptionTest, SearchingBesideARunningAddFindsMoreAndMore) {
    const pid_t add = startSiftwell({"add", manyPages(1000, kLongPage)});
    std::multiset<std::string> before;
    int searches = 0;
    for (; !hasEnded(add); ++searches) {
        const auto now = indexed();
        expectNothingLost(before, now);
        before = now;
        EXPECT_EQ(siftwell({"status", "--json"}).status, 0);
    }
    EXPECT_EQ(wait(add), 0);
    EXPECT_GT(searches, 1);
    EXPECT_EQ(indexed().size(), 1000U);
    expectInOrder();
}

// Between the kills some pages are written anew.
TEST_F(InterruptionTest, AKilledAddLosesNothingThatAnotherProcessSaw) {
    const std::string folder = manyPages(1500, kLongPage);
    std::mt19937 random(20261121);
    std::multiset<std::string> before;
    int killed = 0;
    for (int round = 0; round < shortOrLong(4, 120) && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const pid_t add = startSiftwell({"add", folder});
        waitForGrowth(add, random() % 400'000);
        const auto seen = indexed();
        expectNothingLost(before, seen);
        kill(add, SIGKILL);
        if (wait(add) != 0) ++killed;
        expectInOrder();
        before = indexed();
        expectNothingLost(seen, before);
        for (int i = 0; i < 500; ++i) {
            oneOfMany(static_cast<int>(random() % 1500), kLongPage,
                      "round" + std::to_string(round));
        }
    }
    EXPECT_GT(killed, shortOrLong(0, 60));
    const Outcome last = siftwell({"add", folder});
    EXPECT_EQ(last.status, 0) << last.err;
    const auto all = indexed();
    expectNothingLost(before, all);
    EXPECT_EQ(all.size(), 1500U);
    EXPECT_EQ(linesOf(siftwell({"check", "--json"}))[0]["withoutRecord"], 0);
}

TEST_F(InterruptionTest, AnAddThatIsAskedToEndKeepsWhatItDid) {
    const std::string folder = manyPages(1000, kLongPage);
    for (const int signal : {SIGTERM, SIGINT}) {
        const pid_t add = startSiftwell({"add", folder});
        waitForGrowth(add, 1);
        kill(add, signal);
        const int status = wait(add);
        if (status == 0) continue;  // was done before
        EXPECT_EQ(status, 3);
        EXPECT_THAT(m_home.read("err.started"), HasSubstr("Left off. What was added stays"));
        expectInOrder();
    }
    EXPECT_EQ(siftwell({"add", folder}).status, 0);
    EXPECT_EQ(indexed().size(), 1000U);
}

TEST_F(InterruptionTest, ASearchEndsAtOnceWhenItIsInterrupted) {
    ASSERT_EQ(siftwell({"add", manyPages(600)}).status, 0);
    const std::string pipe = m_home.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const FileDescriptor reader(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
    const pid_t search = start({"search", "--limit", "0", "apple"}, pipe, m_home.file("err"));
    char first = 0;
    ASSERT_EQ(read(reader.get(), &first, 1), 1);  // and no more: the pipe fills up
    kill(search, SIGINT);
    EXPECT_EQ(wait(search), 1000 + SIGINT);
}

TEST_F(InterruptionTest, ProgressIsShownOnATerminalAlone) {
    const std::string folder = manyPages(200);
    const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
    if (grantpt(terminal.get()) != 0 || unlockpt(terminal.get()) != 0) {
        GTEST_SKIP() << "there are no pseudo-terminals here";
    }
    const FileDescriptor kept(open(ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_EQ(wait(start({"add", folder}, "/dev/null", ptsname(terminal.get()))), 0);
    std::string shown(1 << 16, '\0');
    const ssize_t count = read(terminal.get(), shown.data(), shown.size());
    ASSERT_GT(count, 0);
    shown.resize(static_cast<std::size_t>(count));
    EXPECT_THAT(shown, HasSubstr("Scanning: "));
    EXPECT_THAT(shown, HasSubstr("\r\033[K200 pages added"));
    EXPECT_THAT(siftwell({"add", folder}).err, testing::Not(HasSubstr("Scanning")));
}

}  // namespace
}  // namespace siftwell
