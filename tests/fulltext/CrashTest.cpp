// Every write, rename, removal and sync of a long story is made the last one in turn.

#include <gmock/gmock.h>

#include <set>

#include "CrashStorage.h"
#include "base/Log.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"

namespace siftwell::fulltext {
namespace {

constexpr const char* kPath = "/index";

// What an index says it holds: number and text of every document.
using Holdings = std::map<DocumentID, std::string>;

// The story: adds, replacements, removals, flushes, syncs, merges and compactions. It writes down
// what the index must hold after each flush and each sync.
class Story {
public:
    explicit Story(CrashStorage& storage)
        : m_surroundings{.storage = &storage, .maxUnsegmentedText = 600} {}

    // Goes on until something fails.
    void run() {
        auto index = Index::create(kPath, {.internalName = "index"}, m_surroundings);
        if (!index) return;
        m_isCreated = true;
        m_flushed.push_back({});
        m_synced = 1;
        for (int chapter = 0; chapter < 28; ++chapter) {
            if (!runChapter(**index, chapter)) return;
        }
        flushed((*index)->close(), true);
    }

    bool isCreated() const { return m_isCreated; }
    // What was held after each flush that was begun, the first one empty; the last may not have
    // ended.
    const std::vector<Holdings>& flushes() const { return m_flushed; }
    std::size_t ended() const { return m_ended; }    // flushes that returned
    std::size_t synced() const { return m_synced; }  // flushes that a sync followed

private:
    bool runChapter(Index& index, int chapter) {
        for (int i = 0; i < 6; ++i) {
            const std::string name = "//" + std::to_string(pick(m_random, 60));
            if (!add(index, name)) return false;
        }
        if (chapter % 3 == 1 && !removeOne(index)) return false;
        m_flushed.push_back(m_now);
        if (!flushed(index.flush(), false)) return false;
        if (chapter % 4 == 2 && !flushed(index.sync(), true)) return false;
        return chapter % 9 != 8 || flushed(index.compact(), true);
    }

    bool add(Index& index, const std::string& name) {
        const std::string text = randomText(m_random, 40);
        const auto added = index.add({"http", name}, text, text);
        if (!added) return false;
        if (added->replaced) m_now.erase(*added->replaced);
        m_now[added->id] = text;
        return true;
    }

    bool removeOne(Index& index) {
        const auto victim =
            std::next(m_now.begin(), pick(m_random, static_cast<int>(m_now.size())));
        const bool isDone = index.remove(victim->first).isOk();
        if (isDone) m_now.erase(victim);
        return isDone;
    }

    bool flushed(const Status& status, bool isSynced) {
        if (!status.isOk()) return false;
        m_ended = m_flushed.size();
        if (isSynced) m_synced = m_ended;
        return true;
    }

    Random m_random{11};
    Index::Surroundings m_surroundings;
    Holdings m_now;
    std::vector<Holdings> m_flushed;
    std::size_t m_ended = 1;
    std::size_t m_synced = 0;
    bool m_isCreated = false;
};

class CrashTest : public testing::Test {
protected:
    // What did not reach the disk is logged every time.
    CrashTest() {
        setLogSink([](std::string_view) {});
    }
    ~CrashTest() override { setLogSink({}); }

    static std::uint64_t operationsOfStory() {
        CrashStorage storage;
        Story(storage).run();
        return storage.operations();
    }

    // What the index holds, by its walk and by its texts; none when it does not open.
    static std::optional<Holdings> holdingsIn(CrashStorage& storage) {
        const auto index =
            Index::open(kPath, "index", Index::Access::ReadWrite, {.storage = &storage});
        if (!index) {
            ADD_FAILURE() << index.status().message();
            return std::nullopt;
        }
        EXPECT_TRUE((*index)->check().isOk()) << (*index)->check().message();
        Holdings holdings;
        for (const DocumentID document : (*index)->documentsBehind(0, 10000)) {
            const auto text = (*index)->readableTextOf(document);
            EXPECT_TRUE(text) << text.status().message();
            if (text) holdings[document] = *text;
        }
        expectSearchable(**index, holdings);
        // Life goes on.
        EXPECT_TRUE((*index)->add({"http", "//after"}, "after", "after"));
        EXPECT_TRUE((*index)->close().isOk());
        return holdings;
    }

    static void expectSearchable(const Index& index, const Holdings& holdings) {
        std::set<DocumentID> expected;
        for (const auto& [document, text] : holdings) {
            if (text.find('a') != std::string::npos) expected.insert(document);
        }
        const auto matches = index.search("*a*")->findMatches(10000, std::chrono::seconds(30));
        std::set<DocumentID> found;
        for (const Hit& hit : matches->hits) found.insert(hit.document);
        EXPECT_EQ(found, expected);
    }

    static void expectOneOf(const std::optional<Holdings>& holdings, const Story& story,
                            std::size_t from) {
        if (!holdings) return;
        const auto& flushes = story.flushes();
        const auto begin = flushes.begin() + static_cast<std::ptrdiff_t>(from);
        EXPECT_NE(std::find(begin, flushes.end(), *holdings), flushes.end())
            << holdings->size() << " documents are none of the states that may be left";
    }
};

TEST_F(CrashTest, KilledAtAnyOperationNothingFlushedIsLost) {
    const std::uint64_t operations = operationsOfStory();
    ASSERT_GT(operations, 150U);
    for (std::uint64_t last = 1; last <= operations; ++last) {
        SCOPED_TRACE("killed at operation " + std::to_string(last));
        CrashStorage storage;
        storage.failFrom(last);
        Story story(storage);
        story.run();
        if (!story.isCreated()) continue;
        expectOneOf(holdingsIn(*storage.afterKill()), story, story.ended() - 1);
    }
}

TEST_F(CrashTest, AfterAPowerCutNothingSyncedIsLost) {
    const std::uint64_t operations = operationsOfStory();
    Random random(3);
    for (std::uint64_t last = 1; last <= operations; ++last) {
        SCOPED_TRACE("power cut at operation " + std::to_string(last));
        CrashStorage storage;
        storage.failFrom(last);
        Story story(storage);
        story.run();
        if (!story.isCreated()) continue;
        for (int variant = 0; variant < 4; ++variant) {
            expectOneOf(holdingsIn(*storage.afterPowerCut(random)), story, story.synced() - 1);
        }
    }
}

TEST_F(CrashTest, FirstFailedWriteIsKeptAndEveryLaterOneRefused) {
    CrashStorage storage;
    auto index = *Index::create(kPath, {}, {.storage = &storage});
    ASSERT_TRUE(index->add({"http", "//a"}, "alpha", "alpha"));
    ASSERT_TRUE(index->flush().isOk());
    ASSERT_TRUE(index->add({"http", "//b"}, "beta", "beta"));
    storage.failFrom(storage.operations() + 1);
    const Status first = index->flush();
    EXPECT_FALSE(first.isOk());
    storage.failFrom(UINT64_MAX);
    EXPECT_EQ(index->flush().message(), first.message());
    EXPECT_EQ(index->add({"http", "//c"}, "c", "c").status().message(), first.message());
    EXPECT_EQ(index->remove(1).message(), first.message());
    EXPECT_EQ(index->search("alpha")->findMatches(1, std::chrono::seconds(30))->hits.size(), 1U);
}

}  // namespace
}  // namespace siftwell::fulltext
