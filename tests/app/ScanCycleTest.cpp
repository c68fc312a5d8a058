#include "ScanCycleFixture.h"

#include <set>
#include <stdexcept>

#include "base/Faults.h"

namespace siftwell {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr double kMinute = 60;
constexpr double kDay = 86'400;

class ScanCycleTest : public ScanCycleFixture {
protected:
    // An item whose scans are counted, with the dates from which it was asked to scan.
    SearchItem& counted(const std::string& name) {
        return item(name, [this](SearchItemRecord& record) {
            ++m_scans;
            record.change([this](SearchItem& each) {
                MutexLock lock(m_datesMutex);
                m_dates.insert(*each.LastScanDate);
                each.ScanResult = 0;
            });
        });
    }
    // An item that succeeds when it may end.
    SearchItem& slow(const std::string& name) {
        return item(name, [this](SearchItemRecord& record) {
            ++m_scans;
            while (!m_mayEnd) std::this_thread::yield();
            record.change([this](SearchItem& each) {
                each.LastScanDate = m_clock.now();
                each.ScanResult = 0;
            });
        });
    }
    void beginScan() {
        cycle().indexNow();
        while (m_scans == 0) std::this_thread::yield();
    }

    std::atomic<int> m_scans = 0;
    std::atomic<bool> m_mayEnd = false;
    Mutex m_datesMutex;
    std::multiset<Date> m_dates SW_GUARDED_BY(m_datesMutex);
};

// ---- When scans happen

TEST_F(ScanCycleTest, ScansFollowEachOtherAtTheIntervalOfTheUser) {
    counted("A");
    m_settings->set("MinutesBetweenScans", 30);
    cycle().startTimer(std::chrono::minutes(30));
    live(30 * kMinute - 1);
    EXPECT_EQ(m_scans, 0);
    live(3 * kDay - 30 * kMinute + 1);
    EXPECT_EQ(m_scans, 3 * 24 * 2);
    EXPECT_EQ(m_scansTold, m_scans);
    EXPECT_EQ(m_updateChecks, m_scans);
    EXPECT_EQ(m_cachePurges, 3);
    m_settings->set("MinutesBetweenScans", 0.5);
    cycle().takeInterval();
    m_scans = 0;
    live(kMinute);
    EXPECT_EQ(m_scans, 2);
    for (const char* never : {"0.01", "0", "-5", "nonsense"}) {
        m_settings->set("MinutesBetweenScans", never);
        scan();
        m_scans = 0;
        EXPECT_EQ(m_loop.pendingTimers(), 0U) << never;
    }
}

TEST_F(ScanCycleTest, ScanThatIsDueWhileOneRunsFollowsIt) {
    slow("Slow");
    m_settings->set("MinutesBetweenScans", 0);
    beginScan();
    for (int i = 0; i < 5; ++i) {
        m_loop.turn(std::chrono::seconds(10));
        cycle().indexNow();  // again and again
    }
    EXPECT_EQ(cycle().endedScans(), 0U);
    EXPECT_EQ(cycle().nextScan(), m_clock.now() + 10);
    EXPECT_THAT(cycle().runningItems().names(), ElementsAre("Slow"));
    m_mayEnd = true;
    live(1);
    EXPECT_EQ(m_scans, 2);
    EXPECT_THAT(cycle().runningItems().names(), IsEmpty());
}

TEST_F(ScanCycleTest, SleepCancelsTheTimerAndWakingGivesAWholeInterval) {
    counted("A");
    cycle().willSleep();  // nothing was pending
    cycle().didWake();
    EXPECT_EQ(m_loop.pendingTimers(), 0U);
    cycle().startTimer(std::chrono::seconds(60));
    live(50);
    cycle().willSleep();
    live(8 * 3600);
    EXPECT_EQ(m_scans, 0);
    cycle().didWake();
    live(59);
    EXPECT_EQ(m_scans, 0);
    live(2);
    EXPECT_EQ(m_scans, 1);
}

TEST_F(ScanCycleTest, UserIsWarnedOncePerOutageOfTheNetwork) {
    counted("A");
    m_network.isOnline = false;
    scan();
    live(5 * kMinute);
    EXPECT_THAT(m_alerts.titles, ElementsAre("Siftwell cannot access the Internet"));
    EXPECT_EQ(m_scans, 0);
    EXPECT_TRUE(cycle().isNetworkDown());
    m_network.isOnline = true;
    live(kMinute);
    EXPECT_EQ(m_scans, 1);
    m_network.isOnline = false;
    m_alerts.answer = 1;  // "Don't remind me again"
    live(kMinute);
    EXPECT_THAT(m_alerts.titles, SizeIs(2));
    m_network.isOnline = true;
    live(kMinute);
    m_network.isOnline = false;
    live(kMinute);
    EXPECT_THAT(m_alerts.titles, SizeIs(2));
}

TEST_F(ScanCycleTest, BusyNetworkPutsTheScanOff) {
    counted("A");
    m_activity.note(30'000);
    m_activity.note(15'000);  // half, but little
    scan();
    EXPECT_EQ(m_scans, 1);
    m_activity.note(20'000);
    scan();
    EXPECT_EQ(m_scans, 1);
    EXPECT_TRUE(isLogged(
        "Delaying indexing because the network is busy (network activity = 20000 / 30000)"));
    EXPECT_EQ(m_scansTold, 1);
    live(kMinute);
    EXPECT_EQ(m_scans, 1);  // still busy at the next timer
    m_activity.note(0);
    live(kMinute);
    EXPECT_EQ(m_scans, 2);
}

TEST_F(ScanCycleTest, LocalSourcesAreScannedWithoutANetworkAndThatIsNoScanOfEverything) {
    counted("A");
    SearchItem& help = counted("Help");
    help.Indexer = "LocalFiles";
    m_scripts["LocalFiles"] = m_scripts["Help"];
    m_network.isOnline = false;
    cycle().performRescan(ScanCycle::Scope::LocalSources);
    waitForScan();
    EXPECT_EQ(m_scans, 1);
    EXPECT_TRUE(cycle().wasLastScanComplete());
    EXPECT_THAT(m_alerts.titles, IsEmpty());
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), Date::distantPast());
    EXPECT_EQ(m_settings->date("LastExpirationScanDate"), Date::distantPast());
}

TEST_F(ScanCycleTest, ClosedGateEndsTheScanAtOnceAndItDoesNotCount) {
    counted("A");
    store().disableIndexing();
    scan();
    EXPECT_EQ(m_scans, 0);
    EXPECT_EQ(m_scansTold, 0);
    EXPECT_EQ(m_updateChecks, 0);
    EXPECT_FALSE(cycle().wasLastScanComplete());
    EXPECT_EQ(m_loop.pendingTimers(), 1U);  // the next one comes nevertheless
    store().enableIndexing();
}

// ---- From which date

TEST_F(ScanCycleTest, FirstScanReadsEverythingAndLaterOnesFromTheLastScanOn) {
    counted("Expires").Expire = true;
    const Date first = m_clock.now();
    scan();
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), first);
    m_clock.advance(kDay);
    m_scripts.erase("Expires");
    m_preferences.setMutableSearchItemsArray({});
    counted("Newer").LastScanDate = m_clock.now();  // would miss what came during the last scan
    counted("Never").LastScanDate.reset();
    SearchItem& old = counted("Old");
    old.LastScanDate = first - 1000 * kDay;
    old.Expire = true;
    scan();
    MutexLock lock(m_datesMutex);
    EXPECT_THAT(m_dates, ElementsAre(Date::distantPast(), Date::distantPast(),
                                     first + kDay - 60 * kDay, first));
}

