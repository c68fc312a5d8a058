// What is written for whoever looks for the cause of something.

#include <gmock/gmock.h>

#include <new>

#include "base/Alerts.h"
#include "base/Exception.h"
#include "base/Timing.h"
#include "base/TopLevelExceptionHandler.h"
#include "support/LoggedLines.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class DiagnosisTest : public testing::Test {
protected:
    LoggedLines m_log;
};

TEST_F(DiagnosisTest, ProgramWithoutWindowsAnswersWhatIsSafeAndSaysSo) {
    LoggedAlerts alerts;
    EXPECT_EQ(alerts.ask({.title = "Really?", .text = "All is lost.", .buttons = {"Yes", "No"}}, 1),
              1U);
    EXPECT_EQ(topLevelExceptionHandler(NamedException("CopyFailed", "why"), alerts), 1);
    EXPECT_EQ(topLevelExceptionHandler(std::bad_alloc(), alerts), 1);
    const std::string rest =
        " Please run /Applications/Utitities/Console to get details about the error and report "
        "them to Velotrin. [OK]";
    EXPECT_THAT(m_log.take(),
                ElementsAre("Really? All is lost. [No]",
                            "Sorry, but an error has occurred (CopyFailed)." + rest,
                            "Sorry, but an error has occurred (std::bad_alloc)." + rest));
}

TEST_F(DiagnosisTest, ProcessorTimeIsThatOfUserAndSystem) {
    rusage start{};
    rusage end{};
    start.ru_utime = {.tv_sec = 10, .tv_usec = 900'000};
    end.ru_utime = {.tv_sec = 12, .tv_usec = 100'000};
    start.ru_stime = {.tv_sec = 1, .tv_usec = 999'999};
    end.ru_stime = {.tv_sec = 2, .tv_usec = 0};
    EXPECT_DOUBLE_EQ(processorSeconds(start, end), 1.200001);
    StartTiming();
    StopTiming("scan");
    EXPECT_THAT(m_log.take(), ElementsAre(MatchesRegex("scan: [0-9]+\\.[0-9]{6}")));
}

}  // namespace
}  // namespace siftwell
