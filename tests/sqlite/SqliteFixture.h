// SqliteFixture: a real database file in a temporary folder.
#pragma once

#include <gmock/gmock.h>

#include "base/Exception.h"
#include "sqlite/PLSqliteDatabase.h"
#include "support/LoggedLines.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

class SqliteFixture : public testing::Test {
protected:
    SqliteFixture() { EXPECT_TRUE(m_database->open()); }

    std::string path() const { return m_folder.file("test.db"); }

    // The reason of the exception that `action` throws; "" when it throws none.
    template <typename Action>
    static std::string reasonOf(const Action& action) {
        try {
            action();
        } catch (const NamedException& exception) {
            EXPECT_EQ(exception.name(), "PLSqliteException");
            return exception.reason();
        }
        return "";
    }

    std::unique_ptr<PLSqliteResultSet> firstRow(const std::string& query,
                                                const PropertyList::Array& args = {}) {
        auto rows = m_database->executeQuery(query, args);
        EXPECT_NE(rows, nullptr) << query;
        EXPECT_TRUE(rows->next()) << query;
        return rows;
    }

    TemporaryFolder m_folder;
    LoggedLines m_log;
    std::shared_ptr<PLSqliteDatabase> m_database = PLSqliteDatabase::databaseWithPath(path());
};

}  // namespace siftwell
