#include "index/DocumentProperties.h"

#include "index/IndexCheck.h"
#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using fulltext::DocumentID;
using fulltext::Index;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Access = Index::Access;
namespace fs = std::filesystem;

PropertyRecord recordNamed(const std::string& name) {
    const std::string title = "Title of " + name;
    return {Date::fromReference(1234.5), "Pages", "Tester", title, "http://" + name, {}};
}

// An index and its records in one folder, opened, closed and killed together.
class DocumentPropertiesTest : public testing::Test {
protected:
    std::string file(const std::string& ending = "") const {
        return m_folder.file("now/pages.http" + ending);
    }
    std::string sideFile() const { return m_folder.read("now/pages.http.data"); }
    void writeSideFile(const std::string& bytes) { m_folder.write("now/pages.http.data", bytes); }
    std::map<std::string, std::size_t> files() const { return filesBelow(m_folder.file("now")); }

    void create(const std::vector<std::string>& names, int numbered = 0) {
        fs::create_directories(m_folder.file("now"));
        m_pair.reset();
        m_pair = paired(Index::create(file(), {}, {}), Access::ReadWrite);
        for (const std::string& name : names) add(name);
        for (int i = 0; i < numbered; ++i) add(std::to_string(i));
        if (m_pair->index->documentCount() > 0) flush();
    }
    SKIndex open(Access access) {
        return paired(Index::open(file(), std::nullopt, access, {}), access);
    }
    void close() {
        EXPECT_TRUE(m_pair->index->close().isOk());
        records().close();
        m_pair.reset();
    }
    void reopen() {
        close();
        m_pair = open(Access::ReadWrite);
    }
    void killAndReopen() {
        killWhileOpen(m_folder.file("now"), [this] { m_pair.reset(); });
        m_pair = open(Access::ReadWrite);
    }

    DocumentProperties& records() const { return *m_pair->properties; }
    DocumentID add(const std::string& name) {
        const auto added = m_pair->index->add({"http", name}, name, name);
        EXPECT_TRUE(added) << added.status().message();
        if (added->replaced) records().removeSKDocument(*added->replaced);
        records().addSKDocument(added->id, recordNamed(name));
        return added->id;
    }
    void remove(DocumentID document) {
        EXPECT_TRUE(m_pair->index->remove(document).isOk());
        records().removeSKDocument(document);
    }
    void flush() {
        EXPECT_TRUE(records().write());
        EXPECT_TRUE(m_pair->index->flush().isOk());
        records().indexWasFlushed();
    }

    static std::vector<DocumentID> recordsOf(const SKIndex& pair) {
        const DocumentProperties& records = *pair->properties;
        std::vector<DocumentID> documents = {0};
        for (;;) {  // a few at a time, from file and memory
            const auto some = records.recordsBehind(documents.back(), 2);
            if (some.empty()) break;
            for (const auto& [document, record] : some) {
                EXPECT_EQ(records.propertiesForSKDocument(document), record);
                documents.push_back(document);
            }
        }
        documents.erase(documents.begin());
        EXPECT_EQ(records.count(), static_cast<std::int64_t>(documents.size()));
        return documents;
    }
    std::vector<DocumentID> recorded() const { return recordsOf(m_pair); }
    std::vector<DocumentID> indexed() const { return m_pair->index->documentsBehind(0, 10); }

    void execute(const std::string& statement, const PropertyList::Array& arguments = {}) {
        const auto database = PLSqliteDatabase::databaseWithPath(file(".data"));
        ASSERT_TRUE(database->open());
        EXPECT_TRUE(database->executeUpdate(statement, arguments)) << statement;
    }
    std::unique_ptr<DocumentProperties> recordsAt(const std::string& path, Index& index,
                                                  Access access) {
        return std::make_unique<DocumentProperties>(
            path, index, access, [this](const Status& status) { m_told.push_back(status.code()); });
    }

    TemporaryFolder m_folder;
    std::vector<StatusCode> m_told;
    SKIndex m_pair;

private:
    SKIndex paired(Result<std::unique_ptr<Index>> index, Access access) {
        EXPECT_TRUE(index) << index.status().message();
        auto pair = std::make_shared<OpenIndex>();
        pair->index = *std::move(index);
        pair->properties = recordsAt(file(".data"), *pair->index, access);
        return pair;
    }
};

