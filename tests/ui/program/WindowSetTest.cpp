#include "ui/WindowSet.h"

#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"
#include "ui/support/Watchdog.h"

namespace siftwell {

class WindowSetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_program = std::make_unique<UiProgram>();
        m_program->settings().set("FirstRunExplanationShown", true);
        m_program->settings().set("ContentSearchVisible", "No");
        m_program->settings().set("IndexListVisible", "No");
        m_windows = std::make_unique<WindowSet>(WindowSet::Surroundings{
            m_program->session(), m_program->driver(), m_program->desktop, m_program->alerts});
    }
    void cleanup() {
        m_windows.reset();
        m_program.reset();
    }

    void windowsThatWereOpenComeBackAndOthersDoNot() {
        m_program->settings().set("IndexListVisible", "Yes");
        m_windows->open({.isInBackground = true});
        QCOMPARE(shownWindows(), 1);
        m_windows->open();  // by hand: to search
        QCOMPARE(shownWindows(), 2);
    }

    void whatOtherProgramsAskForIsSearched() {
        m_program->addPage("http://h/1", "Apple", "apple");
        QVERIFY(m_program->driver().searchService("apple").isOk());
        QTRY_COMPARE(m_program->settings().strings("RecentSearches"),
                     std::vector<std::string>{"apple"});
        QVERIFY(!m_program->driver().searchService("").isOk());
        m_windows.reset();
        QVERIFY(!m_program->driver().showWindow().isOk());
    }

    void togglingHidesWhatIsShownAndShowsThatAgain() {
        m_windows->showSearch();
        m_windows->showErrors();
        QTRY_COMPARE(QGuiApplication::applicationState(), Qt::ApplicationActive);
        m_windows->toggle();
        QCOMPARE(shownWindows(), 0);
        m_windows->toggle();
        QCOMPARE(shownWindows(), 2);
    }

    // The figures are for whoever reads the log: a busy machine is late for its own reasons.
    void theMainThreadGoesOnWhileWindowsOpenAndTheIndexIsSearchedAndCleared() {
        for (int i = 0; i < 3000; ++i) addPage(i);
        m_program->session().indexes().flush();
        Watchdog watchdog;
        const auto note = [&](const char* what) {
            qInfo("%s: the main thread was busy for %.1f ms at the longest", what,
                  watchdog.takeLongest());
        };
        settle();
        note("before");
        m_windows->showSearch();
        settle();
        note("the search window opens");
        QVERIFY(m_program->driver().searchService("apple").isOk());
        QTRY_COMPARE(m_program->settings().strings("RecentSearches").size(), std::size_t{1});
        settle();
        note("3,000 pages are found");
        m_windows->showIndexStatus();
        settle();
        note("the index status opens");
        m_windows->showErrors();
        settle();
        note("the errors open");
        m_program->alerts.answer = 1;  // yes
        m_windows->compactIndex(nullptr);
        waitForCommand();
        note("the index is compacted");
        m_windows->clearIndex(nullptr);
        waitForCommand();
        note("the index is cleared");
        QCOMPARE(m_program->session().indexes().documentCount(), std::int64_t{0});
    }

private:
    void addPage(int i) {
        const std::string number = std::to_string(i);
        m_program->session().indexes().parseAndAddContent(
            {.content = "<html><body>apple word" + number + " more words of a page</body></html>",
             .url = Url::parse("http://host/" + number).value(),
             .date = Date::fromReference(700'000'000 + i * 3600.0),
             .title = "Page " + number,
             .cachePath = std::nullopt,
             .source = "Pages",
             .indexer = "URLExtractor",
             .mimeType = "text/html"});
    }

    static void settle() { QTest::qWait(400); }

    void waitForCommand() {
        QTRY_VERIFY_WITH_TIMEOUT(!m_program->driver().maintenanceState()->isRunning, 60'000);
        settle();
    }

    static int shownWindows() {
        int count = 0;
        for (const QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible()) ++count;
        }
        return count;
    }

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<WindowSet> m_windows;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::WindowSetTest)

#include "WindowSetTest.moc"