TEST_F(ScanCycleTest, OldPagesExpireOnceADayAndTheIndexIsCompactedWhenManyWent) {
    counted("Pages").Expire = true;
    for (int i = 0; i < 120; ++i) {
        add("http://old/" + std::to_string(i), "ancient words", "Pages", 1000);
    }
    add("http://new/", "fresh words", "Pages", m_clock.now().secondsSinceReference());
    scan();
    EXPECT_EQ(store().documentCount(), 1);
    EXPECT_EQ(store().deletedDocumentCount(), 0);  // compacted
    const auto expired = m_settings->date("LastExpirationScanDate");
    m_clock.advance(kDay);
    add("http://old/", "ancient words", "Pages", 1000);
    scan();
    EXPECT_EQ(m_settings->date("LastExpirationScanDate"), expired);
    m_clock.advance(1);
    scan();
    EXPECT_EQ(store().documentCount(), 1);
    EXPECT_EQ(store().deletedDocumentCount(), 1);  // too few to be worth it
}

TEST_F(ScanCycleTest, NoDayAtAllIsNoAgeToExpireAt) {
    add("http://yesterday/", "word", "Pages", m_clock.now().secondsSinceReference() - kDay);
    counted("Pages").Expire = true;
    for (const char* days : {"0", "-5", "nonsense"}) {
        m_settings->set("DaysToSearch", days);
        m_clock.advance(kDay + 1);
        scan();
        EXPECT_EQ(store().documentCount(), 1) << days;
    }
}

// ---- What becomes of an item

