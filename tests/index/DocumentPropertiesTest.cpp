#include "index/DocumentProperties.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>

#include "index/IndexCheck.h"
#include "support/TemporaryFolder.h"

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
    return {.date = Date::fromReference(1234.5),
            .source = "Pages",
            .indexer = "Tester",
            .title = "Title of " + name,
            .url = "http://" + name,
            .cachePath = std::nullopt};
}

// An index and its records in one folder, opened, closed and killed together.
class DocumentPropertiesTest : public testing::Test {
protected:
    struct Pair {
        std::unique_ptr<Index> index;
        std::unique_ptr<DocumentProperties> records;
    };

    std::string file(const std::string& ending = "") const {
        return m_folder.file("now/pages.http" + ending);
    }
    std::string sideFile() const { return m_folder.read("now/pages.http.data"); }

    void create(std::vector<std::string> names) {
        fs::create_directories(m_folder.file("now"));
        m_pair = Pair();
        auto index = Index::create(file(), {}, {});
        ASSERT_TRUE(index) << index.status().message();
        m_pair = paired(*std::move(index), Access::ReadWrite);
        for (const std::string& name : names) add(name);
        if (!names.empty()) flush();
    }
    Pair open(Access access) {
        auto index = Index::open(file(), std::nullopt, access, {});
        EXPECT_TRUE(index) << index.status().message();
        return paired(*std::move(index), access);
    }
    void reopen() {
        close();
        m_pair = open(Access::ReadWrite);
    }
    void close() {
        EXPECT_TRUE(m_pair.index->close().isOk());
        m_pair.records->close();
        m_pair = Pair();
    }
    // As the disk is now; nothing is closed.
    void killAndReopen() {
        fs::copy(m_folder.file("now"), m_folder.file("kept"));
        m_pair = Pair();
        fs::remove_all(m_folder.file("now"));
        fs::rename(m_folder.file("kept"), m_folder.file("now"));
        m_pair = open(Access::ReadWrite);
    }

    DocumentID add(const std::string& name) {
        const auto added = m_pair.index->add({"http", name}, name, name);
        EXPECT_TRUE(added) << added.status().message();
        if (added->replaced) m_pair.records->removeSKDocument(*added->replaced);
        m_pair.records->addSKDocument(added->id, recordNamed(name));
        return added->id;
    }
    void remove(DocumentID document) {
        EXPECT_TRUE(m_pair.index->remove(document).isOk());
        m_pair.records->removeSKDocument(document);
    }
    void flush() {
        EXPECT_TRUE(m_pair.records->write());
        EXPECT_TRUE(m_pair.index->flush().isOk());
        m_pair.records->indexWasFlushed();
    }

    static std::vector<DocumentID> recordsOf(const Pair& pair) {
        std::vector<DocumentID> documents;
        for (DocumentID last = 0;;) {  // a few at a time, from file and memory
            const auto some = pair.records->recordsBehind(last, 2);
            if (some.empty()) break;
            for (const RecordEntry& entry : some) {
                EXPECT_EQ(pair.records->propertiesForSKDocument(entry.first), entry.second);
                documents.push_back(entry.first);
            }
            last = documents.back();
        }
        EXPECT_EQ(pair.records->count(), static_cast<std::int64_t>(documents.size()));
        return documents;
    }
    std::vector<DocumentID> records() const { return recordsOf(m_pair); }

    void execute(const std::string& statement, const PropertyList::Array& arguments = {}) {
        const auto database = PLSqliteDatabase::databaseWithPath(file(".data"));
        ASSERT_TRUE(database->open());
        EXPECT_TRUE(database->executeUpdate(statement, arguments)) << statement;
    }

    // Everything in the folder: a number for the bytes of each name.
    std::map<std::string, std::size_t> folder() const {
        std::map<std::string, std::size_t> files;
        for (const auto& entry : fs::directory_iterator(m_folder.file("now"))) {
            const std::string name = entry.path().filename().string();
            files[name] = std::hash<std::string>()(m_folder.read("now/" + name));
        }
        return files;
    }

    TemporaryFolder m_folder;
    std::vector<StatusCode> m_told;
    Pair m_pair;

private:
    Pair paired(std::unique_ptr<Index> index, Access access) {
        auto records = std::make_unique<DocumentProperties>(
            file(".data"), *index, access,
            [this](const Status& status) { m_told.push_back(status.code()); });
        return {std::move(index), std::move(records)};
    }
};

