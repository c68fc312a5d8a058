// BrowserDatabaseFixture: databases as browsers leave them behind, and what is read of them.
#pragma once

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <filesystem>

#include "base/Log.h"
#include "sources/browsers/BrowserDatabase.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

class BrowserDatabaseFixture : public testing::Test {
protected:
    using Reader = Status (*)(BrowserDatabase&, Date, const TakeEntry&);
    using Lines = std::vector<std::string>;
    using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

    // Failing steps are logged.
    BrowserDatabaseFixture() {
        setLogSink([](std::string_view) {});
    }
    ~BrowserDatabaseFixture() override { setLogSink(nullptr); }

    std::string path() const { return m_folder.file("copy"); }

    static void run(const Connection& connection, const std::string& sql) {
        EXPECT_EQ(sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(connection.get());
    }
    Connection connect(const std::string& name) const {
        sqlite3* connection = nullptr;
        EXPECT_EQ(sqlite3_open(m_folder.file(name).c_str(), &connection), SQLITE_OK);
        return {connection, sqlite3_close};
    }

    // A database made by these statements in the place of the one before.
    void make(const std::string& sql) const {
        std::filesystem::remove(path());
        run(connect("copy"), sql);
    }

    // What lies on the disk of a database that its browser still holds open, without the file that
    // only running programs share.
    void copyWhileOpen(const std::string& name) const {
        for (const char* part : {"", "-wal", "-journal"}) {
            const std::string from = m_folder.file(name + part);
            if (std::filesystem::exists(from)) std::filesystem::copy_file(from, path() + part);
        }
    }

    Result<BrowserDatabase> open(std::chrono::milliseconds time = BrowserDatabase::kTime) const {
        return BrowserDatabase::open(path(), "/home/me/places", time);
    }

    // "address|seconds since 1970, to the microsecond|title", sorted.
    static std::string line(const BrowserEntry& entry) {
        std::string date = "-";
        if (entry.date) {
            date.resize(40);
            date.resize(static_cast<std::size_t>(
                std::snprintf(date.data(), date.size(), "%.6f", entry.date->secondsSinceUnix())));
        }
        return entry.url + "|" + date + "|" + entry.title;
    }
    static TakeEntry into(Lines& lines) {
        return [&lines](const BrowserEntry& entry) {
            lines.push_back(line(entry));
            return true;
        };
    }

    Lines read(Reader reader, Date after = Date::distantPast()) const {
        Lines lines;
        auto database = open();
        EXPECT_TRUE(database.isOk()) << database.status().message();
        if (!database) return lines;
        const Status status = reader(*database, after, into(lines));
        EXPECT_TRUE(status.isOk()) << status.message();
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    Status failure(Reader reader, std::chrono::milliseconds time = BrowserDatabase::kTime) const {
        auto database = open(time);
        if (!database) return database.status();
        return reader(*database, Date::distantPast(), [](const BrowserEntry&) { return true; });
    }

    TemporaryFolder m_folder;
};

}  // namespace siftwell