TEST_F(DocumentPropertiesTest, ChangesWaitInMemoryUntilTheyAreWritten) {
    create({"a"});
    EXPECT_TRUE(records().addSKDocument(7, std::nullopt));
    EXPECT_FALSE(records().write());

    const DocumentID b = add("b");
    PropertyRecord changed = recordNamed("b");
    changed.cachePath = std::string("/tmp/\xFF\0bytes", 11);
    records().addSKDocument(b, changed);
    records().removeSKDocument(1);
    EXPECT_EQ(records().propertiesForSKDocument(b), changed);
    EXPECT_EQ(records().dateForSKDocument(b), changed.date);
    EXPECT_EQ(records().dateForSKDocument(1), std::nullopt);
    EXPECT_THAT(recorded(), ElementsAre(b));
    records().read();
    EXPECT_THAT(recorded(), ElementsAre(1));
    EXPECT_FALSE(records().write());

    records().addSKDocument(b, changed);
    for (const DocumentID document : {1U, 3U, 4U, 5U}) records().removeSKDocument(document);
    flush();
    EXPECT_THAT(recorded(), ElementsAre(b));
    records().read();
    EXPECT_THAT(recorded(), ElementsAre(b));
    EXPECT_EQ(records().propertiesForSKDocument(b), changed);
    for (const char* name : {"c", "d", "e", "f"}) add(name);
    flush();
    for (const DocumentID document : {2U, 3U, 4U}) remove(document);
    EXPECT_THAT(recorded(), ElementsAre(5, 6));
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DocumentPropertiesTest, WriteCostsWhatChangedAndNotWhatThereIs) {
    create({}, 5000);
    reopen();
    add("one");
    flush();
    EXPECT_GT(fs::file_size(file(".data")), 200000U);
    EXPECT_LT(fs::file_size(file(".data-wal")), 30000U);
}

TEST_F(DocumentPropertiesTest, KilledBetweenRecordsAndIndexBothAgreeAgainOnWhatTheIndexKnows) {
    create({"a", "b"});
    remove(1);
    const DocumentID lost = add("c");
    add("b");  // replaces
    EXPECT_TRUE(records().write());
    killAndReopen();
    EXPECT_THAT(indexed(), ElementsAre(1, 2));
    EXPECT_THAT(recorded(), ElementsAre(1, 2));
    EXPECT_EQ(add("d"), lost);
    EXPECT_EQ(records().propertiesForSKDocument(lost), recordNamed("d"));
}

TEST_F(DocumentPropertiesTest, KilledBehindTheIndexBothHaveForgottenAndNothingOfItIsLeft) {
    create({"secret", "b"});
    remove(1);
    flush();
    killAndReopen();
    EXPECT_THAT(indexed(), ElementsAre(2));
    EXPECT_THAT(recorded(), ElementsAre(2));

    add("secret");
    flush();
    remove(3);
    flush();
    reopen();
    EXPECT_THAT(recorded(), ElementsAre(2));
    EXPECT_THAT(sideFile(), Not(HasSubstr("secret")));
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DocumentPropertiesTest, RecordsOfAnIndexThatStoodHereOnceAreNobodys) {
    create({"a", "b"});
    close();
    const std::string records = sideFile();
    fs::remove(file());
    create({"x"});
    close();
    writeSideFile(records);
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), IsEmpty());
    EXPECT_EQ(sideFile(), records);
    m_pair = open(Access::ReadWrite);
    EXPECT_THAT(recorded(), IsEmpty());
    add("x");
    flush();
    EXPECT_THAT(recorded(), ElementsAre(2));
}

TEST_F(DocumentPropertiesTest, DamagedFileIsSetAsideToldOnceAndNeverOverwritten) {
    create({"a"});
    for (const std::string garbage : {"no database at all, but long enough", "another one"}) {
        close();
        writeSideFile(garbage);
        m_told.clear();
        m_pair = open(Access::ReadWrite);
        EXPECT_THAT(recorded(), IsEmpty());
        EXPECT_EQ(records().check().code(), StatusCode::Damaged);
        EXPECT_THAT(m_told, ElementsAre(StatusCode::Damaged));
        add("a");
        flush();
        EXPECT_EQ(recorded().size(), 1U);
    }
    EXPECT_EQ(m_folder.read("now/pages.http.data.damaged"), "no database at all, but long enough");
    EXPECT_EQ(m_folder.read("now/pages.http.data.damaged2"), "another one");
}

TEST_F(DocumentPropertiesTest, DamageThatShowsLaterSetsTheFileAsideThen) {
    create({}, 5000);
    close();
    std::string bytes = sideFile();
    for (std::size_t at = 8 * 4096; at < bytes.size() - 4096; ++at) bytes[at] = '\x55';
    writeSideFile(bytes);

    m_pair = open(Access::ReadOnly);
    EXPECT_EQ(records().propertiesForSKDocument(2500), std::nullopt);
    EXPECT_EQ(sideFile(), bytes);
    m_pair = open(Access::ReadWrite);
    EXPECT_EQ(records().propertiesForSKDocument(2500), std::nullopt);
    EXPECT_EQ(records().propertiesForSKDocument(2600), std::nullopt);
    EXPECT_THAT(m_told, ElementsAre(StatusCode::Damaged, StatusCode::Damaged));
    EXPECT_TRUE(m_folder.has("now/pages.http.data.damaged"));
    const DocumentID again = add("again");
    flush();
    reopen();
    EXPECT_THAT(recorded(), ElementsAre(again));
}

