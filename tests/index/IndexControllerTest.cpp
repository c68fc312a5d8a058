#include "index/IndexController.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class IndexControllerTest : public IndexFixture {
protected:
    // An index that has a document, and one that has none.
    void fill() {
        add("http://host/page", "word");
        store().isDocument(url("https://host/"), "Pages", std::nullopt);
        end();
    }
    void makeIndex(const std::string& name, const std::optional<std::string>& internalName,
                   bool isFull) {
        const auto index = fulltext::Index::create(indexFile(name), {internalName}, {}).value();
        if (isFull) EXPECT_TRUE(index->add({"http", "//h/"}, "word", "word"));
        EXPECT_TRUE(index->close().isOk());
    }
    std::map<std::string, std::size_t> files() const { return filesBelow(m_folder.file("data")); }
    std::vector<std::string> names() {
        std::vector<std::string> names;
        const auto indexes = store().indexes();
        for (const SKIndex& index : *indexes) names.push_back(index->name);
        return names;
    }
};

TEST_F(IndexControllerTest, EmptyIndexIsDeletedAtTheNextStartButNeverByAReader) {
    fill();
    m_folder.write("config/Siftwell Index/old.http", "old");
    const auto before = files();
    start(Access::ReadOnly);
    EXPECT_THAT(names(), ElementsAre("Pages.http"));
    EXPECT_THAT(find("word"), ElementsAre("http://host/page"));
    EXPECT_FALSE(store().indexingEnabled());
    add("http://host/new", "word");
    store().flush();
    end();
    EXPECT_EQ(files(), before);
    EXPECT_TRUE(m_folder.has("config/Siftwell Index/old.http"));

    start(Access::ReadWrite);
    EXPECT_THAT(names(), ElementsAre("Pages.http"));
    EXPECT_FALSE(hasIndexFile("Pages.https"));
    EXPECT_TRUE(hasIndexFile("old.http"));
    EXPECT_FALSE(m_folder.has("config/Siftwell Index"));
}

TEST_F(IndexControllerTest, CountersComeFromTheSettingsOrStartAnewWithTheLastScan) {
    const Date scanned = Date::fromReference(500);
    m_settings->set("LastIndexScanDate", scanned);
    m_settings->set("DeletionCount", 7);
    start(Access::ReadOnly);
    EXPECT_EQ(store().deletedDocumentCount(), 0);
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), scanned);
    m_store.reset();
    start(Access::ReadWrite);
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), Date::distantPast());
    m_settings->set("LastIndexScanDate", scanned);
    store().setDeletedDocumentCount(4);
    add("http://host/page", "word");
    restart(Access::ReadOnly);
    EXPECT_EQ(store().documentCount(), 1);
    EXPECT_EQ(store().deletedDocumentCount(), 4);
    EXPECT_EQ(m_settings->date("LastIndexScanDate"), scanned);
}

TEST_F(IndexControllerTest, WhatCannotBeOpenedStaysAsItIs) {
    fill();
    const std::string good = m_folder.read("data/Siftwell/Pages.http");
    std::string damaged = good;
    for (std::size_t at = 4096; at < damaged.size(); ++at) damaged[at] = '\x5A';
    std::string newer = good;
    const auto number = fulltext::kFormatVersion;
    newer[newer.find(std::string(reinterpret_cast<const char*>(&number), 4))] = 99;
    m_folder.write("data/Siftwell/Damaged.http", damaged);
    m_folder.write("data/Siftwell/Newer.http", newer);
    m_folder.write("data/Siftwell/Renamed.http", good);
    m_folder.write("data/Siftwell/notes.txt", "not ours");
    m_folder.write("data/Siftwell/empty", "");
    auto before = files();
    for (const Access access : {Access::ReadOnly, Access::ReadWrite}) {
        m_errors.clear();
        start(access);
        EXPECT_THAT(names(), ElementsAre("Pages.http"));
        ASSERT_EQ(errors().size(), 2U);
        EXPECT_THAT(errors()[0], HasSubstr("Damaged.http"));
        EXPECT_THAT(errors()[1], testing::AllOf(HasSubstr("Newer.http"), HasSubstr("newer")));
        end();
    }
    auto after = files();
    for (auto* each : {&before, &after}) {
        std::erase_if(*each, [this](const auto& file) {
            return file.first.starts_with(indexFile("Pages.http"));
        });
    }
    EXPECT_EQ(after, before);
}