TEST_F(ScanCycleTest, SuccessStoresWhatWasLearnedAndSwitchesOffWhatIsScannedOnce) {
    item("Often", [this](SearchItemRecord& record) {
        record.change([this](SearchItem& each) {
            each.ScanResult = 0;
            each.LastScanDate = m_clock.now();
            each.LastURLDate = Date::fromReference(5);
            each.ProcessName = "a process";
        });
        EXPECT_EQ(cycle().runningItems().itemForProcess("a process")->Name, "Often");
        EXPECT_EQ(cycle().runningItems().itemForProcess("another"), std::nullopt);
    });
    item("Once", succeed()).IndexOnce = true;
    item("OnceButFailed", fail("CopyFailed")).IndexOnce = true;
    scan();
    EXPECT_EQ(stored("Often")->LastScanDate, m_clock.now());
    EXPECT_EQ(stored("Often")->LastURLDate, Date::fromReference(5));
    EXPECT_EQ(stored("Often")->ProcessName, std::nullopt);
    EXPECT_TRUE(stored("Often")->Index);
    EXPECT_FALSE(stored("Once")->Index || stored("Once")->IndexOnce);
    EXPECT_TRUE(stored("OnceButFailed")->IndexOnce);
    EXPECT_EQ(searchItemsIn(m_settings->array("SearchItems")),
              m_preferences.mutableSearchItemsArray());
}

TEST_F(ScanCycleTest, EachFailureHasItsMessageItsResultAndSwitchesItsItemOff) {
    item("Web Cache", fail("InvalidPath", "The path \"/x\" does not exist."));
    item("Copied", fail("CopyFailed", "The disk is full."));
    item("Odd", [](SearchItemRecord&) { throw std::out_of_range("odd"); });
    item("Fine", succeed());
    item("Foreign", succeed()).Indexer = "NoSuchClass";
    scan();
    std::vector<std::string> reports = takeReports();
    std::sort(reports.begin(), reports.end());
    ASSERT_THAT(reports, SizeIs(4));
    EXPECT_THAT(reports[0],
                HasSubstr("Indexing of Copied failed because a file could not be copied. (The disk "
                          "is full.\n\nThis search item has been turned off."));
    EXPECT_THAT(
        reports[1],
        HasSubstr("Indexing of Odd failed due to an unexpected error (std::out_of_range)."));
    EXPECT_THAT(reports[2],
                HasSubstr("Indexing of Web Cache failed because of a configuration error. (The "
                          "path \"/x\" does not exist.\n\nThis search item"));
    EXPECT_THAT(reports[2], HasSubstr("the path for Web Cache and changing it"));
    EXPECT_THAT(reports[3],
                HasSubstr("Unknown indexer class \"NoSuchClass\" (Your Siftwell preference file is "
                          "probably damaged.  Please try removing"));
    std::sort(m_severities.begin(), m_severities.end());
    EXPECT_THAT(m_severities, ElementsAre(5, 6, 6, 6));
    EXPECT_EQ(stored("Web Cache")->ScanResult, 3);
    EXPECT_EQ(stored("Copied")->ScanResult, 4);
    EXPECT_EQ(stored("Odd")->ScanResult, 6);
    EXPECT_EQ(stored("Foreign")->ScanResult, 3);
    EXPECT_FALSE(stored("Web Cache")->Index || stored("Copied")->Index || stored("Odd")->Index);
    EXPECT_TRUE(stored("Fine")->Index && stored("Foreign")->Index);
    EXPECT_EQ(m_scansTold, 1);
}

TEST_F(ScanCycleTest, FaultOfAnIndexerEndsItsItemAlone) {
    if (!canThrowFaults()) GTEST_SKIP() << "this build cannot throw faults";
    installFaultHandlers();
    item("Wild", [](SearchItemRecord&) {
        volatile int* const nowhere = nullptr;
        *nowhere = 1;
    });
    item("Fine", succeed());
    scan();
    EXPECT_THAT(takeReports(), ElementsAre(HasSubstr("Indexing of Wild failed due to an unexpected "
                                                     "error (SIGSEGV).")));
    EXPECT_FALSE(stored("Wild")->Index);
    EXPECT_EQ(stored("Fine")->ScanResult, 0);
    EXPECT_TRUE(isLogged("ItemScan"));  // on the way to where it was
}

TEST_F(ScanCycleTest, FailedScanLeavesTheDatesAsTheyWere) {
    for (const auto& [name, result] : {std::pair("CopyFailed", 4), std::pair("Odd", 6)}) {
        item(name, [this, name = name](SearchItemRecord& record) {
            record.change([this](SearchItem& each) { each.LastScanDate = m_clock.now(); });
            throw NamedException(name, "Half read.");
        }).LastScanDate = Date::fromReference(7);
        scan();
        EXPECT_EQ(stored(name)->ScanResult, result);
        EXPECT_EQ(stored(name)->LastScanDate, Date::fromReference(7));
    }
}

