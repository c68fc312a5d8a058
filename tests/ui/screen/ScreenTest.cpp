// From the first start to the end, as a person meets it: real windows, driven by keyboard and
// mouse, over a browser's profile and the site that its user saw.

#include "Screen.h"
#include "SmallWeb.h"
#include "cli/ResidentFixture.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class ScreenTest : public ResidentFixture {
protected:
    void SetUp() override {
        if (!Screen::canBeHad()) GTEST_SKIP() << "needs Xvfb, openbox, xdotool and import";
        m_isFresh = true;
        m_screen.emplace();
        m_web.emplace(SIFTWELL_SOURCE_DIR "/tests/ui/screen/pages", m_home);
        m_variables["DISPLAY"] = m_screen->name();
        m_variables["QT_QPA_PLATFORM"] = "xcb";
        m_variables["PATH"] = m_home.file("bin") + ":" + std::getenv("PATH");
        m_variables["SIFTWELL_ONLINE"] = "yes";
        m_variables["QTWEBENGINE_DISABLE_SANDBOX"] = "1";
        m_variables["XDG_RUNTIME_DIR"] = m_home.file("run");
        m_variables["XDG_CACHE_HOME"] = m_home.file("cache");
        // What the desktop opens addresses with.
        makeProgram("bin/xdg-open", "#!/bin/sh\necho \"$1\" >>" + m_home.file("opened") + "\n");
        std::filesystem::create_directories(m_home.file("run"));
        std::filesystem::permissions(m_home.file("run"), std::filesystem::perms::owner_all);
    }
    void TearDown() override {
        if (m_program == 0 || hasEnded(m_program)) return;
        kill(m_program, SIGKILL);
        wait(m_program);
    }

    void makeProgram(const std::string& name, const std::string& text) {
        std::filesystem::permissions(m_home.write(name, text), std::filesystem::perms::owner_all);
    }

    Screen& screen() { return *m_screen; }
    SmallWeb& web() { return *m_web; }

    // What a person does who calls the program by its name.
    void startProgram() { m_program = start({}, m_home.file("gui.out"), m_home.file("gui.err")); }
    void waitForEnd() {
        EXPECT_EQ(wait(m_program), 0) << m_home.read("gui.err");
        m_program = 0;
    }
    void startWithBrowsers() {
        startProgram();
        screen().waitForWindow("Welcome");
        screen().keepPicture("first-run");
        screen().press("Return");
        screen().waitForWindow("Siftwell");
        waitUntil([this] { return indexedPages() >= web().pages(); });
        screen().waitForQuiet();
    }
    int indexedPages() {
        int pages = 0;
        for (const auto& line : linesOf(siftwell({"status", "--json"}))) {
            const std::string index = line.value("index", "");
            if (index.starts_with("Firefox History")) pages += line.value("documents", 0);
        }
        return pages;
    }
    void search(const std::string& words) {
        screen().press("ctrl+l");
        screen().type(words);
        screen().press("Return");
        waitUntil([&] { return recentSearch() == words; });
        screen().waitForQuiet();
    }
    std::string recentSearch() {
        const auto loop = makeHeadlessRunLoop();
        const auto settings =
            Settings::open(m_home.file("config/siftwell/com.velotrin.Siftwell.plist"),
                           Settings::Access::ReadOnly, *loop);
        const auto recent =
            settings ? (*settings)->strings("RecentSearches") : std::vector<std::string>();
        return recent.empty() ? "" : recent.front();
    }
    bool isIndexed(const std::string& page) { return siftwell({"why", address(page)}).status == 0; }
    std::string address(const std::string& page) { return web().site().address("/" + page); }

    std::optional<Screen> m_screen;
    std::optional<SmallWeb> m_web;
    pid_t m_program = 0;
};