TEST_F(DocumentPropertiesTest, ValueOfAWrongKindIsDamageAndNeverARecord) {
    const PropertyList::Data blob{"blob"};
    const std::vector<std::pair<std::string, PropertyList::Array>> spoilers = {
        {"UPDATE records SET title = ?", {blob}},
        {"UPDATE records SET date = ?", {"noon"}},
        {"UPDATE records SET id = 4294967297", {}},
        {"UPDATE records SET cachePath = 5", {}},
        {"UPDATE engine SET identity = ?", {blob}},
        {"DROP TABLE records", {}},
        {"PRAGMA user_version = 0", {}}};
    for (const auto& [statement, arguments] : spoilers) {
        fs::remove_all(m_folder.file("now"));
        create({"a"});
        close();
        execute(statement, arguments);
        m_told.clear();
        m_pair = open(Access::ReadOnly);
        EXPECT_THAT(records().recordsBehind(0, 10), IsEmpty()) << statement;
        EXPECT_EQ(records().propertiesForSKDocument(1), std::nullopt) << statement;
        EXPECT_EQ(m_told.size(), 1U) << statement;
    }
}

TEST_F(DocumentPropertiesTest, FileOfANewerProgramIsLeftUntouched) {
    create({"a"});
    close();
    execute("PRAGMA user_version = 2");
    const std::string before = sideFile();
    for (const Access access : {Access::ReadOnly, Access::ReadWrite}) {
        m_told.clear();
        m_pair = open(access);
        EXPECT_EQ(records().propertiesForSKDocument(1), std::nullopt);
        records().addSKDocument(9, recordNamed("new"));
        EXPECT_FALSE(records().write());
        EXPECT_TRUE(records().propertiesForSKDocument(9).has_value());
        EXPECT_THAT(m_told, ElementsAre(StatusCode::UnknownVersion));
        records().close();
    }
    EXPECT_EQ(sideFile(), before);
}

TEST_F(DocumentPropertiesTest, FailedWriteKeepsItsChangesForTheNextMutation) {
    create({});
    m_pair->properties =
        recordsAt(m_folder.file("missing/x.data"), *m_pair->index, Access::ReadWrite);
    records().addSKDocument(1, recordNamed("a"));
    EXPECT_FALSE(records().write());
    fs::create_directory(m_folder.file("missing"));
    EXPECT_FALSE(records().write());
    EXPECT_EQ(m_told.size(), 1U);
    records().addSKDocument(2, recordNamed("b"));
    EXPECT_TRUE(records().write());
    EXPECT_THAT(recorded(), ElementsAre(1, 2));
}

TEST_F(DocumentPropertiesTest, ReadingChangesNothingInTheFolderWhateverAWriterLeftBehind) {
    create({"a"});
    reopen();
    add("b");
    flush();
    fs::copy(m_folder.file("now"), m_folder.file("killed"));
    fs::copy(m_folder.file("now"), m_folder.file("log"));
    fs::remove(m_folder.file("log/pages.http.data-shm"));
    const std::string shared = file(".data-shm");  // of all who have the file open
    const auto readingLeavesAll = [this](const std::string& exceptFor = "") {
        auto before = files();
        EXPECT_THAT(recordsOf(open(Access::ReadOnly)), ElementsAre(1, 2));
        auto after = files();
        for (auto* each : {&before, &after}) each->erase(exceptFor);
        return before == after;
    };
    EXPECT_TRUE(readingLeavesAll(shared)) << "of a live writer";
    EXPECT_EQ(files().size(), 4U);
    close();
    EXPECT_EQ(files().size(), 2U);
    EXPECT_TRUE(readingLeavesAll()) << "of one that closed the file";
    for (const char* left : {"killed", "log"}) {  // whole, or only the log of it
        fs::remove_all(m_folder.file("now"));
        fs::rename(m_folder.file(left), m_folder.file("now"));
        EXPECT_TRUE(readingLeavesAll(fs::exists(shared) ? "" : shared)) << left;
    }
    writeSideFile("");
    fs::remove(file(".data-wal"));
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), IsEmpty());
    EXPECT_EQ(sideFile(), "");
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DocumentPropertiesTest, CheckCountsDocumentsWithoutRecordAndTellsOfDamage) {
    create({"a", "b", "c"});
    records().removeSKDocument(2);
    const CheckedIndex checked = checkIndex(*m_pair);
    EXPECT_EQ(checked.documents, 3U);
    EXPECT_EQ(checked.withoutRecord, 1U);
    EXPECT_TRUE(checked.status.isOk());
    close();
    std::string bytes = sideFile();
    bytes[4096 + 5] = '\x77';
    writeSideFile(bytes);
    m_pair = open(Access::ReadOnly);
    EXPECT_EQ(checkIndex(*m_pair).status.code(), StatusCode::Damaged);
}

}  // namespace
}  // namespace siftwell
