// Every write, rename, removal and sync of a long story is made the last one in turn.

#include <gmock/gmock.h>

#include <set>

#include "CrashStorage.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "support/LoggedLines.h"
#include "support/LongForm.h"

namespace siftwell::fulltext {
namespace {

constexpr const char* kPath = "/index";

// What an index says it holds: number and text of every document.
using Holdings = std::map<DocumentID, std::string>;

// The story: adds, replacements, removals, flushes, syncs, merges, compactions with and without
// documents that wait for their flush, and closings. It writes down what the index must hold after
// each flush and each sync.
class Story {
public:
    // `held` is what the index holds at the beginning; empty: there is none yet.
    explicit Story(CrashStorage& storage, Holdings held = {}, unsigned seed = 11)
        : m_random(seed), m_storage(storage), m_now(held), m_flushed{std::move(held)} {}

    // Goes on until something fails.
    void run(int chapters = 28) {
        if (!open(m_now.empty())) return;
        m_synced = 1;
        for (int chapter = 0; chapter < chapters; ++chapter) {
            if (!runChapter(chapter)) return;
        }
        noteFlushed(m_index->close(), true);
    }

    // Some texts are too long to wait for a flush in memory.
    void runWithSpills() {
        m_surroundings.budget = &m_budget;
        if (!open(true)) return;
        m_synced = 1;
        if (!add("//a", 40) || !add("//long", kLong) || !add("//b", 40)) return;
        if (!flush() || !add("//a", 40) || !add("//long", kLong) || !add("//c", 40)) return;
        if (noteCompacted() && add("//longer", kLong)) flush();
    }

    bool isOpen() const { return m_index != nullptr; }
    // What was held after each flush that was begun, beginning with what was there; the last may
    // not have ended.
    const std::vector<Holdings>& flushes() const { return m_flushed; }
    std::size_t ended() const { return m_ended; }    // flushes that returned
    std::size_t synced() const { return m_synced; }  // flushes that a sync followed

private:
    static constexpr int kLong = 20'000;

    bool open(bool isNew) {
        auto index = isNew ? Index::create(kPath, {.internalName = "index"}, m_surroundings)
                           : Index::open(kPath, "index", Index::Access::ReadWrite, m_surroundings);
        if (index) m_index = *std::move(index);
        return index.isOk();
    }

    bool runChapter(int chapter) {
        for (int i = 0; i < 6; ++i) {
            // Some names are too long for the layout of the others.
            const int number = pick(m_random, 60);
            const std::string rest(number % 10 == 0 ? 300 : 0, 'n');
            if (!add("//" + rest + std::to_string(number), 40)) return false;
        }
        if (chapter % 3 == 1 && !removeOne()) return false;
        if (chapter % 9 == 5 && !noteCompacted()) return false;  // what waits is kept, unflushed
        if (!flush()) return false;
        if (chapter % 4 == 2 && !noteFlushed(m_index->sync(), true)) return false;
        if (chapter % 9 == 8 && !noteCompacted()) return false;
        if (chapter % 10 != 9) return true;
        return noteFlushed(m_index->close(), true) && open(false);
    }

    bool add(const std::string& name, int maxWords) {
        std::string text = randomText(m_random, 40);
        for (int word = 40; word < maxWords; ++word) text += "w" + std::to_string(word) + " ";
        const auto added = m_index->add({"http", name}, text, text);
        if (!added) return false;
        if (added->replaced) m_now.erase(*added->replaced);
        m_now[added->id] = text;
        return true;
    }

    bool removeOne() {
        const auto victim =
            std::next(m_now.begin(), pick(m_random, static_cast<int>(m_now.size())));
        const bool isDone = m_index->remove(victim->first).isOk();
        if (isDone) m_now.erase(victim);
        return isDone;
    }

    bool flush() {
        m_flushed.push_back(m_now);
        return noteFlushed(m_index->flush(), false);
    }

    bool noteFlushed(const Status& status, bool isSynced) {
        if (!status.isOk()) return false;
        m_ended = m_flushed.size();
        if (isSynced) m_synced = m_ended;
        return true;
    }

