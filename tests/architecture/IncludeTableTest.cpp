// Holds the code to the table of docs/architecture.md: who may include from whom.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

using Table = std::map<std::string, std::set<std::string>>;

const fs::path kRoot = SIFTWELL_SOURCE_DIR;

std::vector<std::string> linesOf(const fs::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// Rows of the form "| `folder/` | … | a, b, c |".
Table readTable() {
    const std::regex row(R"(\| `(\w+)/` \|[^|]*\|([^|]*)\|)");
    Table table;
    for (const std::string& line : linesOf(kRoot / "docs/architecture.md")) {
        std::smatch match;
        if (!std::regex_match(line, match, row)) continue;
        std::set<std::string>& allowed = table[match[1]];
        allowed.insert(match[1]);
        std::istringstream names(match[2]);
        for (std::string name; std::getline(names, name, ',');) {
            name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
            if (!name.empty()) allowed.insert(name);
        }
    }
    return table;
}

// The folder that an #include names, or "" for a system header.
std::string includedFolder(const std::string& line) {
    static const std::regex include(R"(\s*#\s*include\s*\"([^\"/]+)/.*)");
    std::smatch match;
    return std::regex_match(line, match, include) ? match[1].str() : "";
}

TEST(IncludeTableTest, EveryFolderIncludesOnlyFromThoseBelowIt) {
    const Table table = readTable();
    ASSERT_GE(table.size(), 10U) << "the table was not found";
    int includes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / "src")) {
        const std::string extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        const std::string folder = *fs::relative(entry.path(), kRoot / "src").begin();
        ASSERT_TRUE(table.contains(folder)) << folder << " has no row in the table";
        for (const std::string& line : linesOf(entry.path())) {
            const std::string included = includedFolder(line);
            if (included.empty()) continue;
            ++includes;
            EXPECT_TRUE(table.at(folder).contains(included)) << entry.path() << ": " << line;
        }
    }
    EXPECT_GT(includes, 100);
}

TEST(IncludeTableTest, TableHasNoCircles) {
    Table table = readTable();
    // Folders whose rows name only folders that are gone are taken away until none is left.
    for (bool isChanged = true; isChanged;) {
        isChanged = false;
        for (auto row = table.begin(); row != table.end();) {
            const bool isFree =
                std::none_of(row->second.begin(), row->second.end(), [&](const std::string& name) {
                    return name != row->first && table.contains(name);
                });
            row = isFree ? table.erase(row) : std::next(row);
            isChanged = isChanged || isFree;
        }
    }
    EXPECT_THAT(table, testing::IsEmpty());
}

}  // namespace
