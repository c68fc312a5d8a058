// SmallWeb: a site on the loopback address, and a browser that has been there.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/HttpSite.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

class SmallWeb {
public:
    // Serves the pages of the folder, and writes into the home the history of somebody who saw them
    // all, one an hour.
    SmallWeb(const std::string& folder, const TemporaryFolder& home) : m_home(home) {
        profile("[Profile0]\nName=default\nIsRelative=1\nPath=reader.default\nDefault=1\n");
        run("CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT, title TEXT, hidden INTEGER "
            "DEFAULT 0, last_visit_date INTEGER);"
            "CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, place_id INTEGER, visit_date "
            "INTEGER, visit_type INTEGER);"
            "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER, title "
            "TEXT, dateAdded INTEGER, lastModified INTEGER);");
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            visit(entry.path().filename().string(), contentsOf(entry.path()));
        }
    }

    HttpSite& site() { return m_site; }
    int pages() const { return m_pages; }

    // One more page that the browser's user sees now.
    void visit(const std::string& name, const std::string& content) {
        constexpr std::int64_t kHour = 3'600'000'000;  // µs
        m_site.page("/" + name, {.body = content});
        const std::int64_t date = now() - ++m_pages * 5 * kHour;
        const std::string id = std::to_string(m_pages);
        run("INSERT INTO moz_places VALUES (" + id + ", '" + m_site.address("/" + name) + "', '" +
            titleOf(content) + "', 0, " + std::to_string(date) +
            "); INSERT INTO moz_historyvisits VALUES (" + id + ", " + id + ", " +
            std::to_string(date) + ", 1);");
    }

private:
    static std::string contentsOf(const std::filesystem::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static std::string titleOf(const std::string& content) {
        const std::size_t start = content.find("<title>") + 7;
        return content.substr(start, content.find("</title>") - start);
    }
    static std::int64_t now() {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    void profile(const std::string& text) const {
        static_cast<void>(m_home.write(".mozilla/firefox/profiles.ini", text));
        std::filesystem::create_directories(m_home.file(".mozilla/firefox/reader.default"));
    }
    void run(const std::string& sql) const {
        sqlite3* database = nullptr;
        const std::string file = m_home.file(".mozilla/firefox/reader.default/places.sqlite");
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database) << sql;
        sqlite3_close(database);
    }

    const TemporaryFolder& m_home;
    HttpSite m_site;
    int m_pages = 0;
};

}  // namespace siftwell
