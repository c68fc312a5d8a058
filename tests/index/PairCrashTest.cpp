// An index and its side file, used by the store, are both left alone at any of their operations.

#include "base/Files.h"
#include "base/Log.h"
#include "index/CrashSqlite.h"
#include "index/DocumentStore.h"
#include "support/LongForm.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using fulltext::CrashStorage;
using fulltext::DocumentID;
using fulltext::pick;
using Access = fulltext::Index::Access;

// What a store says it holds: the version of every page, by its address.
using Holdings = std::map<std::string, int>;

// The store as one run of the program has it.
class Store {
public:
    Store(const std::string& folder, CrashStorage& storage, Access access)
        : m_sqlite(storage),
          m_set(
              {.access = access, .surroundings = {.storage = &storage, .maxUnsegmentedText = 300}},
              m_notifier, m_clock) {
        m_observation = m_centre.observe("SiftwellErrorNotification", [this](const auto& error) {
            m_errors += stringFor(*error.asDictionary(), "error") + '\n';
        });
        m_store.setFolder(folder);
        m_set.load(folder);
    }

    SKIndex index() const { return m_set.find("Pages.http"); }

    bool add(const std::string& address, int version) {
        const std::string text = "common version" + std::to_string(version);
        return m_store.add({text, text, *Url::parse(address), "Pages", "Tester",
                            Date::fromReference(version), std::to_string(version), std::nullopt}) ==
               DocumentStore::AddOutcome::Added;
    }
    bool remove(const std::string& address) {
        return m_store.removeURLFromIndex(*Url::parse(address));
    }
    // False when something of it failed.
    bool flush() { return index()->flush().isOk() && !hasErrors(); }
    bool compact() { return flush() && index()->index->compact().isOk(); }
    bool close() { return m_set.closeAll().isOk() && !hasErrors(); }

    bool hasErrors() { return !errors().empty(); }
    const std::string& errors() {
        m_loop.drain();
        return m_errors;
    }

private:
    CrashSqlite m_sqlite;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    NotificationCentre m_centre{m_loop};
    SWNotifier m_notifier{m_centre, m_clock};
    NotificationCentre::Observation m_observation;
    std::string m_errors;
    IndexLocks m_locks;
    StoreCounters m_counters;
    IndexSet m_set;
    DocumentStore m_store{{m_set, m_locks, m_counters, m_centre, m_notifier, m_clock}, [] {}};
};

// Adds, replacements, removals, flushes, syncs, compactions, and runs of the program that end.
class Story {
public:
    explicit Story(std::string folder, CrashStorage& storage)
        : m_folder(std::move(folder)), m_storage(storage) {}

    // Goes on until something fails; what still can be done at the program's end is done.
    void run() {
        for (m_chapter = 0; m_chapter < 12;) {
            Store store(m_folder, m_storage, Access::ReadWrite);
            while (runChapter(store) && ++m_chapter % 4 != 0) {
            }
            const bool isClosed = store.close();
            if (m_chapter % 4 != 0 || !isClosed) return;
            m_synced = m_flushed.size();
        }
    }

    // As with the engine alone: what was held after each flush that was begun.
    const std::vector<Holdings>& flushes() const { return m_flushed; }
    std::size_t ended() const { return m_ended; }
    std::size_t synced() const { return m_synced; }

private:
    static std::string address(int page) { return "http://host/" + std::to_string(page); }

    bool runChapter(Store& store) {
        for (int i = 0; i < 5; ++i) {
            const std::string page = address(pick(m_random, 20));
            if (!store.add(page, ++m_version)) return false;
            m_now[page] = m_version;
        }
        for (int i = m_chapter % 3; i > 0; --i) {
            const auto victim =
                std::next(m_now.begin(), pick(m_random, static_cast<int>(m_now.size())));
            if (!store.remove(victim->first)) return false;
            m_now.erase(victim);
        }
        m_flushed.push_back(m_now);
        const bool isCompacting = m_chapter % 5 == 2;
        if (!(isCompacting ? store.compact() : store.flush())) return false;
        m_ended = m_flushed.size();
        if (m_chapter % 3 == 0 && !store.index()->index->sync().isOk()) return false;
        if (isCompacting || m_chapter % 3 == 0) m_synced = m_ended;
        return true;
    }

    const std::string m_folder;
    CrashStorage& m_storage;
    fulltext::Random m_random{7};
    int m_chapter = 0;
    int m_version = 0;
    Holdings m_now;
    std::vector<Holdings> m_flushed{1};
    std::size_t m_ended = 1;
    std::size_t m_synced = 1;
};

class PairCrashTest : public testing::Test {
protected:
    PairCrashTest() {
        setLogSink([](std::string_view) {});
    }
    ~PairCrashTest() override { setLogSink(nullptr); }

    // The files of the folder are as in the storage. The index itself is only looked for there.
    void place(const CrashStorage& storage) {
        std::filesystem::remove_all(m_folder.file("now"));
        m_folder.write("now/Pages.http", "");
        for (const auto& [path, bytes] : storage.files()) {
            if (path.find(".data") != std::string::npos)
                m_folder.write("now/" + lastPathComponent(path), bytes);
        }
    }

