#include <atomic>
#include <thread>

#include "index/IndexFixture.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

class IndexThreadsTest : public IndexFixture {
protected:
    const int kPages = shortOrLong(300, 3000);

    static std::string page(int i) { return "http://host/page" + std::to_string(i); }

    void addPages(int thread) {
        for (int i = 0; i < kPages; ++i) {
            const std::string source = "Source" + std::to_string(i % 3);
            m_store->addDataToIndex(request(page(i), "common word" + std::to_string(i), source,
                                            thread * 1000.0));  // each replaces the one before
            if (i % 50 == 49) m_store->removeURLFromIndex({url(page(i - 7))});
            m_store->isDocument(url(page(i / 2)), "Source1", std::nullopt);
            m_store->yieldForPriorityThread();
        }
    }
    void collect(const RunningSearches& searches) {
        for (const RunningSearch& running : *searches) {
            while (const auto matches = running.search->findMatches(10, std::chrono::seconds(1))) {
                for (const fulltext::Hit& hit : matches->hits) {
                    m_store->propertiesForDocumentID(hit.document, running.index);
                }
                if (!matches->isMoreToCome) break;
            }
        }
    }
};

TEST_F(IndexThreadsTest, AddingSearchingFlushingCompactingLoadingAndClosingGoTogether) {
    store();
    std::atomic<int> running = 4;
    std::vector<std::jthread> threads;
    for (int thread = 1; thread <= 3; ++thread) {
        threads.emplace_back([this, thread, &running] {
            addPages(thread);
            --running;
        });
    }
    threads.emplace_back([this, &running] {
        for (int i = 0; i < shortOrLong(10, 100); ++i) {
            m_store->flush();
            m_store->compactIndex();
        }
        --running;
    });
    for (int round = 0; running > 0; ++round) {
        RunningSearches searches = store().startSearch(std::nullopt, "common | word1*");
        std::jthread collector([this, &searches] { collect(searches); });
        if (round % 3 == 0) collector.join();  // else it is replaced while it collects
        store().finishSearchAfterIdlePeriod(std::chrono::seconds(round % 2));
        m_loop.drain();
        if (round == 3) {
            searches.reset();
            store().loadIndex();
        }
    }
    threads.clear();
    std::jthread collector(
        [this, searches = store().startSearch(std::nullopt, "common")] { collect(searches); });
    store().closeIndex();
    collector.join();
    m_store.reset();
    m_loop.drain();

    EXPECT_THAT(errors(), testing::IsEmpty());
    {
        MutexLock lock(m_logMutex);
        m_log.clear();
    }
    start(Access::ReadWrite);
    const std::int64_t documents = store().documentCount();
    const std::vector<std::string> found = find("common");
    EXPECT_EQ(static_cast<std::int64_t>(found.size()), documents);
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
    EXPECT_GT(documents, 0);
    std::int64_t records = 0;
    const auto indexes = store().indexes();
    for (const SKIndex& index : *indexes) records += index->properties->count();
    EXPECT_EQ(records, documents);
    EXPECT_THAT(errors(), testing::IsEmpty());
    EXPECT_FALSE(isLogged("Encountered URL with no properties"));
}

}  // namespace
}  // namespace siftwell
