#include "SearchWindowTest.h"

#include <QAbstractButton>
#include <QMenuBar>
#include <set>

#include "ui/ProgramMenus.h"
#include "ui/preview/WebPreviewPane.h"
#include "ui/search/ErrorsButton.h"
#include "ui/search/FilterSheet.h"
#include "ui/search/IndexingProgress.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

namespace {

// The keys that would only move the focus, or tell of an ambiguity.
class DoubledKeys {
public:
    explicit DoubledKeys(QMainWindow& window) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        for (const QAction* action : window.findChildren<QAction*>()) {
            for (const QKeySequence& key : action->shortcuts()) note(m_known, key);
        }
        for (const auto* button : window.findChildren<QAbstractButton*>()) {
            note(m_known, button->shortcut());  // a letter of its text, too
        }
        noteLetters(m_known, window.menuBar()->actions());
        for (const QMenu* menu : window.findChildren<QMenu*>()) {
            std::set<QKeySequence> known;
            noteLetters(known, menu->actions());
        }
    }
    const QStringList& keys() const { return m_doubled; }
    bool isKnown(const char* key) const {
        return m_known.contains(QKeySequence(QString::fromLatin1(key)));
    }

private:
    void note(std::set<QKeySequence>& known, const QKeySequence& key) {
        if (!key.isEmpty() && !known.insert(key).second) m_doubled << key.toString();
    }
    void noteLetters(std::set<QKeySequence>& known, const QList<QAction*>& actions) {
        for (const QAction* action : actions) note(known, QKeySequence::mnemonic(action->text()));
    }

    std::set<QKeySequence> m_known;
    QStringList m_doubled;
};

}  // namespace

void SearchWindowTest::wordsFindPagesAndTheEndClearsTheStatus() {
    m_f->pages(25);
    m_f->open();
    QVERIFY(m_f->window().field().placeholderText().contains(QStringLiteral("25")));
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QCOMPARE(m_f->rowCount(), 25);
    QCOMPARE(m_f->window().statusText(), QStringLiteral("25 pages"));
    QVERIFY(!m_f->window().isEmptyPageShown());
    QVERIFY(m_f->search(QStringLiteral("banana7")));
    QCOMPARE(m_f->rowCount(), 1);
    QVERIFY(m_f->title(0).endsWith(QStringLiteral("Title 7")));
    QCOMPARE(m_f->program.settings().strings("RecentSearches").front(), std::string("banana7"));
}

void SearchWindowTest::aNewSearchTakesThePlaceOfTheOldOne() {
    m_f->pages(60);
    m_f->open();
    m_f->window().field().showText(QStringLiteral("apple"));
    QTest::keyClick(&m_f->window().field(), Qt::Key_Return);  // its batches are under way
    QVERIFY(m_f->search(QStringLiteral("banana3")));
    QTest::qWait(50);
    QCOMPARE(m_f->rowCount(), 1);
    QCOMPARE(m_f->window().statusText(), QStringLiteral("1 page"));
}

void SearchWindowTest::typingSearchesWhenItRests() {
    m_f->pages(3);
    m_f->open();
    QSignalSpy rested(&m_f->window().field(), &SearchField::rested);
    QTest::keyClicks(&m_f->window().field(), QStringLiteral("apple"));
    QCOMPARE(m_f->rowCount(), 0);
    QTRY_COMPARE(m_f->rowCount(), 3);
    QCOMPARE(rested.count(), 1);

    m_f->program.settings().set("LiveSearch", 0);
    QTest::keyClicks(&m_f->window().field(), QStringLiteral("x"));
    QTest::qWait(250);
    QCOMPARE(m_f->rowCount(), 3);
}

