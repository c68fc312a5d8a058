#include "sqlite/PLSqliteDatabase.h"

#include "base/Url.h"
#include "sqlite/SqliteFixture.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class PLSqliteDatabaseTest : public SqliteFixture {
protected:
    std::string boundAs(PropertyList value) {
        return firstRow("SELECT typeof(?1) || ' ' || quote(?1)", {std::move(value)})
            ->stringForColumnIndex(0);
    }
    // Code and text of the error that `action` fills in.
    static std::string errorOf(const std::function<bool(PlausibleError*)>& action) {
        PlausibleError error;
        EXPECT_FALSE(action(&error));
        return std::to_string(error.code) + " " + error.localizedDescription() + " | " +
               stringFor(error.userInfo, PlausibleDatabase::kVendorStringKey) + " | " +
               stringFor(error.userInfo, PlausibleDatabase::kQueryStringKey);
    }
};

TEST_F(PLSqliteDatabaseTest, MissingFileIsNotMadeByOpeningForReadingOnly) {
    const auto database = PLSqliteDatabase::databaseWithPath(m_folder.file("missing.db"));
    EXPECT_FALSE(database->goodConnection());
    EXPECT_EQ(database->executeQuery("SELECT 1"), nullptr);
    EXPECT_EQ(database->lastInsertRowId(), 0);
    EXPECT_EQ(errorOf([&](PlausibleError* error) {
                  return database->openWithFlags(PLSqliteDatabase::kReadOnly, error);
              }),
              "1 The SQLite database file could not be found. | unable to open database file | ");
    EXPECT_FALSE(m_folder.has("missing.db"));
    EXPECT_EQ(database->executeQuery("SELECT 1"), nullptr);
    EXPECT_EQ(reasonOf([&] { m_database->open(); }),
              "Attempted to open already-open SQLite database instance at '" + path() +
                  "'. Called -[PLSqliteDatabase open] twice?");
    EXPECT_EQ(firstRow("PRAGMA busy_timeout")->intForColumnIndex(0), 5000);
}

TEST_F(PLSqliteDatabaseTest, ArgumentsAreBoundByTheirKind) {
    EXPECT_EQ(boundAs({}), "null NULL");
    EXPECT_EQ(boundAs(PropertyList::Data{std::string("a\0b", 3)}), "blob X'610062'");
    EXPECT_EQ(boundAs("Käse"), "text 'Käse'");
    EXPECT_EQ(boundAs(std::string("up to\0 here", 11)), "text 'up to'");
    EXPECT_EQ(boundAs(Date::fromUnix(1.5)), "real 1.5");
    EXPECT_EQ(boundAs(2.0), "real 2.0");
    EXPECT_EQ(boundAs(true), "integer 1");
    EXPECT_EQ(boundAs(std::int64_t{2147483647}), "integer 2147483647");
    EXPECT_EQ(boundAs(std::int64_t{2147483648}), "integer 2147483648");
    EXPECT_EQ(boundAs(std::int64_t{-2147483648}), "integer -2147483648");
    EXPECT_EQ(boundAs(std::int64_t{-2147483649}), "integer 2147483647");  // truncated to 32 bits
    EXPECT_EQ(reasonOf([&] {
                  m_database->executeQuery("SELECT ?, ?", {1, PropertyList::Array{1, 2}});
              }),
              "SQLite error binding unknown parameter type 'array' for database '" + path() +
                  "'. Value: '2 values'");
    EXPECT_THAT(reasonOf([&] { m_database->executeQuery("SELECT ?, ?", {1}); }),
                HasSubstr("has 2 parameters, but 1 arguments"));
}

TEST_F(PLSqliteDatabaseTest, StatementIsOneAndOnlyOneAndHasToParse) {
    const auto errorOfQuery = [&](const std::string& text) {
        return errorOf([&](PlausibleError* error) {
            return m_database->executeQueryAndReturnError(error, text) != nullptr;
        });
    };
    EXPECT_THAT(errorOfQuery("SELECT 1; SELECT 2"),
                HasSubstr("3 Multiple SQL statements were provided for a single query."));
    EXPECT_THAT(errorOfQuery(std::string("SELECT 1;\0DROP", 14)), HasSubstr("3 Multiple"));
    EXPECT_NE(m_database->executeQuery("SELECT 1; \n\t"), nullptr);
    EXPECT_EQ(errorOfQuery("SELCT 1"),
              "3 An error occured parsing the provided SQL statement. | near \"SELCT\": syntax "
              "error | SELCT 1");
    // The refused statements hold nothing open, or the database would complain when it goes.
    m_database.reset();
    EXPECT_THAT(m_log.take(), IsEmpty());
}

TEST_F(PLSqliteDatabaseTest, UpdateThatFailsAndUpdateThatAnswersRowsDiffer) {
    ASSERT_TRUE(m_database->executeUpdate("CREATE TABLE t (x UNIQUE)"));
    ASSERT_TRUE(m_database->executeUpdate("INSERT INTO t VALUES (?)", {7}));
    EXPECT_EQ(m_database->lastInsertRowId(), 1);
    const auto insertAgain = [&](PlausibleError* error) {
        return m_database->executeUpdateAndReturnError(error, "INSERT INTO t VALUES (?)", {7});
    };
    EXPECT_EQ(errorOf(insertAgain),
              "2 An error occurred executing an SQL update. | UNIQUE constraint failed: t.x | "
              "INSERT INTO t VALUES (?)");
    EXPECT_EQ(reasonOf([&] { m_database->executeUpdate("SELECT x FROM t"); }),
              "SQLite -[PLSqliteDatabase executeUpdate:] query 'SELECT x FROM t' on database '" +
                  path() +
                  "' returned result set. Perhaps the developer provided SELECT query to "
                  "-[db executeUpdate:]?)");
    EXPECT_TRUE(m_database->executeUpdate("DROP TABLE t"));  // which an open statement would block
}

TEST_F(PLSqliteDatabaseTest, TransactionIsTakenBackOrKeptAndAFileReadByItsAddress) {
    EXPECT_TRUE(m_database->beginTransaction());
    m_database->executeUpdate("CREATE TABLE lost (x)");
    EXPECT_TRUE(m_database->rollbackTransaction());
    EXPECT_TRUE(m_database->beginTransaction());
    m_database->executeUpdate("CREATE TABLE visits (x)");
    m_database->executeUpdate("CREATE VIEW seen AS SELECT x FROM visits");
    EXPECT_TRUE(m_database->commitTransaction());
    EXPECT_FALSE(m_database->commitTransaction());

    // A file is read by its address and its options.
    const std::string copy = m_folder.file("a %?#b.db");
    std::filesystem::copy(path(), copy);
    const auto database = PLSqliteDatabase::databaseWithPath(
        Url::fromFilePath(copy).absoluteString() + "?immutable=1");
    ASSERT_TRUE(
        database->openWithFlags(PLSqliteDatabase::kReadOnly | PLSqliteDatabase::kPathIsUri));
    EXPECT_FALSE(database->tableExists("lost"));
    EXPECT_TRUE(database->tableExists("visits"));
    EXPECT_FALSE(database->tableExists("seen"));
    EXPECT_FALSE(database->executeUpdate("DROP TABLE visits"));
}

TEST_F(PLSqliteDatabaseTest, ConfinedQueryEndsWhenItIsToldTo) {
    std::stop_source stop;
    m_database->confine(std::chrono::minutes(10), stop.get_token());
    stop.request_stop();
    const std::string endless =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n";
    EXPECT_NE(reasonOf([&] { m_database->executeQuery(endless)->next(); }), "");
}

}  // namespace
}  // namespace siftwell
