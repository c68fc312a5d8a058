// The program that stays, as a user's session starts and ends it.

#include "app/bus/BusFixture.h"
#include "cli/ProgramFixture.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

class ResidentProgramTest : public ProgramFixture {
protected:
    ResidentProgramTest() {
        m_variables["DBUS_SESSION_BUS_ADDRESS"] = m_bus.address();
        m_variables["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nowhere";
        m_variables["SIFTWELL_ONLINE"] = "no";
    }

    pid_t startResident(const std::string& name = "resident", const Arguments& more = {}) {
        Arguments arguments = {"run"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return start(arguments, m_home.file(name + ".out"), m_home.file(name + ".err"));
    }
    // Until the condition holds; false after a minute.
    template <typename Condition>
    static bool comesTrue(Condition condition) {
        for (int i = 0; i < 6000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    void waitUntilServing() {
        EXPECT_TRUE(comesTrue([this] {
            return linesOf(siftwell({"status", "--json"})).back()["activity"]["indexingEnabled"] ==
                   true;
        }));
    }
    static double endBy(pid_t process, int signal) {
        const auto start = Clock::now();
        kill(process, signal);
        EXPECT_EQ(wait(process), 0);
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    TestBus m_bus{"SIFTWELL_TEST_BUS"};
};

TEST_F(ResidentProgramTest, HelpPagesAreFoundSoonAfterTheFirstStart) {
    m_isFresh = true;
    const pid_t resident = startResident();
    EXPECT_TRUE(comesTrue([this] { return siftwell({"search", "fragments"}).status == 0; }));
    EXPECT_THAT(siftwell({"search", "fragments"}).out, HasSubstr("search-types.html"));
    EXPECT_LT(endBy(resident, SIGTERM), 2.0);
    EXPECT_EQ(m_home.read("resident.err"), "");
    expectInOrder();
}

TEST_F(ResidentProgramTest, OfTwoCopiesStartedAtOnceOneStays) {
    for (int round = 0; round < shortOrLong(5, 100); ++round) {
        const pid_t first = startResident("first");
        const pid_t second = startResident("second");
        ASSERT_TRUE(comesTrue([&] { return hasEnded(first) || hasEnded(second); }));
        const bool isFirstTheLoser = hasEnded(first);
        EXPECT_EQ(wait(isFirstTheLoser ? first : second), 5) << "round " << round;
        EXPECT_EQ(endBy(isFirstTheLoser ? second : first, SIGTERM) < 5, true);
    }
}

TEST_F(ResidentProgramTest, CopyThatIsToReplaceAnotherAsksItToEnd) {
    const pid_t first = startResident("first");
    waitUntilServing();
    const pid_t second = startResident("second", {"--replace"});
    EXPECT_EQ(wait(first), 0);
    waitUntilServing();
    EXPECT_EQ(linesOf(siftwell({"status", "--json"})).back()["runningCopy"], second);
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    EXPECT_EQ(wait(second), 0);
    EXPECT_EQ(siftwell({"quit"}).status, 0);  // there is none any more
}

TEST_F(ResidentProgramTest, EndInTheMiddleOfAScanKeepsWhatWasAddedAndOffersTheRestAgain) {
    const std::string folder = manyPages(3000, 400);
    const pid_t resident = startResident();
    waitUntilServing();
    ASSERT_EQ(siftwell({"add", "--no-scan", folder}).status, 0);
    const pid_t scan = startSiftwell({"scan", "--offline"});
    EXPECT_TRUE(comesTrue([this] { return sizeOfIndex() > 0; }));
    EXPECT_LT(endBy(resident, SIGTERM), 2.0);
    wait(scan);
    expectInOrder();
    EXPECT_GT(indexed().size(), 0U);
    EXPECT_EQ(siftwell({"scan", "--offline"}).status, 0);
    EXPECT_EQ(indexed().size(), 3000U);
}

}  // namespace
}  // namespace siftwell