void SearchWindowTest::aDoubleClickOpensThePageAndPreviewsNothing() {
    m_f->pages(2);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("banana1")));
    QTest::mouseDClick(m_f->window().view().viewport(), Qt::LeftButton, {}, m_f->placeOf(0));
    m_f->click(0);
    QTest::mouseDClick(m_f->window().view().viewport(), Qt::LeftButton, {}, m_f->placeOf(0));
    QCOMPARE(m_f->program.desktop.opened, std::vector<std::string>{"http://host1.example/page/1"});
    QTest::qWait(QApplication::doubleClickInterval() + 100);
    QVERIFY(m_f->preview->shown.isEmpty());
}

void SearchWindowTest::theSelectedRowIsPreviewedAfterARest() {
    m_f->pages(3);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QAction* openPreviewed = m_f->action(QStringLiteral("Open Pre&viewed Page"));
    QVERIFY(!openPreviewed->isEnabled());
    m_f->click(1);
    QVERIFY(m_f->preview->shown.isEmpty());
    QTRY_COMPARE(m_f->preview->shown.size(), 1);
    QVERIFY(m_f->program.desktop.opened.empty());
    openPreviewed->trigger();
    QCOMPARE(m_f->program.desktop.opened.size(), 1U);

    m_f->window().view().selectRowAt(2);
    QTest::qWait(QApplication::doubleClickInterval() + 100);
    QCOMPARE(m_f->preview->shown.size(), 1);  // a selection rests for a second
    QTRY_COMPARE(m_f->preview->shown.size(), 2);

    QVERIFY(m_f->search(QString()));  // blanks the preview
    QVERIFY(!openPreviewed->isEnabled());
}

void SearchWindowTest::withThePreviewShutAClickOpensThePage() {
    m_f->pages(1);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("apple")));
    m_f->window().rowActions().preview->trigger();
    m_f->click(0);
    QCOMPARE(m_f->program.desktop.opened.size(), 1U);
    QTest::mouseDClick(m_f->window().view().viewport(), Qt::LeftButton, {}, m_f->placeOf(0));
    QCOMPARE(m_f->program.desktop.opened.size(), 1U);
    QTest::qWait(1100);
    QVERIFY(m_f->preview->shown.isEmpty());
    m_f->window().rowActions().preview->trigger();
    QCOMPARE(m_f->preview->shown.size(), 1);
}

void SearchWindowTest::anAddressThatNothingOpensIsTold() {
    m_f->pages(1);
    m_f->open();
    m_f->program.desktop.canOpen = false;
    QVERIFY(m_f->search(QStringLiteral("apple")));
    m_f->window().view().selectRowAt(0);
    m_f->window().rowActions().open->trigger();
    QCOMPARE(m_f->program.alerts.asked.size(), 1U);
    QCOMPARE(m_f->program.alerts.asked[0].text, std::string("http://host0.example/page/0"));
    m_f->window().rowActions().copy->trigger();
    QCOMPARE(m_f->program.desktop.copied.size(), 1U);
}

void SearchWindowTest::removingAPageTakesItsRowEvenWhenTheIndexHasItNoMore() {
    m_f->pages(3);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("apple")));
    m_f->window().view().selectRowAt(1);
    const std::string address =
        static_cast<ResultModel*>(m_f->window().view().model())->rowAt(1).url;
    QVERIFY(m_f->program.driver().removeFromIndex({address}).value() == 1);
    const QString next = m_f->title(2);
    m_f->window().view().setFocus();
    QTest::keyClick(&m_f->window().view(), Qt::Key_Delete);
    QCOMPARE(m_f->rowCount(), 2);
    QCOMPARE(m_f->title(m_f->window().view().selectedRow()), next);
    QCOMPARE(m_f->window().statusText(), QStringLiteral("2 pages"));
    QTest::keyClick(&m_f->window().view(), Qt::Key_Delete);
    QCOMPARE(m_f->rowCount(), 1);
    QVERIFY(m_f->program.driver().removeFromIndex({}));  // behind what was asked for before
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QCOMPARE(m_f->rowCount(), 1);
}

