#include <gmock/gmock.h>

#include <thread>

#include "base/RunLoop.h"

namespace siftwell {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class HeadlessRunLoopTest : public testing::Test {
protected:
    RunLoop::Task note(int entry) {
        return [this, entry] { m_journal.push_back(entry); };
    }
    bool turnUntilNoted(std::size_t entries) {
        return m_loop->turnUntil([&] { return m_journal.size() >= entries; }, 60s);
    }

    std::vector<int> m_journal;
    std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
};

TEST_F(HeadlessRunLoopTest, TasksRunInOrderAndOneThatPostsDoesNotKeepTheTurn) {
    m_loop->post([&] {
        note(1)();
        m_loop->post(note(3));
    });
    m_loop->post(note(2));
    m_loop->turn(1h);
    EXPECT_THAT(m_journal, ElementsAre(1, 2));
    m_loop->turn(1h);
    EXPECT_THAT(m_journal, ElementsAre(1, 2, 3));
}

TEST_F(HeadlessRunLoopTest, TaskMayTurnTheLoop) {
    m_loop->post([&] {
        note(1)();
        m_loop->startTimer(0ms, note(3));
        EXPECT_TRUE(turnUntilNoted(3));
        note(4)();
    });
    m_loop->post(note(2));
    m_loop->turn(1h);
    EXPECT_THAT(m_journal, ElementsAre(1, 2, 3, 4));
}

TEST_F(HeadlessRunLoopTest, TimersFireWhenTheyAreDueUnlessTheyAreCancelled) {
    m_loop->startTimer(3ms, note(3));
    m_loop->startTimer(-5ms, note(1));
    const auto cancelled = m_loop->startTimer(1ms, note(2));
    m_loop->startTimer(std::chrono::milliseconds::max(), note(9));
    m_loop->cancelTimer(cancelled);
    EXPECT_TRUE(turnUntilNoted(2));
    m_loop->cancelTimer(cancelled);
    // One that is due can still be cancelled by a task before it.
    RunLoop::TimerID second = 0;
    m_loop->startTimer(0ms, [&] { m_loop->cancelTimer(second); });
    second = m_loop->startTimer(0ms, note(2));
    m_loop->startTimer(1ms, note(4));
    EXPECT_TRUE(turnUntilNoted(3));
    EXPECT_FALSE(m_loop->turnUntil([] { return false; }, 1ms));
    EXPECT_THAT(m_journal, ElementsAre(1, 3, 4));
}

TEST_F(HeadlessRunLoopTest, PostsOfOtherThreadsWakeIt) {
    std::jthread other([&] {
        EXPECT_FALSE(m_loop->isOwnedByThisThread());
        for (int entry = 0; entry < 500; ++entry) m_loop->post(note(entry));
    });
    while (m_journal.size() < 500) m_loop->turn(std::chrono::milliseconds::max());
}

}  // namespace
}  // namespace siftwell