TEST_F(ScanCycleTest, OneBadPathAfterASuccessPassesInSilence) {
    item("Volume", fail("InvalidPath")).ScanResult = 0;
    scan();
    EXPECT_THAT(takeReports(), IsEmpty());
    EXPECT_EQ(stored("Volume")->ScanResult, 6);
    EXPECT_TRUE(stored("Volume")->Index);
    scan();
    EXPECT_THAT(takeReports(), SizeIs(1));
    EXPECT_EQ(stored("Volume")->ScanResult, 3);
    EXPECT_FALSE(stored("Volume")->Index);
}

TEST_F(ScanCycleTest, WhatTheUserChangesDuringAScanStays) {
    for (const char* name : {"Deleted", "Renamed", "Edited", "Reset"}) {
        slow(name).LastScanDate = Date::fromReference(1);
    }
    beginScan();
    auto& items = m_preferences.mutableSearchItemsArray();
    items[3].LastScanDate = Date::distantPast();
    items[2].Search = false;
    items[1].Name = "Other";
    items.erase(items.begin());
    m_mayEnd = true;
    waitForScan();
    EXPECT_EQ(stored("Deleted"), nullptr);
    EXPECT_EQ(stored("Renamed"), nullptr);
    EXPECT_EQ(stored("Other")->ScanResult, std::nullopt);
    EXPECT_FALSE(stored("Edited")->Search);
    EXPECT_EQ(stored("Edited")->LastScanDate, m_clock.now());
    EXPECT_EQ(stored("Reset")->LastScanDate, Date::distantPast());
    EXPECT_EQ(stored("Reset")->ScanResult, 0);
}

TEST_F(ScanCycleTest, TemporaryItemGoesWithItsFileOnceItIsAWeekOld) {
    const auto temporary = [this](const std::string& name, std::optional<double> age) {
        SearchItem& added = item(name, succeed());
        m_folder.write(name, "list");
        added.Path = m_folder.file(name);
        added.Delete = added.IndexOnce = true;
        if (age) added.CreationDate = m_clock.now() - *age;
    };
    temporary("yesterday.html", kDay);
    temporary("old.html", 8 * kDay);
    temporary("undated.html", std::nullopt);
    m_folder.write("failed.html", "list");
    temporary("failed.html", 8 * kDay);
    m_scripts["failed.html"] = fail("CopyFailed");
    scan();
    EXPECT_TRUE(stored("yesterday.html") != nullptr && m_folder.has("yesterday.html"));
    EXPECT_FALSE(stored("yesterday.html")->Index);
    EXPECT_TRUE(stored("failed.html") != nullptr && m_folder.has("failed.html"));
    EXPECT_EQ(stored("old.html"), nullptr);
    EXPECT_EQ(stored("undated.html"), nullptr);
    EXPECT_FALSE(m_folder.has("old.html") || m_folder.has("undated.html"));
}

TEST_F(ScanCycleTest, OutcomesAreNotStoredOnceIndexingIsSwitchedOff) {
    slow("A").Expire = true;
    beginScan();
    store().disableIndexing();
    m_mayEnd = true;
    cycle().cancelDownloads();
    EXPECT_FALSE(cycle().hasIndexingCompleted(std::chrono::hours(1)));  // the lock is held
    waitForScan();
    EXPECT_TRUE(cycle().hasIndexingCompleted(std::chrono::milliseconds(0)));
    EXPECT_EQ(stored("A")->LastScanDate, Date::distantPast());
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), Date::distantPast());
    EXPECT_EQ(m_settings->date("LastExpirationScanDate"), Date::distantPast());
    EXPECT_EQ(m_scansTold, 0);
    store().enableIndexing();
}

// ---- Downloads

TEST_F(ScanCycleTest, DownloadThatDoesNotEndIsGivenUpAfterThreeHundredWaits) {
    m_site.page("http://site/stuck", Reply{.isHeld = true});
    item("Web", [this](SearchItemRecord& record) {
        retriever().indexDocument(url("http://site/stuck"), m_clock.now(), {}, "Web", "Web");
        succeed()(record);
    });
    scan();
    EXPECT_EQ(stored("Web")->ScanResult, 5);
    EXPECT_TRUE(stored("Web")->Index);
    EXPECT_TRUE(isLogged("Gave up waiting for downloads to finish for Web"));
    EXPECT_EQ(m_site.cancelled(), 1U);
}

// ---- Load and faults

TEST_F(ScanCycleTest, TwoHundredSourcesScanAtOnce) {
    std::atomic<int> together = 0;
    for (int i = 0; i < 200; ++i) {
        item("Source " + std::to_string(i), [&](SearchItemRecord& record) {
            ++together;
            while (together < 200) std::this_thread::yield();
            succeed()(record);
        });
    }
    scan();
    EXPECT_EQ(together, 200);
    EXPECT_EQ(m_scansTold, 1);
    EXPECT_THAT(m_preferences.mutableSearchItemsArray(),
                testing::Each(testing::Field(&SearchItem::ScanResult, 0)));
}

}  // namespace
}  // namespace siftwell