TEST_F(DocumentPropertiesTest, ChangesWaitInMemoryUntilTheyAreWritten) {
    create({"a"});
    EXPECT_TRUE(m_pair.records->addSKDocument(7, std::nullopt));
    EXPECT_FALSE(m_pair.records->write());

    const DocumentID b = add("b");
    PropertyRecord changed = recordNamed("b");
    changed.cachePath = std::string("/tmp/\xFF\0bytes", 11);
    m_pair.records->addSKDocument(b, changed);
    m_pair.records->removeSKDocument(1);
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(b), changed);
    EXPECT_EQ(m_pair.records->dateForSKDocument(b), changed.date);
    EXPECT_EQ(m_pair.records->dateForSKDocument(1), std::nullopt);
    EXPECT_THAT(records(), ElementsAre(b));
    m_pair.records->read();
    EXPECT_THAT(records(), ElementsAre(1));
    EXPECT_FALSE(m_pair.records->write());

    m_pair.records->addSKDocument(b, changed);
    for (const DocumentID document : {1U, 3U, 4U, 5U}) m_pair.records->removeSKDocument(document);
    flush();
    EXPECT_THAT(records(), ElementsAre(b));
    m_pair.records->read();
    EXPECT_THAT(records(), ElementsAre(b));
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(b), changed);
    for (const char* name : {"c", "d", "e", "f"}) add(name);
    flush();
    for (const DocumentID document : {2U, 3U, 4U}) remove(document);
    EXPECT_THAT(records(), ElementsAre(5, 6));
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DocumentPropertiesTest, WriteCostsWhatChangedAndNotWhatThereIs) {
    create(std::vector<std::string>(1, "first"));
    for (int i = 0; i < 5000; ++i) add(std::to_string(i));
    flush();
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
    EXPECT_TRUE(m_pair.records->write());
    killAndReopen();
    EXPECT_THAT(m_pair.index->documentsBehind(0, 10), ElementsAre(1, 2));
    EXPECT_THAT(records(), ElementsAre(1, 2));
    EXPECT_EQ(add("d"), lost);
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(lost), recordNamed("d"));
}

TEST_F(DocumentPropertiesTest, KilledBehindTheIndexBothHaveForgottenAndNothingOfItIsLeft) {
    create({"secret", "b"});
    remove(1);
    flush();
    killAndReopen();
    EXPECT_THAT(m_pair.index->documentsBehind(0, 10), ElementsAre(2));
    EXPECT_THAT(records(), ElementsAre(2));

    add("secret");
    flush();
    remove(3);
    flush();
    reopen();
    EXPECT_THAT(records(), ElementsAre(2));
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
    m_folder.write("now/pages.http.data", records);
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), IsEmpty());
    EXPECT_EQ(sideFile(), records);
    m_pair = open(Access::ReadWrite);
    EXPECT_THAT(this->records(), IsEmpty());
    add("x");
    flush();
    EXPECT_THAT(this->records(), ElementsAre(2));
}

TEST_F(DocumentPropertiesTest, DamagedFileIsSetAsideToldOnceAndNeverOverwritten) {
    create({"a"});
    for (const std::string garbage : {"no database at all, but long enough", "another one"}) {
        close();
        m_folder.write("now/pages.http.data", garbage);
        m_told.clear();
        m_pair = open(Access::ReadWrite);
        EXPECT_THAT(records(), IsEmpty());
        EXPECT_EQ(m_pair.records->check().code(), StatusCode::Damaged);
        EXPECT_THAT(m_told, ElementsAre(StatusCode::Damaged));
        add("a");
        flush();
        EXPECT_EQ(records().size(), 1U);
    }
    EXPECT_EQ(m_folder.read("now/pages.http.data.damaged"), "no database at all, but long enough");
    EXPECT_EQ(m_folder.read("now/pages.http.data.damaged2"), "another one");
}

TEST_F(DocumentPropertiesTest, DamageThatShowsLaterSetsTheFileAsideThen) {
    create({});
    for (int i = 0; i < 5000; ++i) add(std::to_string(i));
    flush();
    close();
    std::string bytes = sideFile();
    for (std::size_t at = 8 * 4096; at < bytes.size() - 4096; ++at) bytes[at] = '\x55';
    m_folder.write("now/pages.http.data", bytes);

    m_pair = open(Access::ReadOnly);
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(2500), std::nullopt);
    EXPECT_EQ(sideFile(), bytes);
    m_pair = open(Access::ReadWrite);
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(2500), std::nullopt);
    EXPECT_EQ(m_pair.records->propertiesForSKDocument(2600), std::nullopt);
    EXPECT_THAT(m_told, ElementsAre(StatusCode::Damaged, StatusCode::Damaged));
    EXPECT_TRUE(m_folder.has("now/pages.http.data.damaged"));
    const DocumentID again = add("again");
    flush();
    reopen();
    EXPECT_THAT(records(), ElementsAre(again));
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
        const Pair pair = open(Access::ReadOnly);
        EXPECT_THAT(pair.records->recordsBehind(0, 10), IsEmpty()) << statement;
        EXPECT_EQ(pair.records->propertiesForSKDocument(1), std::nullopt) << statement;
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
        EXPECT_EQ(m_pair.records->propertiesForSKDocument(1), std::nullopt);
        m_pair.records->addSKDocument(9, recordNamed("new"));
        EXPECT_FALSE(m_pair.records->write());
        EXPECT_TRUE(m_pair.records->propertiesForSKDocument(9).has_value());
        EXPECT_THAT(m_told, ElementsAre(StatusCode::UnknownVersion));
        m_pair.records->close();
    }
    EXPECT_EQ(sideFile(), before);
}