TEST_F(IndexControllerTest, IndexWithoutNameIsTakenAndAMonthlyOneMakesTheWholeStoreLegacy) {
    add("http://host/page", "word");
    put("http://host/old", "2009");
    EXPECT_EQ(store().indexFormat(), 2);
    EXPECT_THAT(store().indexedSources(), ElementsAre("Pages", "2009"));
    end();
    makeIndex("Nameless.http", std::nullopt, true);
    makeIndex("Empty.http", std::nullopt, false);
    makeIndex("2009.04", "2009.04", true);
    m_settings->set("IndexedSources", PropertyList::Array{"Kept"});
    start(Access::ReadWrite);
    EXPECT_THAT(names(),
                UnorderedElementsAre("Nameless.http", "2009.04", "2009.http", "Pages.http"));
    EXPECT_FALSE(hasIndexFile("Empty.http"));
    EXPECT_TRUE(
        isLogged("Nameless.http has no internal name.  This may indicate a problem (or may "
                 "not).It's probably a good idea"));
    EXPECT_TRUE(isLogged("Encountered URL with no properties: http://h/"));

    EXPECT_EQ(store().indexFormat(), 1);
    EXPECT_THAT(store().indexedSources(), ElementsAre("2009", "Kept", "Pages"));
    add("http://host/new", "word", "New");
    EXPECT_TRUE(store().isIndexedSource("New"));
    EXPECT_EQ(find("word", {{"Nothing"}}).size(), 5U);
    end();
    EXPECT_EQ(m_settings->strings("IndexedSources").size(), 4U);
}

TEST_F(IndexControllerTest, KilledStoreLosesOnlyWhatWasNotFlushed) {
    add("http://host/a", "word");
    add("http://host/b", "word");
    store().flush();
    add("http://host/a", "changed", "Pages", 2000);
    add("http://host/c", "word");
    store().removeURLFromIndex({url("http://host/b")});
    {
        const auto indexes = store().indexes();  // may not outlive the store
        for (const SKIndex& index : *indexes) EXPECT_TRUE(index->properties->write());
    }
    kill();
    start(Access::ReadOnly);
    EXPECT_THAT(find("word"), ElementsAre("http://host/a", "http://host/b"));
    EXPECT_EQ(recordOf("http://host/a")->date, Date::fromReference(1000));
    end();
    start(Access::ReadWrite);
    EXPECT_THAT(find("word"), ElementsAre("http://host/a", "http://host/b"));
    EXPECT_EQ(store().documentCount(), 2);
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(IndexControllerTest, RemovedPageIsErasedByCompacting) {
    add("http://host/a", "secretword");
    add("http://host/b", "word");
    store().flush();
    store().removeURLFromIndex({url("http://host/a")});
    EXPECT_EQ(store().deletedDocumentCount(), 1);
    EXPECT_TRUE(store().compactIndex());
    EXPECT_EQ(store().deletedDocumentCount(), 0);
    EXPECT_THAT(m_folder.read("data/Siftwell/Pages.http"), Not(HasSubstr("secretword")));
    end();
    EXPECT_THAT(m_folder.read("data/Siftwell/Pages.http.data"), Not(HasSubstr("host/a")));
    EXPECT_THAT(find("word"), ElementsAre("http://host/b"));
}

TEST_F(IndexControllerTest, PurgedIndexIsGoneAndCanBeMadeAnew) {
    add("http://host/a", "old", "A");
    add("http://host/b", "old", "B");
    store().flush();
    store().purgeIndex(0);
    store().purgeIndex(7);
    EXPECT_THAT(names(), ElementsAre("B.http"));
    EXPECT_FALSE(hasIndexFile("A.http"));
    EXPECT_FALSE(hasIndexFile("A.http.data"));
    add("http://host/a", "new", "A");
    restart();
    EXPECT_THAT(find("old | new"), ElementsAre("http://host/a", "http://host/b"));
}

TEST_F(IndexControllerTest, PurgedIndexIsNotBroughtBackByItsCompaction) {
    for (int i = 0; i < 20; ++i) add("http://host/" + std::to_string(i), "word", "A");
    restart();               // its documents stand in a segment now, and are copied one by one
    store().takePriority();  // there the compaction goes no further
    const SKIndex index = store().indexes()->front();
    std::jthread compacting(
        [&index] { EXPECT_EQ(index->index->compact().code(), StatusCode::Busy); });
    while (!hasIndexFile("A.http.compacting")) std::this_thread::yield();
    store().purgeIndex(0);
    store().releasePriority();
    compacting.join();
    EXPECT_FALSE(hasIndexFile("A.http"));
    EXPECT_FALSE(hasIndexFile("A.http.compacting"));
}

TEST_F(IndexControllerTest, ClosingAndLoadingDoNotWaitForThreadsThatWaitForTheirOwnSearch) {
    for (int i = 0; i < 60; ++i) add("http://host/" + std::to_string(i), "word");
    end();
    for (const auto ending : {&IndexController::closeIndex, &IndexController::loadIndex}) {
        makeStore(Access::ReadWrite);
        // The loader, if it is not through already, waits for the end of this search.
        const RunningSearches held = m_store->startSearch(std::nullopt, "word");
        (m_store.get()->*ending)();
        EXPECT_TRUE(m_store->currentSearch().isNone());
        held->clear();
        m_store.reset();
        m_loop.drain();
    }
    makeStore(Access::ReadWrite);
    m_store->startSearch(std::nullopt, "word");
    m_store.reset();
}

}  // namespace
}  // namespace siftwell
