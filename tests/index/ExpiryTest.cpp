#include "index/Expiry.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Names = std::vector<std::string>;

class ExpiryTest : public IndexFixture {
protected:
    void expire(const std::optional<Names>& sources, double cutOff = 500) {
        store().expireOlderThan(Date::fromReference(cutOff), sources);
        m_loop.drain();
    }
    // A page with a date before the cut-off, or with one behind it.
    void addOld(const std::string& address, const std::string& source = "Pages") {
        add(address, "word", source, 499.5);
    }
    void addNew(const std::string& address, const std::string& source = "Pages") {
        add(address, "word", source, 500);
    }
    static PropertyRecord record(const std::string& source, const std::string& address,
                                 double seconds = 1) {
        return {Date::fromReference(seconds), source, "Tester", "T", address, std::nullopt};
    }
    SKIndex index(const std::string& source) {
        return store().skIndexForSource(source, "http", false);
    }
    void loseRecord(const std::string& address, const std::string& source = "Pages") {
        const SKIndex from = index(source);
        from->properties->removeSKDocument(from->index->documentWith(key(address))->value());
    }
    Names names() {
        Names names;
        const auto indexes = store().indexes();
        for (const SKIndex& each : *indexes) names.push_back(each->name);
        return names;
    }
    bool hasAnyFileOf(const std::string& name) {
        return hasIndexFile(name) || hasIndexFile(name + ".data");
    }
};

TEST_F(ExpiryTest, RemovesOldDocumentsOfTheSourcesAndIndexesThatAreEmptyThen) {
    addOld("http://h/old", "A");
    addNew("http://h/new", "A");
    addOld("https://h/old", "A");
    addOld("http://b/old", "B");
    m_told.clear();
    expire({{"A", "Nobody"}});
    EXPECT_THAT(m_told, ElementsAre("-http://h/old", "-https://h/old"));
    EXPECT_THAT(find("word"), UnorderedElementsAre("http://h/new", "http://b/old"));
    EXPECT_THAT(names(), ElementsAre("A.http", "B.http"));
    EXPECT_FALSE(hasAnyFileOf("A.https"));
    EXPECT_EQ(store().documentCount(), 2);
    EXPECT_EQ(store().deletedDocumentCount(), 2);
    EXPECT_EQ(m_settings->integer("DocumentCount"), 2);
    EXPECT_EQ(store().readyToIndex(), true);

    kill();  // nothing of it waited to be written
    start(Access::ReadWrite);
    EXPECT_THAT(find("word"), UnorderedElementsAre("http://h/new", "http://b/old"));
    addOld("https://h/old", "A");
    EXPECT_THAT(find("word", {{"A"}}), UnorderedElementsAre("http://h/new", "https://h/old"));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ExpiryTest, SourceIsKnownByItsIndexesNameAndByTheRecord) {
    const std::string odd = ".a/b%";
    const std::string longName(300, 'x');
    addOld("http://odd/", odd);
    addOld("http://long/", longName);
    put("http://stranger/", odd);
    index(odd)->properties->addSKDocument(
        index(odd)->index->documentWith(key("http://stranger/"))->value(),
        record("Other", "http://stranger/"));
    expire({{odd, longName}});
    EXPECT_THAT(find("word"), ElementsAre("http://stranger/"));
    EXPECT_THAT(names(), SizeIs(1));
}

TEST_F(ExpiryTest, MonthlyIndexesAreAllVisitedAndJudgedByTheirRecords) {
    store();
    end();
    {
        const auto monthly =
            fulltext::Index::create(indexFile("2009.04"), {.internalName = "2009.04"}, {}).value();
        for (const char* name : {"//h/a", "//h/b", "//h/c"}) {
            EXPECT_TRUE(monthly->add({"http", name}, "word", "word"));
        }
        EXPECT_TRUE(monthly->close().isOk());
    }
    ASSERT_EQ(store().indexFormat(), 1);
    const auto indexes = store().indexes();
    const SKIndex monthly = indexes->front();
    monthly->properties->addSKDocument(1, record("A", "http://h/a"));
    monthly->properties->addSKDocument(2, record("B", "http://h/b"));
    expire({{"A"}});
    EXPECT_THAT(find("word"), UnorderedElementsAre("http://h/b", "no record"));
}

