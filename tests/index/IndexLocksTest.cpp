#include "index/IndexLocks.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;

TEST(DocumentCounterTest, IsNeverBelowZeroAndSaysWhatItWouldBe) {
    DocumentCounter counter;
    EXPECT_EQ(counter.add(5), 5);
    EXPECT_EQ(counter.add(-7), -2);
    EXPECT_EQ(counter.value(), 0);
    EXPECT_EQ(counter.set(-3), -3);
    EXPECT_EQ(counter.value(), 0);
}

using IndexLocksTest = IndexFixture;

TEST_F(IndexLocksTest, GateStartsClosedAndTellsOnlyOfItsFirstClosingAndLastOpening) {
    IndexingGate gate(m_centre);
    EXPECT_FALSE(gate.isEnabled());
    EXPECT_FALSE(gate.disable());
    gate.enable();
    EXPECT_FALSE(gate.isEnabled());
    gate.enable();
    EXPECT_TRUE(gate.isEnabled());
    gate.enable();
    EXPECT_EQ(gate.reasons(), 0);
    EXPECT_TRUE(
        isLogged("[IndexController enableIndexing] attempted to enable indexing when it "
                 "was already enabled."));
    EXPECT_TRUE(gate.disable());
    EXPECT_FALSE(gate.disable());
    m_loop.drain();
    EXPECT_THAT(m_toggles, ElementsAre(true, false));
}

TEST_F(IndexLocksTest, EnumerationsTakeTurnsAndOneThatIsAloneGoesOn) {
    IndexLocks locks;
    std::vector<int> journal;
    std::thread second;
    {
        const ScanLock::Turn turn(locks.scanLock());
        EXPECT_TRUE(locks.continueEnumerating());
        second = std::thread([&] {
            const ScanLock::Turn next(locks.scanLock());
            EXPECT_TRUE(locks.continueEnumerating());
            journal.push_back(2);
        });
        while (locks.continueEnumerating()) std::this_thread::yield();
        EXPECT_EQ(locks.scanLock().count(), 2);
        journal.push_back(1);
    }
    second.join();
    EXPECT_THAT(journal, ElementsAre(1, 2));
    EXPECT_EQ(locks.scanLock().count(), 0);
    EXPECT_FALSE(locks.continueEnumerating());
}

TEST_F(IndexLocksTest, WhoWaitsPatientlyBreaksNothingOffAndMayGiveUp) {
    IndexLocks locks;
    std::stop_source ending;
    std::thread waiting;
    {
        const ScanLock::Turn turn(locks.scanLock());
        waiting = std::thread([&] {
            const ScanLock::Turn next(locks.scanLock(), ending.get_token());
            EXPECT_TRUE(next.isTaken());
            EXPECT_TRUE(locks.continueEnumerating());
        });
        for (int i = 0; i < 100; ++i) {
            std::this_thread::yield();
            EXPECT_TRUE(locks.continueEnumerating());
        }
    }
    waiting.join();
    {
        const ScanLock::Turn turn(locks.scanLock());
        waiting = std::thread([&] {
            const ScanLock::Turn next(locks.scanLock(), ending.get_token());
            EXPECT_FALSE(next.isTaken());
        });
        ending.request_stop();
        waiting.join();
        EXPECT_EQ(locks.scanLock().count(), 1);
    }
    EXPECT_EQ(locks.scanLock().count(), 0);
}

TEST_F(IndexLocksTest, ScanMayStartOnlineWithOpenGateAndNobodyEnumerating) {
    EXPECT_TRUE(store().readyToIndex());
    EXPECT_EQ(m_network.asked, 1);
    m_network.isOnline = false;
    EXPECT_FALSE(store().readyToIndex());
    EXPECT_EQ(m_network.asked, 3);
    m_network.isOnline = true;
    store().disableIndexing();
    EXPECT_FALSE(store().readyToIndex());
    store().enableIndexing();

    m_centre.post("SiftwellIndexerProgressStartNotification",
                  PropertyList::Dictionary{{"source", "x"}, {"count", 12}});
    m_centre.post("SiftwellIndexerProgressStartNotification", "no dictionary");
    EXPECT_EQ(store().pendingDocumentCount(), 12);
}

}  // namespace
}  // namespace siftwell