    template <typename Then>
    void endAtEveryOperation(const std::string& among, int step, Then then) {
        place({});
        CrashStorage whole;
        Story(folder(), whole).run();
        ASSERT_GT(whole.operations(), 300U);
        const auto increment = static_cast<std::uint64_t>(step);
        for (std::uint64_t last = 1; last <= whole.operations() && !HasFailure();
             last += increment) {
            SCOPED_TRACE("ended at operation " + std::to_string(last));
            place({});
            CrashStorage storage;
            storage.failFrom(last, among);
            Story story(folder(), storage);
            story.run();
            then(storage, story);
        }
    }

    // One of the states since that flush is found by a reader, and by a writer, who goes on.
    void expectOneOf(const Story& story, std::size_t from, CrashStorage& storage) {
        place(storage);
        const auto start = std::chrono::steady_clock::now();
        const Holdings read =
            holdingsIn(*std::make_unique<Store>(folder(), storage, Access::ReadOnly), false);
        auto store = std::make_unique<Store>(folder(), storage, Access::ReadWrite);
        Holdings held = holdingsIn(*store, true);
        EXPECT_EQ(read, held);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        const auto& flushes = story.flushes();
        const auto begin = flushes.begin() + static_cast<std::ptrdiff_t>(from);
        EXPECT_NE(std::find(begin, flushes.end(), held), flushes.end())
            << held.size() << " pages are none of the states that may be left";
        if (store->index() == nullptr) return;
        held["http://host/after"] = 10000;
        EXPECT_TRUE(store->add("http://host/after", 10000) && store->compact()) << store->errors();
        const DocumentID next = store->index()->index->nextDocument();
        EXPECT_TRUE(store->close()) << store->errors();
        store.reset();
        store = std::make_unique<Store>(folder(), storage, Access::ReadWrite);
        EXPECT_EQ(holdingsIn(*store, true), held);
        EXPECT_EQ(nextInSideFile(*store), next);
    }

    // What the index holds, every page with its record; a writer has no record besides.
    static Holdings holdingsIn(Store& store, bool isWriter) {
        Holdings holdings;
        const SKIndex pair = store.index();
        if (pair == nullptr) return holdings;
        EXPECT_TRUE(pair->index->check().isOk()) << pair->index->check().message();
        EXPECT_TRUE(pair->properties->check().isOk());
        const auto documents = pair->index->documentsBehind(0, 1000);
        for (const DocumentID document : documents) {
            const auto record = pair->properties->propertiesForSKDocument(document);
            const auto key = pair->index->keyOf(document);
            const auto text = pair->index->readableTextOf(document);
            EXPECT_TRUE(record && key && text) << document;
            if (!record || !key || !text) continue;
            EXPECT_EQ(record->url, key->scheme + ":" + key->name);
            EXPECT_EQ("common version" + record->title, *text);
            EXPECT_TRUE(holdings.emplace(record->url, std::stoi(record->title)).second);
        }
        std::vector<DocumentID> recorded;
        for (const auto& [document, record] : pair->properties->recordsBehind(0, 1000)) {
            recorded.push_back(document);
        }
        if (isWriter) EXPECT_EQ(recorded, documents);
        EXPECT_EQ(store.errors(), "");
        return holdings;
    }

    static std::int64_t nextInSideFile(const Store& store) {
        const auto database = PLSqliteDatabase::databaseWithPath(store.index()->properties->path());
        EXPECT_TRUE(database->open());
        const auto& identity = store.index()->index->identity();
        const auto rows = database->executeQuery(
            "SELECT next FROM engine WHERE identity = ?",
            {PropertyList::Data{std::string(identity.begin(), identity.end())}});
        return rows->next() ? rows->bigIntForColumnIndex(0) : 0;
    }

    std::string folder() const { return m_folder.file("now"); }

    TemporaryFolder m_folder;
    fulltext::Random m_random{9};
};

TEST_F(PairCrashTest, KilledAtAnyOperationOfEitherFileBothHoldExactlyWhatWasFlushed) {
    endAtEveryOperation("", shortOrLong(2, 1), [this](CrashStorage& storage, const Story& story) {
        expectOneOf(story, story.ended() - 1, *storage.afterKill());
    });
}

TEST_F(PairCrashTest, AfterAPowerCutAtOnceOrInTheNextRunBothHoldExactlyWhatWasFlushedOnce) {
    endAtEveryOperation("", shortOrLong(5, 1), [this](CrashStorage& storage, const Story& story) {
        for (int variant = 0; variant < shortOrLong(2, 10); ++variant) {
            expectOneOf(story, story.synced() - 1, *storage.afterPowerCut(m_random));
        }
        place(storage);
        const auto further = static_cast<std::uint64_t>(pick(m_random, 40));
        storage.failFrom(storage.operations() + 1 + further);
        std::make_unique<Store>(folder(), storage, Access::ReadWrite).reset();
        for (int variant = 0; variant < shortOrLong(1, 5); ++variant) {
            expectOneOf(story, story.synced() - 1, *storage.afterPowerCut(m_random));
        }
    });
}

// As on a disk that is full for one of them.
TEST_F(PairCrashTest, WhenOneFileAloneCannotBeWrittenNoPageIsLeftWithoutItsRecord) {
    for (const char* among : {".data", "Pages.http"}) {
        endAtEveryOperation(among, shortOrLong(11, 1),
                            [this](CrashStorage& storage, const Story& story) {
                                expectOneOf(story, story.ended() - 1, *storage.afterKill());
                            });
    }
}

}  // namespace
}  // namespace siftwell
