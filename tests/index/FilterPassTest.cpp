#include "index/FilterPass.h"

#include <unistd.h>

#include <atomic>
#include <thread>

#include "base/Files.h"
#include "index/IndexFixture.h"
#include "records/URLFilter.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class FilterPassTest : public IndexFixture {
protected:
    FilterPassTest() {
        watch("SiftwellStatusRemoveURLNotification", [this](const PropertyList& removed) {
            if (const auto* list = removed.asArray()) m_removed.push_back(list->size());
        });
        watch("SiftwellIndexRequestSearchRefreshNotification",
              [this](const PropertyList&) { ++m_refreshes; });
    }
    void setFilters(const std::vector<URLFilter>& filters) {
        m_settings->set("URLFilters", listOf(filters));
    }
    void waitForRefresh() {
        while (m_refreshes == 0) {
            m_loop.drain();
            std::this_thread::yield();
        }
    }
    void loseRecord(const std::string& address) {
        const SKIndex from = store().skIndexForSource("Pages", "http", false);
        from->properties->removeSKDocument(from->index->documentWith(key(address))->value());
    }

    std::vector<std::size_t> m_removed;  // addresses in each notification
    int m_refreshes = 0;
};

TEST_F(FilterPassTest, RemovesWhatAnEnabledFilterNamesAndTellsOfAllAtOnce) {
    for (const char* page :
         {"http://h/Secret/1", "http://h/2", "https://h/?q=sEcReT", "http://h/off"}) {
        add(page, "word");
    }
    setFilters({{true, "SECRET"}, {false, "off"}, {true, ""}});
    m_toggles.clear();
    m_told.clear();
    m_centre.post("SiftwellIndexFilterRequestNotification", {});
    waitForRefresh();
    EXPECT_THAT(m_removed, ElementsAre(2));
    EXPECT_THAT(m_told, IsEmpty());
    EXPECT_THAT(m_toggles, ElementsAre(false, true));
    EXPECT_EQ(store().documentCount(), 2);
    EXPECT_EQ(store().deletedDocumentCount(), 2);
    EXPECT_EQ(store().pendingDocumentCount(), 0);
    EXPECT_TRUE(store().readyToIndex());
    kill();  // nothing of it waited to be written
    start(Access::ReadWrite);
    EXPECT_THAT(find("word"), UnorderedElementsAre("http://h/2", "http://h/off"));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(FilterPassTest, WithoutAFilterNothingIsLookedAtAndWithDisabledOnesEverything) {
    add("http://h/lost", "word");
    add("http://h/kept", "word");
    loseRecord("http://h/lost");
    EXPECT_EQ(store().filterDocuments(), 0U);
    EXPECT_THAT(find("word"), UnorderedElementsAre("no record", "http://h/kept"));
    setFilters({{false, "kept"}});
    EXPECT_EQ(store().filterDocuments(), 0U);
    EXPECT_THAT(find("word"), ElementsAre("http://h/kept"));
    m_loop.drain();
    EXPECT_THAT(m_removed, IsEmpty());
    EXPECT_EQ(m_refreshes, 2);
}

TEST_F(FilterPassTest, AllWhoAskWhileAPassRunsShareTheNext) {
    for (const char* page : {"http://h/first", "http://h/second"}) add(page, "word");
    setFilters({{true, "first"}});
    store().takePriority();  // wherever the pass is, it goes no further
    store().applyFilters();
    setFilters({{true, "second"}});
    for (int i = 0; i < 20; ++i) store().applyFilters();
    store().releasePriority();
    store().filterDocuments();
    m_loop.drain();
    EXPECT_LE(m_refreshes, 3);
    EXPECT_EQ(whereIs("http://h/second"), "");
}

// Until the thread waits for something that does not come soon.
void waitUntilAsleep(const std::atomic<pid_t>& thread) {
    const auto isAsleep = [&thread] {
        const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
        const auto state = readFile(path, 4096);
        return state && state->find(") S ") != std::string::npos;
    };
    for (int inARow = 0; inARow < 100; inARow = thread != 0 && isAsleep() ? inARow + 1 : 0) {
        std::this_thread::yield();
    }
}

TEST_F(FilterPassTest, EndsWithTheProgramWhereverItIs) {
    constexpr std::size_t kPages = 1000;
    for (std::size_t i = 0; i < kPages; ++i) put("http://h/" + std::to_string(i), "Pages");
    setFilters({{true, "http"}});
    store().takePriority();
    std::jthread waiting([&] { EXPECT_LT(m_store->filterDocuments(), kPages); });
    while (m_store->indexingEnabled()) std::this_thread::yield();
    std::atomic<pid_t> endingThread = 0;
    std::jthread ending([&] {
        endingThread = gettid();
        m_store->closeIndex();
    });
    waitUntilAsleep(endingThread);  // for the pass, which it has told to end
    m_store->releasePriority();
    waiting.join();
    ending.join();
    EXPECT_TRUE(m_store->indexingEnabled());
    m_store.reset();
    start(Access::ReadOnly);
    EXPECT_FALSE(find("word").empty());
    EXPECT_EQ(store().filterDocuments(), 0U);
}

}  // namespace
}  // namespace siftwell