TEST_F(DocumentPropertiesTest, FailedWriteKeepsItsChangesForTheNextMutation) {
    create({});
    m_pair.records = std::make_unique<DocumentProperties>(
        m_folder.file("missing/x.data"), *m_pair.index, Access::ReadWrite,
        [this](const Status& status) { m_told.push_back(status.code()); });
    m_pair.records->addSKDocument(1, recordNamed("a"));
    EXPECT_FALSE(m_pair.records->write());
    fs::create_directory(m_folder.file("missing"));
    EXPECT_FALSE(m_pair.records->write());
    EXPECT_EQ(m_told.size(), 1U);
    m_pair.records->addSKDocument(2, recordNamed("b"));
    EXPECT_TRUE(m_pair.records->write());
    EXPECT_THAT(records(), ElementsAre(1, 2));
}

TEST_F(DocumentPropertiesTest, ReadingChangesNothingInTheFolderWhateverAWriterLeftBehind) {
    create({"a"});
    reopen();
    add("b");
    flush();
    // A live writer, a killed one, and one of which only the log was kept.
    fs::copy(m_folder.file("now"), m_folder.file("killed"));
    fs::copy(m_folder.file("now"), m_folder.file("log"));
    fs::remove(m_folder.file("log/pages.http.data-shm"));
    const auto live = folder();
    EXPECT_TRUE(live.contains("pages.http.data-wal"));
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), ElementsAre(1, 2));
    const auto afterwards = folder();
    EXPECT_EQ(afterwards.size(), 4U);
    for (const char* name : {"pages.http", "pages.http.data", "pages.http.data-wal"}) {
        EXPECT_EQ(afterwards.at(name), live.at(name)) << name;
    }
    close();
    const auto clean = folder();
    EXPECT_EQ(clean.size(), 2U);
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), ElementsAre(1, 2));
    EXPECT_EQ(folder(), clean);
    for (const char* left : {"killed", "log"}) {
        fs::remove_all(m_folder.file("now"));
        fs::rename(m_folder.file(left), m_folder.file("now"));
        const auto before = folder();
        EXPECT_THAT(recordsOf(open(Access::ReadOnly)), ElementsAre(1, 2)) << left;
        auto behind = folder();
        if (!before.contains("pages.http.data-shm")) behind.erase("pages.http.data-shm");
        EXPECT_EQ(behind, before) << left;
    }
    m_folder.write("now/pages.http.data", "");
    fs::remove(file(".data-wal"));
    EXPECT_THAT(recordsOf(open(Access::ReadOnly)), IsEmpty());
    EXPECT_EQ(sideFile(), "");
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(DocumentPropertiesTest, OtherProcessReadsWhatIsStillInTheLogOfItsWriter) {
    create({"a"});
    reopen();
    add("b");
    flush();
    const pid_t reader = fork();
    if (reader == 0) {
        const Pair pair = open(Access::ReadOnly);
        _exit(pair.records->propertiesForSKDocument(2) == recordNamed("b") ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(reader, &status, 0), reader);
    EXPECT_EQ(status, 0);
    add("c");
    flush();
    EXPECT_THAT(records(), ElementsAre(1, 2, 3));
}

TEST_F(DocumentPropertiesTest, CheckCountsDocumentsWithoutRecordAndTellsOfDamage) {
    create({"a", "b", "c"});
    m_pair.records->removeSKDocument(2);
    const auto checked = [this] {
        OpenIndex open;
        open.index = std::move(m_pair.index);
        open.properties = std::move(m_pair.records);
        const CheckedIndex result = checkIndex(open);
        m_pair = {std::move(open.index), std::move(open.properties)};
        return result;
    };
    EXPECT_EQ(checked().documents, 3U);
    EXPECT_EQ(checked().withoutRecord, 1U);
    EXPECT_TRUE(checked().status.isOk());
    close();
    std::string bytes = sideFile();
    bytes[4096 + 5] = '\x77';
    m_folder.write("now/pages.http.data", bytes);
    m_pair = open(Access::ReadOnly);
    EXPECT_EQ(checked().status.code(), StatusCode::Damaged);
}

}  // namespace
}  // namespace siftwell