void SearchWindowTest::keysLeadFromTheFieldToTheRowsAndBack() {
    m_f->pages(2);
    m_f->open();
    QVERIFY(QTest::qWaitForWindowActive(&m_f->window()));
    QVERIFY(m_f->search(QStringLiteral("apple")));
    ResultView& view = m_f->window().view();
    QTest::keyClick(&m_f->window().field(), Qt::Key_Down);
    QVERIFY(view.hasFocus());
    QCOMPARE(view.selectedRow(), 0);
    QTest::keyClick(&view, Qt::Key_Down);
    QTest::keyClick(&view, Qt::Key_Return);
    QCOMPARE(m_f->program.desktop.opened.size(), 1U);
    QTest::keyClick(&view, Qt::Key_Up);
    QTest::keyClick(&view, Qt::Key_Up);
    QVERIFY(m_f->window().field().hasFocus());
    QTest::keyClick(&m_f->window().field(), Qt::Key_Down);
    QTest::keyClick(&view, Qt::Key_F3);
    QCOMPARE(m_f->preview->finds, QList<int>{2});
    const QString number = m_f->title(0).right(1);
    QTest::keyClick(&view, Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(m_f->window().field().text(), QStringLiteral("host%1.example").arg(number));
}

void SearchWindowTest::escapeClearsTheFieldThenClosesTheWindow() {
    m_f->pages(1);
    m_f->open();
    QCOMPARE(m_f->program.settings().string("ContentSearchVisible"), std::string("Yes"));
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QTest::keyClick(&m_f->window().field(), Qt::Key_Escape);
    QVERIFY(m_f->window().isVisible());
    QVERIFY(m_f->window().field().text().isEmpty());
    QVERIFY(m_f->window().isEmptyPageShown());
    QTest::keyClick(&m_f->window().field(), Qt::Key_Escape);
    QVERIFY(!m_f->window().isVisible());
    QCOMPARE(m_f->program.settings().string("ContentSearchVisible"), std::string("No"));
    m_f->windows().show();
    m_f->window().setIsEnding();
    m_f->window().close();
    QCOMPARE(m_f->program.settings().string("ContentSearchVisible"), std::string("Yes"));
}

void SearchWindowTest::menusChangeWhatIsFound() {
    m_f->pages(2, "Firefox History");
    m_f->program.addPage("http://old.example/", "Old", "applesauce", "Safari Cache", 100);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QCOMPARE(m_f->rowCount(), 2);
    QTest::keyClick(&m_f->window(), Qt::Key_2, Qt::ControlModifier);  // parts of words
    QVERIFY(m_f->rest());
    QCOMPARE(m_f->rowCount(), 3);
    QCOMPARE(m_f->program.settings().string("SearchType"), std::string("1"));

    auto* locations = m_f->window().findChild<LocationMenu*>();
    Q_EMIT locations->aboutToShow();
    for (QAction* action : locations->actions()) {
        if (action->text() == QLatin1String("Firefox History")) action->trigger();
    }
    QVERIFY(m_f->rest());
    QCOMPARE(m_f->rowCount(), 1);
    const auto items = searchItemsIn(m_f->program.settings().array("SearchItems"));
    const auto firefox = std::find_if(items.begin(), items.end(), [](const SearchItem& item) {
        return item.Name == "Firefox History";
    });
    QVERIFY(!firefox->Search);

    auto* dates = m_f->window().findChild<DateMenu*>();
    m_f->program.settings().set("constraintDate1", Date::fromReference(0));
    limitToRecent(m_f->program.settings(), 1, 1440);
    Q_EMIT dates->changed();
    QVERIFY(m_f->rest());
    QCOMPARE(m_f->rowCount(), 0);
    limitToDays(m_f->program.settings(), QDate(2001, 1, 2), QDate(2000, 12, 30));
    Q_EMIT dates->changed();
    QVERIFY(m_f->rest());
    QCOMPARE(m_f->rowCount(), 1);
}

void SearchWindowTest::emptyPagesSayWhy() {
    m_f->open();
    EmptyPage& page = m_f->window().emptyPage();
    QCOMPARE(page.reason(), EmptyPage::Reason::NothingIndexed);
    page.findChild<QPushButton*>()->click();
    QTRY_COMPARE(m_f->program.commands.calls, std::vector<std::string>{"first run"});
    m_f->pages(1);
    page.refresh();
    QCOMPARE(page.reason(), EmptyPage::Reason::NothingTyped);
    m_f->program.driver().disableIndexing();
    page.refresh();
    QCOMPARE(page.reason(), EmptyPage::Reason::IndexingOff);
    m_f->program.driver().enableIndexing();

    limitToRecent(m_f->program.settings(), 1, 1440);
    QVERIFY(m_f->search(QStringLiteral("apple")));
    QCOMPARE(page.reason(), EmptyPage::Reason::NothingFound);
    QVERIFY(page.text().contains(QStringLiteral("Past day")));
    for (auto* button : page.findChildren<QPushButton*>()) {
        if (button->text() == QLatin1String("Search &Any Time")) button->click();
    }
    QTRY_COMPARE(m_f->rowCount(), 1);
    QVERIFY(!m_f->window().isEmptyPageShown());
    QVERIFY(m_f->search(QStringLiteral("The and")));
    QTRY_VERIFY(page.text().contains(QStringLiteral("nearly every page")));
}

void SearchWindowTest::nowhereToLookFindsNothingAndSaysSo() {
    m_f->pages(1);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("apple")));
    auto* locations = m_f->window().findChild<LocationMenu*>();
    Q_EMIT locations->aboutToShow();
    for (QAction* action : locations->actions()) {
        if (action->isChecked()) action->trigger();
    }
    QCOMPARE(m_f->rowCount(), 0);
    QVERIFY(m_f->window().emptyPage().text().contains(QStringLiteral("Nowhere")));
    Q_EMIT locations->aboutToShow();
    locations->actions().first()->trigger();
    QTRY_COMPARE(m_f->rowCount(), 1);
}

