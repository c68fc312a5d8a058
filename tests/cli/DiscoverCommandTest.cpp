// The browsers of a home folder, from the command line.

#include "cli/ResidentFixture.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class DiscoverCommandTest : public ResidentFixture {
protected:
    DiscoverCommandTest() { m_variables["XDG_CACHE_HOME"] = m_home.file("cache"); }

    void makeBrowsers() {
        m_home.write(".mozilla/firefox/a.work/places.sqlite", "");
        m_home.write("config/chromium/Default/History", "");
        m_home.write("config/chromium/Default/Bookmarks", "");
        m_home.write("cache/chromium/Default/Cache/index", "");
    }
    // "name state", of what discovery tells.
    std::vector<std::string> discovered(bool isEnabling = false) {
        Arguments arguments = {"sources", "discover", "--json"};
        if (isEnabling) arguments.emplace_back("--enable");
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        std::vector<std::string> texts;
        for (const auto& line : linesOf(outcome)) {
            texts.push_back(line["source"].get<std::string>() + " " +
                            line["state"].get<std::string>());
        }
        return texts;
    }
    // The names at the front of the list of sources, up to those that the program brings along.
    std::vector<std::string> listed() {
        std::vector<std::string> names;
        for (const auto& line : linesOf(siftwell({"sources", "--json"}))) {
            if (line["builtIn"] == true) break;
            EXPECT_EQ(line["index"], true);
            names.push_back(line["source"]);
        }
        return names;
    }
};

TEST_F(DiscoverCommandTest, NothingIsWrittenUntilItIsAskedFor) {
    expectFailure({"sources", "discover"}, 1, "There is no browser here");
    expectFailure({"sources", "discover", "--enable"}, 1, "There is no browser here");
    makeBrowsers();
    const Lines before = linesOf(siftwell({"sources", "--json"}));
    const Outcome outcome = siftwell({"sources", "discover"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("Firefox: work\n  Firefox History (work)  [new]\n    " +
                                m_home.file(".mozilla/firefox/a.work/places.sqlite\n")),
                      HasSubstr("Chromium: Default\n  Chromium Cache  [new]\n    " +
                                m_home.file("cache/chromium/Default/Cache\n"))));
    EXPECT_THAT(outcome.err, HasSubstr("siftwell sources discover --enable"));
    EXPECT_EQ(linesOf(siftwell({"sources", "--json"})), before);
    EXPECT_EQ(linesOf(siftwell({"sources", "discover", "--json"})).back(),
              nlohmann::json({{"browser", "Chromium"},
                              {"packaging", nullptr},
                              {"profile", "Default"},
                              {"source", "Chromium Bookmarks"},
                              {"path", m_home.file("config/chromium/Default/Bookmarks")},
                              {"indexer", "URLExtractor"},
                              {"state", "new"}}));
}

TEST_F(DiscoverCommandTest, BrowsersAreAddedOnceAndSwitchedOnAgain) {
    makeBrowsers();
    EXPECT_THAT(
        discovered(true),
        ElementsAre("Firefox History (work) added", "Firefox Bookmarks (work) added",
                    "Chromium Cache added", "Chromium History added", "Chromium Bookmarks added"));
    const std::vector<std::string> names = listed();
    EXPECT_THAT(names, ElementsAre("Chromium Cache", "Firefox History (work)", "Chromium History",
                                   "Firefox Bookmarks (work)", "Chromium Bookmarks"));
    EXPECT_EQ(siftwell({"sources", "disable", "Chromium History"}).status, 0);
    EXPECT_THAT(discovered()[3], "Chromium History off");
    EXPECT_THAT(discovered(true)[3], "Chromium History enabled");
    EXPECT_THAT(discovered(true)[3], "Chromium History on");
    EXPECT_EQ(listed(), names);
}

TEST_F(DiscoverCommandTest, TheFirstStartTellsOfBrowsersAndARunningCopyTakesThem) {
    makeBrowsers();
    const pid_t first = startServing();
    EXPECT_THAT(m_home.read("resident.err"),
                AllOf(HasSubstr("Browsers on this computer: Firefox, Chromium.\n"),
                      HasSubstr("siftwell sources discover --enable")));
    EXPECT_EQ(discovered(true).size(), 5U);
    EXPECT_EQ(listed().size(), 5U);
    endBy(first);
    EXPECT_EQ(discovered(true)[0], "Firefox History (work) on");

    m_home.write("config/vivaldi/Default/History", "");
    const pid_t second = startServing();
    EXPECT_THAT(m_home.read("resident.err"), Not(HasSubstr("Browsers on this computer")));
    endBy(second);
}

}  // namespace
}  // namespace siftwell