TEST_F(ExpiryTest, DocumentWithoutRecordGoesInFrontOfTheFirstThatIsKept) {
    for (const char* name : {"a", "b", "kept", "c"}) addNew("http://h/" + std::string(name));
    addOld("http://h/old");
    for (const char* name : {"a", "b", "c"}) loseRecord("http://h/" + std::string(name));
    m_told.clear();
    expire({{"Pages"}});
    EXPECT_THAT(find("word"), UnorderedElementsAre("http://h/kept", "no record"));
    EXPECT_THAT(m_told, ElementsAre("-http://h/old"));
    EXPECT_EQ(store().documentCount(), 4);  // what has no record was never told of
    EXPECT_EQ(store().deletedDocumentCount(), 1);
    loseRecord("http://h/kept");
    expire({{"Pages"}});
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(ExpiryTest, NoSourcesMeansThatOnlyIndexesWithoutRecordsGo) {
    addOld("http://h/old", "A");
    addOld("http://h/lost", "B");
    loseRecord("http://h/lost", "B");
    store().isDocument(url("http://h/"), "Empty", std::nullopt);
    expire(Names{});
    EXPECT_THAT(names(), ElementsAre("A.http"));
    EXPECT_THAT(find("word"), ElementsAre("http://h/old"));
    EXPECT_FALSE(hasAnyFileOf("B.http"));
}

// Nobody gave it a date, so that it has the moment of adding.
TEST_F(ExpiryTest, DocumentWithoutADateOfItsOwnIsNotOlderThanItsAdding) {
    add("http://h/undated", "word", "A", std::optional<double>());
    const double now = m_clock.now().secondsSinceReference();
    expire({{"A"}}, now);
    EXPECT_THAT(find("word"), ElementsAre("http://h/undated"));
}

TEST_F(ExpiryTest, ClosedGateEndsTheWalkAndLeavesWhatAgrees) {
    for (int i = 0; i < 5; ++i) addOld("http://a/" + std::to_string(i), "A");
    for (int i = 0; i < 5; ++i) addOld("http://b/" + std::to_string(i), "B");
    store().setDeletedDocumentCount(200);
    m_told.clear();
    std::jthread other;
    {
        const ExclusiveHold hold(index("B")->pairGate);  // the walk comes to B and no further
        other = std::jthread([this] {
            m_store->expireOlderThan(Date::fromReference(500), {{"A", "B"}});
        });
        while (m_told.size() < 5) m_loop.drain();
        store().disableIndexing();
    }
    other.join();
    const std::size_t left = find("word").size();
    EXPECT_GE(left, 4U);
    EXPECT_EQ(store().documentCount(), static_cast<std::int64_t>(left));
    EXPECT_EQ(store().deletedDocumentCount(), 210 - static_cast<std::int64_t>(left));
    EXPECT_THAT(names(), ElementsAre("A.http", "B.http"));  // nothing was purged any more
    EXPECT_THAT(find("word"), Not(testing::Contains("no record")));

    expire({{"A", "B"}});
    EXPECT_THAT(find("word"), SizeIs(left));
    store().enableIndexing();
    expire({{"A", "B"}});
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(store().deletedDocumentCount(), 0);  // what was removed before is forgotten
}

TEST_F(ExpiryTest, WithoutSourcesEverythingGoesAndTheLoaderTellsSo) {
    addNew("http://h/new", "A");
    addOld("http://b/old", "B");
    store().setDeletedDocumentCount(100);
    for (const std::int64_t deleted : {100, 101}) {
        addNew("http://h/again", "A");
        store().setDeletedDocumentCount(deleted);
        const int ends = m_loaderEnds;
        expire(std::nullopt, 0);
        EXPECT_THAT(names(), IsEmpty());
        EXPECT_TRUE(find("word").empty());
        EXPECT_EQ(store().documentCount(), 0);
        EXPECT_EQ(store().deletedDocumentCount(), deleted == 100 ? 100 : 0);
        EXPECT_EQ(m_loaderEnds, ends + 1);
        EXPECT_TRUE(store().indexingEnabled());
        for (const char* name : {"A.http", "B.http"}) EXPECT_FALSE(hasAnyFileOf(name));
    }
    addNew("http://h/new", "A");
    restart();
    EXPECT_THAT(find("word"), ElementsAre("http://h/new"));
    end();
    start(Access::ReadOnly);
    expire(std::nullopt);
    EXPECT_THAT(find("word"), ElementsAre("http://h/new"));
}

// What cannot be read says nothing of the index: a newer program will know it.
TEST_F(ExpiryTest, IndexWhoseRecordsCannotBeReadStays) {
    addOld("http://h/old");
    end();
    {
        const auto database = PLSqliteDatabase::databaseWithPath(indexFile("Pages.http.data"));
        ASSERT_TRUE(database->openWithFlags(PLSqliteDatabase::kReadWrite));
        database->executeUpdate("PRAGMA user_version=99");
    }
    expire({{"Pages"}});
    expire(Names{});
    EXPECT_THAT(names(), ElementsAre("Pages.http"));
    EXPECT_TRUE(hasIndexFile("Pages.http.data"));
    EXPECT_THAT(find("word"), ElementsAre("no record"));
    EXPECT_THAT(errors(), SizeIs(1));
}

TEST_F(ExpiryTest, ManyDocumentsExpireInPieces) {
    constexpr int kDocuments = 12000;
    const SKIndex pages = store().skIndexForSource("Pages", "http", true);
    for (int i = 1; i <= kDocuments; ++i) {
        const std::string address = "http://h/" + std::to_string(i);
        const auto added = pages->index->add(key(address), "word", "word");
        pages->properties->addSKDocument(added->id, record("Pages", address, i));
    }
    store().setDocumentCount(kDocuments);
    store().flush();
    expire({{"Pages"}}, kDocuments);
    EXPECT_THAT(find("word"), ElementsAre("http://h/" + std::to_string(kDocuments)));
    EXPECT_EQ(pages->properties->count(), 1);
    EXPECT_EQ(store().documentCount(), 1);
    expire({{"Pages"}}, kDocuments + 1);
    EXPECT_FALSE(hasAnyFileOf("Pages.http"));
    addNew("http://h/again");
    EXPECT_THAT(find("word"), ElementsAre("http://h/again"));
    EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace siftwell