void SearchWindowTest::textOfOtherProgramsIsSearchedFor() {
    m_f->pages(2);
    m_f->open();
    m_f->window().close();
    QVERIFY(m_f->windows().searchFor("banana1").isOk());
    QVERIFY(m_f->window().isVisible());
    QCOMPARE(m_f->window().field().text(), QStringLiteral("banana1"));
    QTRY_COMPARE(m_f->rowCount(), 1);
}

void SearchWindowTest::aFilterIsProposedAndThePagesAreHeldAgainstIt() {
    m_f->pages(2);
    m_f->open();
    QVERIFY(m_f->search(QStringLiteral("banana1")));
    m_f->window().view().selectRowAt(0);
    m_f->window().rowActions().addFilter->trigger();
    auto* sheet = m_f->window().findChild<FilterSheet*>();
    QCOMPARE(sheet->findChild<QLineEdit*>()->text(), QStringLiteral("host1.example/page/1"));
    sheet->accept();
    QCOMPARE(m_f->program.alerts.asked.size(), 1U);
    QVERIFY(m_f->program.alerts.asked[0].title.starts_with("You have added new filtering"));
    QCOMPARE(m_f->program.commands.calls, std::vector<std::string>{"filter"});
    // The pass is followed by the same search.
    QVERIFY(m_f->program.driver().applyFilters().isOk());
    QTRY_COMPARE_WITH_TIMEOUT(m_f->rowCount(), 0, SearchFixture::kLongest);
    QTRY_VERIFY(m_f->window().isEmptyPageShown());
}

void SearchWindowTest::whatIsDroppedIsAdded() {
    m_f->open();
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("https://a.example/x y"))});
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&m_f->window(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&m_f->window(), &drop);
    QTRY_COMPARE(m_f->program.commands.calls,
                 std::vector<std::string>{"add https://a.example/x%20y"});
}

