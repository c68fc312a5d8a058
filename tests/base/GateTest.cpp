#include "base/Gate.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <vector>

namespace siftwell {
namespace {

using testing::ElementsAre;

// A thread of which a test can tell that it waits.
class Worker {
public:
    explicit Worker(std::function<void()> work)
        : m_thread([this, work = std::move(work)] {
              m_id = gettid();
              work();
          }) {}

    void waitUntilBlocked() const {
        while (state() != 'S') std::this_thread::yield();
    }
    void join() { m_thread.join(); }

private:
    char state() const {
        std::string line;
        std::getline(std::ifstream("/proc/self/task/" + std::to_string(m_id) + "/stat"), line);
        const std::size_t end = line.rfind(") ");
        return end == std::string::npos ? '?' : line[end + 2];
    }

    std::atomic<int> m_id = 0;
    std::jthread m_thread;
};

TEST(GateTest, HolderEntersAgainAndOthersWaitForItsLastLeaving) {
    Gate gate;
    gate.enter();
    EXPECT_TRUE(gate.tryEnter());
    EXPECT_TRUE(gate.isHeldByThisThread());
    Worker other([&] {
        EXPECT_FALSE(gate.tryEnter());
        const GateHold hold(gate);
        EXPECT_TRUE(gate.isHeldByThisThread());
    });
    other.waitUntilBlocked();
    gate.leave();
    EXPECT_TRUE(gate.isHeldByThisThread());
    gate.leave();
    other.join();
    EXPECT_FALSE(gate.isHeld());
}

TEST(GateTest, PassingThroughWaitsForAnotherHolderAndTakesNothing) {
    Gate gate;
    gate.passThrough();
    gate.enter();
    gate.passThrough();
    Worker other([&] { gate.passThrough(); });
    other.waitUntilBlocked();
    gate.leave();
    other.join();
    EXPECT_FALSE(gate.isHeld());
}

TEST(SharedGateTest, WaitingWriterGoesBeforeNewSharersButNotBeforeThoseInside) {
    SharedGate gate;
    std::vector<std::string> journal;  // guarded by the gate alone
    gate.enterShared();
    Worker writer([&] {
        const ExclusiveHold hold(gate);
        EXPECT_EQ(gate.holders(), 1);
        journal.emplace_back("writer");
    });
    writer.waitUntilBlocked();
    Worker sharer([&] {
        const SharedHold hold(gate);
        journal.emplace_back("sharer");
    });
    sharer.waitUntilBlocked();
    gate.enterShared();
    journal.emplace_back("inside again");
    gate.leaveShared();
    gate.leaveShared();
    writer.join();
    sharer.join();
    EXPECT_THAT(journal, ElementsAre("inside again", "writer", "sharer"));
    EXPECT_EQ(gate.holders(), 0);
}

TEST(SharedGateTest, ExclusiveHolderEntersAgainEitherWayAndLeavesInAnyOrder) {
    SharedGate gate;
    gate.enterExclusive();
    gate.enterExclusive();
    gate.enterShared();
    gate.leaveExclusive();
    gate.leaveExclusive();
    Worker other([&] { const SharedHold hold(gate); });
    other.waitUntilBlocked();
    gate.leaveShared();
    other.join();
}

TEST(GateDeathTest, MisuseEndsTheProgramWithAMessage) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Gate gate;
    EXPECT_DEATH(gate.leave(), "left by a thread that does not hold it");
    SharedGate shared;
    EXPECT_DEATH(shared.leaveShared(), "left by a thread that is not inside");
    const SharedHold hold(shared);
    EXPECT_DEATH(shared.enterExclusive(), "cannot become exclusive");
}

}  // namespace
}  // namespace siftwell
