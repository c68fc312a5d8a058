// The commands that work on the whole index, with the real program.

#include <filesystem>
#include <fstream>

#include "cli/ProgramFixture.h"
#include "support/HttpSite.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

class MaintenanceTest : public ProgramFixture {
protected:
    MaintenanceTest() {
        m_variables["SIFTWELL_ONLINE"] = "yes";
        for (const char* name : {"one", "two"}) {
            m_site.page("/" + std::string(name),
                        {.body = "<title>" + std::string(name) + "</title>apple " + name});
        }
    }

    std::string succeed(const Arguments& arguments) {
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments[0] << ": " << outcome.err;
        return outcome.err;
    }
    void addBoth() { succeed({"add", m_site.address("/one"), m_site.address("/two")}); }

    // The files of the index folder in which the text stands, in either letter case, as it is or
    // in two bytes for each letter.
    std::vector<std::string> filesWith(const std::string& text) {
        std::string wide;
        for (const char c : text) wide += std::string(1, c) + '\0';
        std::vector<std::string> names;
        for (const auto& entry :
             std::filesystem::directory_iterator(m_home.file("data/Siftwell"))) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            if (bytes.find(text) != std::string::npos || bytes.find(wide) != std::string::npos) {
                names.push_back(entry.path().filename());
            }
        }
        return names;
    }
    std::vector<std::string> namesOfSources() {
        std::vector<std::string> names;
        for (const auto& line : linesOf(siftwell({"sources", "--json"}))) {
            names.push_back(line["source"]);
        }
        return names;
    }

    HttpSite m_site;
};

TEST_F(MaintenanceTest, AClearedIndexIsEmptyAndItsSourcesAreReadAgain) {
    page("notes/a.html", "Alpha", "apple");
    ASSERT_EQ(add({"notes"}).status, 0);
    succeed({"sources", "enable", "notes"});
    expectFailure({"clear"}, 2, "Say --yes to go on.");
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    succeed({"clear", "--yes"});
    EXPECT_THAT(indexed(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(indexFile("notes.file")));
    succeed({"scan", "--offline"});
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
}

TEST_F(MaintenanceTest, ARebuiltIndexHoldsWhatCanStillBeFetched) {
    addBoth();
    m_site.page("/two", {.body = "<title>Two</title>apple pear"});
    expectFailure({"rebuild"}, 2, "2 pages fetched again");
    m_variables["SIFTWELL_ONLINE"] = "no";
    expectFailure({"rebuild", "--yes"}, 3, "cannot access the Internet");
    EXPECT_EQ(indexed().size(), 2U) << "nothing is emptied that could not be filled again";
    m_variables["SIFTWELL_ONLINE"] = "yes";
    EXPECT_THAT(succeed({"rebuild", "--yes"}), HasSubstr("2 pages added"));
    EXPECT_THAT(titles({"pear"}), ElementsAre("Two"));
    const auto rows = found({"one"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["source"], "127.0.0.1");
    EXPECT_EQ(rows[0]["indexer"], "SingleURL");
    EXPECT_THAT(namesOfSources(), Contains("Index Rebuild Data").Times(1));

    // The list of addresses is no place where a removed page may be read.
    EXPECT_THAT(filesWith(m_site.address("/one")), Contains(testing::EndsWith(".html")));
    succeed({"remove", m_site.address("/one")});
    EXPECT_THAT(filesWith(m_site.address("/one")), IsEmpty());
}

TEST_F(MaintenanceTest, ADumpIsAListOfBookmarksThatGivesThePagesBack) {
    addBoth();
    const std::string list = m_home.file("list.html");
    succeed({"dump", list});
    EXPECT_THAT(
        m_home.read("list.html"),
        AllOf(HasSubstr("<a HREF=\"" + m_site.address("/one") + "\" LAST_VISIT=\""),
              HasSubstr("SOURCE=\"127.0.0.1\" INDEXER=\"SingleURL\""), Not(HasSubstr("Terms:"))));
    expectFailure({"dump", "--terms", list}, 2, "already");
    succeed({"dump", "--terms", "--yes", list});
    EXPECT_THAT(m_home.read("list.html"), HasSubstr(" apple"));
    expectFailure({"dump", m_home.file("missing/list.html")}, 3, "missing");

    const auto pages = [this] { return std::pair(found({"one"}), found({"two"})); };
    const auto before = pages();
    succeed({"clear", "--yes"});
    succeed({"add", "--extract-urls", list});
    const auto after = pages();
    ASSERT_EQ(after.first.size() + after.second.size(), 2U);
    for (const char* key : {"url", "date", "source", "indexer"}) {
        EXPECT_EQ(after.first[0][key], before.first[0][key]) << key;
        EXPECT_EQ(after.second[0][key], before.second[0][key]) << key;
    }
}

TEST_F(MaintenanceTest, APageThatIsRemovedLeavesNoByteBehind) {
    m_site.page("/secret-place", {.body = "<title>Plutonium</title>apple zirkonia-secret"});
    addBoth();
    succeed({"add", m_site.address("/secret-place")});
    EXPECT_THAT(filesWith("secret-place"), Not(IsEmpty()));
    const Outcome outcome =
        siftwell({"remove", m_site.address("/secret-place"), "http://nowhere/"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("http://nowhere/ is not in the index."));
    for (const char* text : {"secret-place", "Plutonium", "plutonium", "zirkonia", "secret"}) {
        EXPECT_THAT(filesWith(text), IsEmpty()) << text;
    }
    EXPECT_EQ(indexed().size(), 2U);
    expectInOrder();
}

TEST_F(MaintenanceTest, FiltersAreHeldAgainstWhatIsIndexedWhenTheyAreApplied) {
    addBoth();
    succeed({"filters", "add", "/TWO"});
    EXPECT_EQ(indexed().size(), 2U);
    EXPECT_THAT(succeed({"filters", "apply"}), HasSubstr("1 page taken out of the index."));
    EXPECT_THAT(indexed(), UnorderedElementsAre(m_site.address("/one")));
    EXPECT_THAT(succeed({"compact"}), HasSubstr(" now, "));
    EXPECT_THAT(filesWith(m_site.address("/two")), IsEmpty());
    expectInOrder();
}

TEST_F(MaintenanceTest, ADamagedIndexFileGivesItsAddressesBack) {
    addBoth();
    std::filesystem::rename(indexFile("127.0.0.1.http"), m_home.file("Old pages.http"));
    std::filesystem::remove_all(m_home.file("data/Siftwell"));
    std::filesystem::resize_file(m_home.file("Old pages.http"),
                                 std::filesystem::file_size(m_home.file("Old pages.http")) - 40);
    succeed({"salvage", m_home.file("Old pages.http")});
    const auto rows = found({"apple"});
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]["source"], "Old pages");
    expectFailure({"salvage", m_home.file("none.http")}, 2, "There is no file");
}

}  // namespace
}  // namespace siftwell