    bool noteCompacted() { return noteFlushed(m_index->compact(), true); }

    Random m_random;
    CrashStorage& m_storage;
    WriteBudget m_budget{1};
    Index::Surroundings m_surroundings{.storage = &m_storage, .maxUnsegmentedText = 600};
    std::unique_ptr<Index> m_index;
    Holdings m_now;
    std::vector<Holdings> m_flushed;
    std::size_t m_ended = 1;
    std::size_t m_synced = 0;
};

class CrashTest : public testing::Test {
protected:
    template <typename Tell>
    static std::uint64_t operationsOf(Tell tell) {
        CrashStorage storage;
        Story story(storage);
        tell(story);
        return storage.operations();
    }

    // The story that `tell` runs, up to every operation in turn, and what `then` makes of it.
    template <typename Tell, typename Then>
    static void endAtEveryOperation(Tell tell, std::uint64_t step, Then then) {
        const std::uint64_t operations = operationsOf(tell);
        for (std::uint64_t last = 1; last <= operations; last += step) {
            SCOPED_TRACE("ended at operation " + std::to_string(last));
            CrashStorage storage;
            storage.failFrom(last);
            Story story(storage);
            tell(story);
            if (story.isOpen()) then(storage, story);
        }
    }

    // What the index holds, by its walk and by its texts; none when it does not open.
    static std::optional<Holdings> holdingsIn(CrashStorage& storage, bool goesOn = true) {
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
        if (!goesOn) return holdings;
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

    LoggedLines m_log;  // what did not reach the disk, every time
};

TEST_F(CrashTest, KilledAtAnyOperationNothingFlushedIsLost) {
    const auto tell = [](Story& story) { story.run(); };
    ASSERT_GT(operationsOf(tell), 200U);
    endAtEveryOperation(tell, 1, [](CrashStorage& storage, Story& story) {
        expectOneOf(holdingsIn(*storage.afterKill()), story, story.ended() - 1);
    });
}

TEST_F(CrashTest, AfterAPowerCutNothingSyncedIsLost) {
    Random random(3);
    endAtEveryOperation([](Story& story) { story.run(); }, 1,
                        [&random](CrashStorage& storage, Story& story) {
                            for (int variant = 0; variant < shortOrLong(2, 40); ++variant) {
                                expectOneOf(holdingsIn(*storage.afterPowerCut(random)), story,
                                            story.synced() - 1);
                            }
                        });
}

TEST_F(CrashTest, TextsThatDoNotWaitForTheirFlushAreNoneOfIt) {
    Random random(4);
    const auto tell = [](Story& story) { story.runWithSpills(); };
    const auto step = static_cast<std::uint64_t>(shortOrLong(7, 1));
    endAtEveryOperation(tell, step, [&random](CrashStorage& storage, Story& story) {
        expectOneOf(holdingsIn(*storage.afterKill()), story, story.ended() - 1);
        expectOneOf(holdingsIn(*storage.afterPowerCut(random)), story, story.synced() - 1);
    });
}

TEST_F(CrashTest, ASecondPowerCutWhileLifeGoesOnLosesNothingEither) {
    Random random(5);
    const std::uint64_t operations = operationsOf([](Story& story) { story.run(); });
    for (int round = 0; round < shortOrLong(150, 3000); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        CrashStorage first;
        first.failFrom(1 + random() % operations);
        Story begun(first);
        begun.run();
        if (!begun.isOpen()) continue;
        const auto second = first.afterPowerCut(random);
        const auto held = holdingsIn(*second, false);
        if (!held || held->empty()) continue;
        second->failFrom(second->operations() + 1 + random() % 60);
        Story goingOn(*second, *held, static_cast<unsigned>(round));
        goingOn.run(4);
        const std::size_t synced = std::max<std::size_t>(goingOn.synced(), 1);
        expectOneOf(holdingsIn(*second->afterKill()), goingOn, goingOn.ended() - 1);
        expectOneOf(holdingsIn(*second->afterPowerCut(random)), goingOn, synced - 1);
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