void SearchWindowTest::theLookIsRemembered() {
    m_f->open();
    m_f->action(QStringLiteral("As &Table"))->trigger();
    m_f->window().view().showColumn(ResultModel::SourceColumn, false);
    m_f->window().view().setColumnWidth(ResultModel::TitleColumn, 123);
    m_f->window().rowActions().preview->trigger();
    m_f->window().close();
    m_f->open();
    QVERIFY(m_f->window().view().form() == ResultView::Form::Table);
    QVERIFY(!m_f->window().view().isColumnShown(ResultModel::SourceColumn));
    QCOMPARE(m_f->window().view().columnWidth(ResultModel::TitleColumn), 123);
    m_f->action(QStringLiteral("As &Table"))->trigger();
    m_f->action(QStringLiteral("As &Table"))->trigger();
    QVERIFY(!m_f->window().view().isColumnShown(ResultModel::SourceColumn));
}

void SearchWindowTest::noKeyStandsForTwoThings() {
    m_f->pages(1);
    SearchWindows windows(m_f->program.program(), [this](QWidget* parent) {
        return new WebPreviewPane(m_f->program.program(), parent);
    });
    windows.show();
    SearchWindow& window = *windows.mainWindow();
    addProgramMenusTo(*window.menuBar(), m_f->program.commands);
    const DoubledKeys typed(window);
    QCOMPARE(typed.keys(), QStringList());
    for (const char* const key : {"Alt+F", "Ctrl+Shift+F", "Ctrl+Shift+O", "F3", "Ctrl+0"}) {
        QVERIFY2(typed.isKnown(key), key);
    }

    // With all that an empty page may offer.
    limitToRecent(m_f->program.settings(), 1, 1440);
    auto* locations = window.findChild<LocationMenu*>();
    Q_EMIT locations->aboutToShow();
    locations->actions().last()->trigger();
    for (const int type : {1, 0}) {
        window.findChild<SearchTypeMenu*>()->actions().at(type)->trigger();
        window.field().showText(QStringLiteral("pear"));
        QTest::keyClick(&window.field(), Qt::Key_Return);
        QTRY_COMPARE(window.emptyPage().reason(), EmptyPage::Reason::NothingFound);
        QCOMPARE(window.emptyPage().findChildren<QPushButton*>().size(), 3);
        QCOMPARE(DoubledKeys(window).keys(), QStringList());
    }
    window.field().showText(QString());
    QTest::keyClick(&window.field(), Qt::Key_Return);
    m_f->program.settings().set("SearchItems", PropertyList::Array{});
    window.emptyPage().refresh();
    QCOMPARE(window.emptyPage().reason(), EmptyPage::Reason::IndexingOff);
    QCOMPARE(DoubledKeys(window).keys(), QStringList());
}

void SearchWindowTest::progressAndErrorsAreTold() {
    m_f->open();
    SWNotifier& notifier = m_f->program.session().notifier();
    auto* progress = m_f->window().findChild<IndexingProgress*>();
    notifier.reportProgressStartingIn("Firefox History", 3);
    notifier.reportProgressDoneIn("Firefox History", "Checking URL dates...");
    notifier.reportProgressDoneIn("Firefox History", "http://a.example/");
    QTRY_COMPARE(progress->text(), QStringLiteral("Indexing Firefox History 1/3"));
    notifier.reportProgressDoneIn("Firefox History", "");
    QTRY_VERIFY(progress->isHidden());

    auto* errors = m_f->window().findChild<ErrorsButton*>();
    notifier.reportError("one", 3, "", "");
    notifier.reportError("two", 3, "", "");
    QTRY_COMPARE(errors->text(), QStringLiteral("2 errors"));
    errors->click();
    QCOMPARE(m_f->program.commands.calls, std::vector<std::string>{"errors"});
    QVERIFY(errors->isHidden());
}

}  // namespace siftwell
