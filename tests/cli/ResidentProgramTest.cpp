// The program that stays, as a user's session starts and ends it.

#include "cli/ResidentFixture.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using ResidentProgramTest = ResidentFixture;

TEST_F(ResidentProgramTest, HelpPagesAreFoundSoonAfterTheFirstStart) {
    m_isFresh = true;
    const pid_t resident = startResident();
    waitUntil([this] { return siftwell({"search", "fragments"}).status == 0; });
    EXPECT_THAT(siftwell({"search", "fragments"}).out, HasSubstr("search-types.html"));
    EXPECT_LT(endBy(resident), 2.0);
    EXPECT_EQ(m_home.read("resident.err"), "");
    expectInOrder();
}

TEST_F(ResidentProgramTest, OfTwoCopiesStartedAtOnceOneStays) {
    for (int round = 0; round < shortOrLong(5, 100); ++round) {
        const pid_t first = startResident("first");
        const pid_t second = startResident("second");
        waitUntil([&] { return hasEnded(first) || hasEnded(second); });
        const bool isFirstTheLoser = hasEnded(first);
        EXPECT_EQ(wait(isFirstTheLoser ? first : second), 5) << "round " << round;
        EXPECT_LT(endBy(isFirstTheLoser ? second : first), 5);
    }
}

TEST_F(ResidentProgramTest, CopyThatIsToReplaceAnotherAsksItToEnd) {
    const pid_t first = startResident("first");
    waitUntilServing();
    const pid_t second = startResident("second", {"--replace"});
    EXPECT_EQ(wait(first), 0);
    waitUntilServing();
    EXPECT_EQ(statusOfCopy()["runningCopy"], second);
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    EXPECT_EQ(wait(second), 0);
    EXPECT_EQ(siftwell({"quit"}).status, 0);  // there is none any more
}

TEST_F(ResidentProgramTest, EndInTheMiddleOfAScanKeepsWhatWasAddedAndOffersTheRestAgain) {
    const std::string folder = manyPages(3000, 400);
    const pid_t resident = startServing();
    ASSERT_EQ(siftwell({"add", "--no-scan", folder}).status, 0);
    const pid_t scan = startSiftwell({"scan", "--offline"});
    waitUntil([this] { return sizeOfIndex() > 10'000; });  // pages, not only a header
    EXPECT_LT(endBy(resident), 2.0);
    wait(scan);
    expectInOrder();
    EXPECT_GT(indexed().size(), 0U);
    EXPECT_EQ(siftwell({"scan", "--offline"}).status, 0);
    EXPECT_EQ(indexed().size(), 3000U);
}

TEST_F(ResidentProgramTest, WorksOnTheIndexWhenACommandAsksForIt) {
    page("notes/a.html", "Alpha", "apple");
    page("notes/b.html", "Beta", "apple");
    EXPECT_EQ(add({"notes"}).status, 0);
    const pid_t resident = startResident();
    waitUntilServing();
    EXPECT_EQ(siftwell({"remove", m_home.file("notes/b.html")}).status, 0);
    expectFailure({"remove", m_home.file("notes/b.html")}, 3, "is not in the index");
    EXPECT_EQ(siftwell({"dump", m_home.file("list.html")}).status, 0);
    EXPECT_THAT(m_home.read("list.html"), HasSubstr("a.html"));
    expectFailure({"dump", m_home.file("missing/list.html")}, 3, "missing");
    EXPECT_EQ(siftwell({"clear", "--yes"}).status, 0);
    EXPECT_EQ(indexed().size(), 0U);
    endBy(resident, SIGTERM);
    EXPECT_EQ(m_home.read("resident.err"), "");
}

TEST_F(ResidentProgramTest, CommandsGoThroughTheRunningCopy) {
    const pid_t resident = startServing();
    page("notes/a.html", "Alpha", "apple");
    const auto status = statusOfCopy();
    EXPECT_EQ(status["runningCopy"], resident);
    EXPECT_EQ(status["activity"]["networkDown"].is_boolean(), true);
    EXPECT_THAT(siftwell({"status"}).out, HasSubstr("To come: "));

    const Outcome added = siftwell({"add", m_home.file("notes")});
    EXPECT_EQ(added.status, 0) << added.err;
    EXPECT_THAT(added.err, HasSubstr("1 page added"));
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    expectSuccess({"sources", "disable", "Safari History"});
    expectSuccess({"filters", "add", "/private/"});
    expectSuccess({"defaults", "write", "DaysToSearch", "7"});
    expectSuccess({"remove", m_home.file("notes/a.html")});
    EXPECT_THAT(titles({"apple"}), IsEmpty());
    expectFailure({"remove", m_home.file("notes/a.html")}, 3, "is not in the index.");
    expectFailure({"scan"}, 3, "siftwell scan --offline");
    expectFailure({"run"}, 5, "");

    expectSuccess({"quit"});
    EXPECT_EQ(wait(resident), 0) << m_home.read("resident.err");
    EXPECT_EQ(source("Safari History")["index"], false);
    EXPECT_EQ(setting("DaysToSearch")["value"], 7);
    EXPECT_EQ(linesOf(siftwell({"filters", "--json"})).back()["filter"], "/private/");
    EXPECT_THAT(siftwell({"quit"}).err, HasSubstr("Siftwell is not running."));
}

TEST_F(ResidentProgramTest, WhoWatchesAScanThereLeavesItAlone) {
    const pid_t resident = startServing();
    const std::string folder = manyPages(1500, 700);
    const pid_t watching =
        start({"add", folder}, m_home.file("out.watch"), m_home.file("err.watch"));
    while (sizeOfIndex() == 0 && !hasEnded(watching)) std::this_thread::yield();
    kill(watching, SIGINT);
    const int status = wait(watching);
    EXPECT_THAT(status, testing::AnyOf(0, 3)) << m_home.read("err.watch");  // 0: it was done before
    if (status == 3) EXPECT_THAT(m_home.read("err.watch"), HasSubstr("The running copy goes on"));
    expectSuccess({"scan", "--offline"});  // follows the one that runs
    EXPECT_EQ(indexed().size(), 1500U);
    endBy(resident);
}

}  // namespace
}  // namespace siftwell
