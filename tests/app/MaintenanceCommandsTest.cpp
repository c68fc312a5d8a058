#include "app/MaintenanceCommands.h"

#include "ScanCycleFixture.h"

namespace siftwell {
namespace {

class MaintenanceCommandsTest : public ScanCycleFixture {
protected:
    MaintenanceCommands& commands() {
        if (m_commands == nullptr) {
            m_commands = std::make_unique<MaintenanceCommands>(
                MaintenanceCommands::Surroundings{.indexes = store(),
                                                  .cycle = cycle(),
                                                  .preferences = m_preferences,
                                                  .settings = *m_settings,
                                                  .centre = m_centre,
                                                  .mainLoop = m_loop,
                                                  .clock = m_clock});
        }
        return *m_commands;
    }
    // Lets the thread work and timers fire, for a day at most.
    void waitForEnd() {
        const Date end = m_clock.now() + 86'400;
        while (commands().state().isRunning && m_clock.now() < end) {
            m_loop.turn(std::chrono::milliseconds(10));
            std::this_thread::yield();
        }
    }

    std::unique_ptr<MaintenanceCommands> m_commands;
};

TEST_F(MaintenanceCommandsTest, OneCommandAtATimeHasTheIndexToItself) {
    item("a", succeed()).LastScanDate = m_clock.now();
    m_settings->set("LastIndexScanDate", m_clock.now());
    EXPECT_TRUE(commands().clearIndex().isOk());
    EXPECT_EQ(commands().compactIndex().code(), StatusCode::Busy);
    m_loop.turn(std::chrono::milliseconds(0));
    EXPECT_FALSE(store().indexingEnabled());
    EXPECT_FALSE(cycle().tryTakeScanLock());
    waitForEnd();
    EXPECT_TRUE(commands().state().result.isOk());
    EXPECT_EQ(commands().state().ended, 1U);
    EXPECT_TRUE(store().indexingEnabled());
    EXPECT_EQ(stored("a")->LastScanDate, Date::distantPast());
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), Date::distantPast());
    EXPECT_TRUE(cycle().tryTakeScanLock());
    cycle().releaseScanLock();
}

TEST_F(MaintenanceCommandsTest, AScanThatHangsIsWaitedForSomeTime) {
    ASSERT_TRUE(cycle().tryTakeScanLock());  // as a scan does
    EXPECT_TRUE(commands().compactIndex().isOk());
    const Date start = m_clock.now();
    waitForEnd();
    EXPECT_NEAR(m_clock.now() - start, 120, 1);
    EXPECT_EQ(commands().state().result.code(), StatusCode::Busy);
    EXPECT_TRUE(store().indexingEnabled());

    EXPECT_TRUE(commands().compactIndex().isOk());
    EXPECT_TRUE(commands().stop(std::chrono::seconds(1)));
    EXPECT_TRUE(store().indexingEnabled());
    cycle().releaseScanLock();
}

TEST_F(MaintenanceCommandsTest, NothingIsClearedWhenTheAddressesCannotBeKept) {
    const Date scanned = m_clock.now();
    item("a", succeed()).LastScanDate = scanned;
    std::filesystem::permissions(*store().indexFolder(), std::filesystem::perms::owner_read |
                                                             std::filesystem::perms::owner_exec);
    if (geteuid() == 0) std::filesystem::remove_all(*store().indexFolder());
    EXPECT_TRUE(commands().rebuildIndex().isOk());
    waitForEnd();
    EXPECT_FALSE(commands().state().result.isOk());
    EXPECT_EQ(m_preferences.mutableSearchItemsArray().size(), 1U);
    EXPECT_EQ(stored("a")->LastScanDate, scanned);
}

}  // namespace
}  // namespace siftwell