TEST_F(ScreenTest, FromTheFirstStartToTheEnd) {
    startWithBrowsers();
    screen().keepPicture("nothing-typed");

    search("coffee grind");
    screen().keepPicture("results");
    screen().press("Down");
    screen().rest(2500);  // the preview waits for a second
    screen().keepPicture("search");
    screen().press("Return");
    waitUntil([&] { return !m_home.read("opened").empty(); });
    EXPECT_THAT(m_home.read("opened"), HasSubstr("grinding-coffee.html"));

    screen().press("Delete");
    waitUntil([&] { return !isIndexed("grinding-coffee.html"); });
    EXPECT_TRUE(isIndexed("sourdough.html"));

    search("lighthouse");
    screen().press("Down");
    screen().press("ctrl+i");
    screen().waitForWindow("Add Filter");
    screen().keepPicture("add-filter");
    screen().press("Return");
    waitUntil([&] { return siftwell({"filters"}).out.find("-lens.html") != std::string::npos; });
    screen().press("Escape");  // the question whether to filter what is there

    screen().press("ctrl+shift+i");
    screen().waitForWindow("Index status");
    screen().waitForQuiet();
    screen().keepPicture("index-status");
    screen().press("ctrl+w");
    waitUntil([&] { return setting("IndexListVisible")["value"] == "No"; });

    screen().press("ctrl+m");
    screen().waitForWindow("Siftwell");
    screen().type("coffee");
    waitUntil([&] { return recentSearch() == "coffee"; });
    screen().waitForQuiet();
    screen().keepPicture("mini-search");
    screen().press("Escape");

    EXPECT_EQ(siftwell({}).status, 0);
    screen().waitForWindow("Siftwell");
    screen().press("ctrl+q");
    waitForEnd();
}

TEST_F(ScreenTest, ItComesAndGoesByTheCommandAndTheHotKey) {
    startWithBrowsers();
    EXPECT_EQ(siftwell({"toggle"}).status, 0);
    screen().waitForNoWindow("Siftwell");
    EXPECT_EQ(siftwell({"toggle", "--search", "moss"}).status, 0);  // of the copy that runs
    screen().waitForWindow("Siftwell");
    waitUntil([&] { return recentSearch() == "moss"; });
    screen().press("super+ctrl+h");
    screen().waitForNoWindow("Siftwell");
    screen().press("super+ctrl+h");
    screen().waitForWindow("Siftwell");
    EXPECT_EQ(siftwell({}).status, 0);  // a second start shows the window that there is
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    waitForEnd();
}

TEST_F(ScreenTest, WindowsComeBackAsTheyWereAtTheEnd) {
    startWithBrowsers();
    screen().press("ctrl+comma");
    screen().waitForWindow("Preferences");
    screen().keepPicture("preferences");
    screen().press("Escape");
    screen().waitForNoWindow("Preferences");
    EXPECT_EQ(siftwell({}).status, 0);
    screen().waitForWindow("Siftwell");
    screen().press("ctrl+w");
    waitUntil([&] { return setting("ContentSearchVisible")["value"] == "No"; });
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    waitForEnd();

    m_inChild = [] { execl(SIFTWELL_GUI, "siftwell-gui", "--background", nullptr); };
    startProgram();
    m_inChild = {};
    screen().waitForWindow("Index status");
    EXPECT_FALSE(screen().hasWindow("^Siftwell$"));
    EXPECT_FALSE(screen().hasWindow("Welcome"));
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    waitForEnd();
}

TEST_F(ScreenTest, ACommandWithWordsStartsTheProgramWithThem) {
    ASSERT_TRUE(setSetting("FirstRunExplanationShown", true));
    page("moss.html", "Moss", "moss wants shade");
    EXPECT_EQ(add({"moss.html"}).status, 0);
    m_program =
        start({"toggle", "--search", "moss"}, m_home.file("gui.out"), m_home.file("gui.err"));
    screen().waitForWindow("Siftwell");
    waitUntil([&] { return recentSearch() == "moss"; });
    EXPECT_EQ(siftwell({"quit"}).status, 0);
    waitForEnd();
}

}  // namespace
}  // namespace siftwell
