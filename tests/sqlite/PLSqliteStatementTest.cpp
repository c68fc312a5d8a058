#include "sqlite/PLSqliteStatement.h"

#include "sqlite/SqliteFixture.h"

namespace siftwell {
namespace {

using PLSqliteStatementTest = SqliteFixture;

TEST_F(PLSqliteStatementTest, OneStatementStoresManyValuesInFullEvenAfterARunThatFailed) {
    m_database->executeUpdate("CREATE TABLE t (id UNIQUE, v)");
    auto insert = m_database->createStatement("INSERT INTO t VALUES (?, ?)");
    int id = 0;
    const auto store = [&] {
        insert->bindInteger(1, ++id);
        EXPECT_TRUE(insert->run());
    };
    insert->bindInteger(2, INT64_MIN + 1);
    store();
    store();  // the value is still bound
    insert->bindNull(2);
    store();
    insert->bindDate(2, Date::fromUnix(0.5));
    store();
    insert->bindString(2, {});
    store();
    insert->bindData(2, std::string_view("a\0b", 3));
    store();
    EXPECT_EQ(firstRow("SELECT group_concat(quote(v)) FROM t")->stringForColumnIndex(0),
              "-9223372036854775807,-9223372036854775807,NULL,0.5,'',X'610062'");

    PlausibleError error;
    EXPECT_FALSE(insert->run(&error));  // the number is taken
    EXPECT_EQ(error.code, PlausibleDatabase::kQueryFailed);
    EXPECT_EQ(reasonOf([&] { insert->bindInteger(3, 1); }),
              "SQlite error binding parameter 3 for database '" + path() + "': 25");
    m_database.reset();
    store();  // it keeps its database alive
    insert.reset();
    EXPECT_THAT(m_log.take(), testing::IsEmpty());
}

}  // namespace
}  // namespace siftwell
