#include "sqlite/PLSqliteResultSet.h"

#include "sqlite/SqliteFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using PLSqliteResultSetTest = SqliteFixture;

TEST_F(PLSqliteResultSetTest, ValuesAreReadAsTheTypeTheyHave) {
    const auto row = firstRow(
        "SELECT 4294967297 AS big, 256 AS even, 0.1 AS r, 86400.25 AS day, x'0041FF' AS b, "
        "x'' AS e, NULL AS n, CAST(x'41C32842F09F8D90EDA080610062' AS TEXT) AS s");
    EXPECT_EQ(row->bigIntForColumn("big"), 4294967297);
    EXPECT_EQ(row->intForColumn("big"), 1);
    EXPECT_TRUE(row->boolForColumn("big"));
    EXPECT_FALSE(row->boolForColumn("even"));  // only the lowest 8 bits count
    EXPECT_EQ(row->floatForColumn("r"), 0.1F);
    EXPECT_EQ(row->doubleForColumn("r"), 0.1);
    EXPECT_EQ(row->dateForColumn("day"), Date::fromUnix(86400.25));
    EXPECT_EQ(row->dataForColumn("b"), std::string("\0A\xFF", 3));
    EXPECT_EQ(row->dataForColumn("e"), "");
    EXPECT_TRUE(row->isNullForColumn("n"));
    EXPECT_FALSE(row->isNullForColumn("e"));
    // Text of any bytes becomes valid UTF-8.
    EXPECT_EQ(row->stringForColumn("s"), "A\uFFFD(B🍐\uFFFDa" + std::string("\0b", 2));
}

TEST_F(PLSqliteResultSetTest, NothingIsConvertedBetweenTypes) {
    const auto row = firstRow("SELECT 1 AS i, 1.0 AS r, '1' AS s, x'31' AS b, NULL AS n");
    const auto refused = [&](auto getter, const char* column, const std::string& type) {
        EXPECT_EQ(reasonOf([&] { ((*row).*getter)(column); }),
                  "Attempted to access non-" + type + " column as " + type + ".");
    };
    using Row = PLSqliteResultSet;
    refused(&Row::boolForColumn, "r", "BOOL");
    refused(&Row::intForColumn, "s", "int32_t");
    refused(&Row::bigIntForColumn, "r", "int64_t");
    refused(&Row::floatForColumn, "i", "float");
    refused(&Row::doubleForColumn, "i", "double");
    refused(&Row::dateForColumn, "i", "NSDate *");
    refused(&Row::stringForColumn, "b", "NSString *");
    refused(&Row::dataForColumn, "s", "NSData *");
    EXPECT_EQ(reasonOf([&] { row->stringForColumn("n"); }),
              "Attempted to access null column value for column index 4. Use -[PLResultSet "
              "isNullColumn].");
}

TEST_F(PLSqliteResultSetTest, ColumnsAreFoundWhateverTheCaseAndTheLaterOfTwoWins) {
    const auto row = firstRow("SELECT 'u' AS url, 'first' AS Name, 'second' AS NAME");
    EXPECT_EQ(row->stringForColumn("URL"), "u");
    EXPECT_EQ(row->columnIndexForName("name"), 2);
    EXPECT_EQ(reasonOf([&] { row->stringForColumn("title"); }),
              "Attempted to access unknown result column title");
    EXPECT_EQ(reasonOf([&] { row->isNullForColumnIndex(3); }),
              "Attempted to access out-of-range column index 3");
}

TEST_F(PLSqliteResultSetTest, ResultSetKeepsItsDatabaseAliveAndAnswersNothingOnceClosed) {
    const auto rows = m_database->executeQuery("SELECT 1 UNION SELECT 2");
    m_database.reset();
    EXPECT_TRUE(rows->next());
    EXPECT_TRUE(rows->next());
    EXPECT_EQ(rows->intForColumnIndex(0), 2);
    EXPECT_FALSE(rows->next());
    rows->close();
    rows->close();
    const std::string closed = "Attempt to access already-closed result set.";
    EXPECT_EQ(reasonOf([&] { rows->next(); }), closed);
    EXPECT_EQ(reasonOf([&] { rows->isNullForColumn("unknown"); }), closed);
    EXPECT_THAT(m_log.take(), IsEmpty());
}

TEST_F(PLSqliteResultSetTest, DamageShowsAtTheStepThatMeetsIt) {
    m_database->executeUpdate("CREATE TABLE t AS SELECT randomblob(50000) AS x");
    m_database.reset();
    std::string bytes = m_folder.read("test.db");
    std::fill(bytes.begin() + 4096, bytes.end(), '\xAA');  // all but the page with the schema
    m_folder.write("test.db", bytes);

    const auto database = PLSqliteDatabase::databaseWithPath(path());
    ASSERT_TRUE(database->openWithFlags(PLSqliteDatabase::kReadOnly));
    const auto rows = database->executeQuery("SELECT x FROM t");
    ASSERT_NE(rows, nullptr);
    const std::string reason =
        "Error occurred calling next on a PLSqliteResultSet. Error: database disk image is "
        "malformed";
    EXPECT_EQ(reasonOf([&] { rows->next(); }), reason);
    EXPECT_THAT(m_log.take(), ElementsAre(reason));
}

}  // namespace
}  // namespace siftwell
