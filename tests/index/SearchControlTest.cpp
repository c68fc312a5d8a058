#include "index/SearchControl.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using std::chrono::seconds;

class SearchControlTest : public IndexFixture {
protected:
    bool othersMustWait() {
        bool answer = false;
        std::thread([&] { answer = store().cancelForPriorityThread(); }).join();
        return answer;
    }
    void pass(seconds time) {
        const Date end = m_clock.now() + static_cast<double>(time.count());
        while (m_clock.now() < end) m_loop.turn(time);
    }
};

TEST_F(SearchControlTest, OthersWaitForASearchAndTheIdlePeriodBehindIt) {
    add("http://host/page", "word");
    EXPECT_TRUE(store().currentSearch().isNone());
    const RunningSearches first = store().startSearch(std::nullopt, "word");
    EXPECT_EQ(store().currentSearch().running, first);
    EXPECT_TRUE(othersMustWait());
    store().yieldForPriorityThread();
    store().finishSearchAfterIdlePeriod(seconds(10));
    EXPECT_TRUE(store().currentSearch().isIdle);
    EXPECT_EQ(store().currentSearch().running, nullptr);
    pass(seconds(9));
    EXPECT_TRUE(othersMustWait());
    const auto cancelled = first->front().search->findMatches(10, seconds(1));
    EXPECT_TRUE(cancelled && cancelled->hits.empty());

    // A search within the period keeps the priority; its old timer is no more.
    const RunningSearches second = store().startSearch(std::nullopt, "word");
    pass(seconds(20));
    EXPECT_EQ(store().currentSearch().running, second);
    EXPECT_TRUE(othersMustWait());
    store().finishSearchAfterIdlePeriod(seconds(10));
    store().finishSearchAfterIdlePeriod(seconds(10));
    pass(seconds(11));
    EXPECT_TRUE(store().currentSearch().isNone());
    EXPECT_FALSE(othersMustWait());
    EXPECT_EQ(m_loop.pendingTimers(), 0U);
}

TEST_F(SearchControlTest, SearchThatIsEndedAtOnceOrReplacedLeavesNothingBehind) {
    add("http://host/page", "word");
    const RunningSearches first = store().startSearch(std::nullopt, "word");
    const RunningSearches second = store().startSearch(std::nullopt, "word");
    EXPECT_TRUE(first->front().search->findMatches(10, seconds(1))->hits.empty());
    EXPECT_EQ(second->front().search->findMatches(10, seconds(1))->hits.size(), 1U);
    const RunningSearches none = store().startSearch(std::nullopt, "");
    EXPECT_TRUE(none->empty());
    EXPECT_EQ(store().currentSearch().running, none);
    EXPECT_TRUE(othersMustWait());
    store().finishSearchAfterIdlePeriod(seconds(0));
    EXPECT_FALSE(othersMustWait());
    store().finishSearchAfterIdlePeriod(seconds(0));
    store().finishSearchAfterIdlePeriod(seconds(10));
    EXPECT_EQ(m_loop.pendingTimers(), 0U);
    EXPECT_TRUE(store().currentSearch().isNone());
}

}  // namespace
}  // namespace siftwell
