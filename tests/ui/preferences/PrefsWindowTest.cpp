#include "ui/preferences/PrefsWindow.h"

#include <QDeadlineTimer>
#include <QListView>
#include <thread>

#include "app/DefaultURLFilters.h"
#include "base/Files.h"
#include "ui/desktop/LaunchAtLogin.h"
#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"

namespace siftwell {

class PrefsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_program = std::make_unique<UiProgram>();
        auto& preferences = m_program->session().preferences();
        preferences.setMutableSearchItemsArray(
            {item("built in", false), item("mine", true), item("Manual Search", false)});
        preferences.commitSettings();
        m_window = std::make_unique<PrefsWindow>(m_program->program());
    }
    void cleanup() {
        m_window.reset();
        QVERIFY(m_program->session().indexes().indexingEnabled());
        m_program.reset();
    }

    void cancelLeavesAllThatIsStoredAsItWas() {
        const auto before = stored();
        open();
        QVERIFY(!m_program->session().indexes().indexingEnabled());
        select({QStringLiteral("mine")});
        type(field("Path or address of the source"), "/elsewhere");
        button("Add", SourcesTab)->click();
        button("Add", FiltersTab)->click();
        button("Default Filters…", FiltersTab)->click();
        days()->setValue(7);
        m_window->hotkey().setHotkey();
        m_window->hotkey().finishHotkey(HotkeyAnswer::Clear);
        m_window->reject();
        QVERIFY(!m_window->isVisible());
        QCOMPARE(stored() == before, true);
        QCOMPARE(sources()->model()->rowCount(), 3);  // a hidden list is asked for them, too
        open();                                       // and nothing of it is shown again
        select({QStringLiteral("mine")});
        QCOMPARE(field("Path or address of the source")->text(), QStringLiteral("/mine"));
        m_window->reject();
    }

    void confirmingStoresWhatWasChangedAndNothingElse() {
        open();
        select({QStringLiteral("mine")});
        type(field("Path or address of the source"), "/elsewhere");
        days()->setValue(7);
        // Somebody else stores meanwhile.
        auto& driver = m_program->driver();
        QVERIFY(driver.setSearchItemValue("mine", "Search", false).isOk());
        QVERIFY(driver.setSearchItemValue("built in", "Path", "/other").isOk());
        QVERIFY(driver.resetScanDate("mine").isOk());
        QVERIFY(driver.addMissingItems({item("new", true)}).isOk());
        QCOMPARE(m_program->settings().integer("DaysToSearch"), 60);
        m_window->accept();
        QCOMPARE(m_program->settings().integer("DaysToSearch"), 7);
        QCOMPARE(itemNamed("mine").Path, std::string("/elsewhere"));
        QCOMPARE(itemNamed("mine").Search, false);
        QCOMPARE(itemNamed("built in").Path, std::string("/other"));
        QCOMPARE(itemNamed("new").Path, std::string("/new"));
        QVERIFY(m_program->settings().userValue("URLFilters").isNull());
        QVERIFY(m_program->alerts.asked.empty());
    }

    void onlySourcesOfTheUserCanBeRemoved() {
        open();
        auto* remove = button("Remove", SourcesTab);
        const auto isRemovable = [&](const QStringList& names) {
            select(names);
            return remove->isEnabled();
        };
        QVERIFY(!isRemovable({QStringLiteral("built in")}));
        QVERIFY(!isRemovable({QStringLiteral("built in"), QStringLiteral("mine")}));
        QVERIFY(isRemovable({QStringLiteral("Manual Search")}));
        QVERIFY(isRemovable({QStringLiteral("mine")}));
        remove->click();
        m_window->accept();
        QCOMPARE(m_program->session().preferences().mutableSearchItemsArray().size(), 2U);
    }

    void aSourceWithoutAPathIsNotStored() {
        open();
        button("Add", SourcesTab)->click();
        m_window->accept();
        QVERIFY(m_window->isEditing());
        QCOMPARE(m_program->alerts.asked.size(), 1U);
        m_window->reject();
    }

    void openingWaitsForTheScanThatRuns() {
        beginScan();
        open();
        open(FiltersTab);  // asked for again
        m_window->accept();
        QVERIFY(m_window->isVisible());
        QVERIFY(!m_window->isEditing());
        QCOMPARE(sheet()->text(), QStringLiteral("Waiting for the scan to end…"));
        sheet()->showState(std::chrono::minutes(2));
        QVERIFY(sheet()->text().contains(QStringLiteral("unusually long")));
        QTRY_VERIFY(m_window->isEditing());
        QVERIFY(!m_program->driver().scanState()->isScanning);
        // A scan that somebody asks for finds the way barred, and leaves the list alone.
        QVERIFY(m_program->driver().startScan(Driver::ScanScope::LocalSources).isOk());
        QTRY_VERIFY(!m_program->driver().scanState()->isScanning);
        m_window->reject();
    }

    void openingWaitsForACommandToo() {
        QVERIFY(m_program->driver().compactIndex().isOk());
        open();
        QCOMPARE(sheet()->text(),
                 QStringLiteral("Waiting until the work on the index has finished…"));
        QTRY_VERIFY(m_window->isEditing());
        QVERIFY(!m_program->driver().maintenanceState()->isRunning);
        m_window->reject();
    }

    void theWaitCanBeGivenUpAndEndsWithTheProgram() {
        for (const bool isQuitting : {false, true}) {
            beginScan();
            open();
            if (isQuitting) {
                m_window->applicationWillTerminate();
            } else {
                sheet()->reject();
            }
            QVERIFY(!m_window->isVisible());
            QVERIFY(m_program->session().indexes().indexingEnabled());
            QTRY_VERIFY(!m_program->driver().scanState()->isScanning);
            QVERIFY(!m_window->isEditing());
        }
    }

    void newFiltersAreAskedAboutAndOtherChangesAreNot() {
        int requests = 0;
        const auto observation = m_program->session().centre().observe(
            "SiftwellIndexFilterRequestNotification", [&](const PropertyList&) { ++requests; });
        const auto confirm = [&](auto edit) {
            m_program->alerts.asked.clear();
            open(FiltersTab);
            // The scan after the last change may still run.
            if (!QTest::qWaitFor([&] { return m_window->isEditing(); })) return std::size_t{99};
            edit();
            m_window->accept();
            QCoreApplication::processEvents();
            return m_program->alerts.asked.size();
        };
        m_program->alerts.answer = 0;
        QCOMPARE(confirm([&] {
                     button("Add", FiltersTab)->click();
                     QCOMPARE(field("Text of the filter")->selectedText(),
                              QStringLiteral("match-this-text"));
                     type(field("Text of the filter"), "/new/");
                 }),
                 1U);
        QCOMPARE(m_program->alerts.asked[0].title,
                 std::string("You have added new filtering strings to keep Siftwell from indexing "
                             "certain URL's."));
        QCOMPARE(requests, 1);
        QCOMPARE(m_program->session().preferences().mutableURLFilterArray().back().String,
                 std::string("/new/"));
        m_program->alerts.answer = 1;
        QCOMPARE(confirm([&] { button("Remove", FiltersTab)->click(); }), 0U);
        QCOMPARE(confirm([&] { button("Add", FiltersTab)->click(); }), 1U);
        QCOMPARE(requests, 1);
        m_program->alerts.answer = 0;  // the default filters again, then those asked about
        QCOMPARE(confirm([&] { button("Default Filters…", FiltersTab)->click(); }), 2U);
        QVERIFY(m_program->settings().userValue("URLFilters").isNull());
        auto old = defaultURLFilters();
        old.push_back({true, "/localhost"});
        m_program->settings().set("URLFilters", listOf(old));
        m_program->session().preferences().revert();
        QCOMPARE(confirm([] {}), 1U);
    }

    void whatOthersFilterMeanwhileIsKept() {
        open(FiltersTab);
        QVERIFY(m_program->driver().addURLFilter("/theirs/").isOk());
        button("Add", FiltersTab)->click();
        type(field("Text of the filter"), "/mine/");
        m_window->accept();
        const auto filters = urlFiltersIn(m_program->settings().array("URLFilters"));
        QCOMPARE(filters.size(), defaultURLFilters().size() + 2);
        QCOMPARE(filters.end()[-2].String, std::string("/mine/"));
        QCOMPARE(filters.end()[-1].String, std::string("/theirs/"));
    }

    void theHotKeyIsOffWhileAnotherIsChosen() {
        open();
        HotkeyField& hotkey = m_window->hotkey();
        hotkey.setHotkey();
        QVERIFY(HotKey::storedIn(m_program->settings()).isNone());
        hotkey.finishHotkey(HotkeyAnswer::Cancel);
        QCOMPARE(m_program->settings().integer("HotkeyMods"), 4352);
        hotkey.setHotkey();
        QTest::keyClick(&hotkey.sheet()->view(), Qt::Key_J);  // of use in other programs
        QTest::keyClick(&hotkey.sheet()->view(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
        hotkey.finishHotkey(HotkeyAnswer::Accept);
        QCOMPARE(m_program->settings().integer("HotkeyCode"), 40);
        QCOMPARE(m_program->settings().integer("HotkeyMods"), 4096 + 2048);
        hotkey.setHotkey();
        hotkey.finishHotkey(HotkeyAnswer::Clear);
        m_window->accept();
        QVERIFY(HotKey::storedIn(m_program->settings()).isNone());
    }

    void returnConfirmsOnEveryTabButTheThird() {
        open(SearchTab);
        QTest::keyClick(m_window.get(), Qt::Key_Return);
        QVERIFY(m_window->isEditing());
        m_window->hide();  // as the hot key does
        m_window->showWindow(GeneralTab);
        QVERIFY(m_window->isVisible());
        QTest::keyClick(m_window.get(), Qt::Key_Return);
        QVERIFY(!m_window->isVisible());
    }

    void quittingStoresWhatIsEditedAfterTheQuestions() {
        const LaunchAtLogin entry(m_program->session().paths());
        open(GeneralTab);
        checkBox("Start Siftwell when I log in")->click();
        m_window->applicationWillTerminate();
        QCOMPARE(m_program->alerts.asked.size(), 1U);
        QVERIFY(m_program->settings().boolean("LaunchAtLogin"));
        QVERIFY(entry.isOn());
        const std::string off = "[Desktop Entry]\nHidden=true\n";  // as the desktop does
        QVERIFY(writeFileAtomically(entry.file(), off).isOk());
        open(GeneralTab);
        QVERIFY(!checkBox("Start Siftwell when I log in")->isChecked());
        m_window->accept();
        QCOMPARE(readFile(entry.file(), 100).value(), off);
        open(GeneralTab);
        checkBox("Start Siftwell when I log in")->click();
        m_window->accept();
        QVERIFY(entry.isOn());
        m_window = std::make_unique<PrefsWindow>(m_program->program());
        open(GeneralTab);
        checkBox("Start Siftwell when I log in")->click();
        days()->setValue(9);
        m_window.reset();  // ended from outside
        QVERIFY(!entry.isOn());
        QCOMPARE(m_program->settings().integer("DaysToSearch"), 9);
        QCOMPARE(m_program->alerts.asked.size(), 1U);
    }

    void quittingWhileAQuestionIsAskedStoresToo() {
        class QuittingAlerts : public Alerts {
        public:
            std::size_t ask(const Alert&, std::size_t safeAnswer) override {
                window->applicationWillTerminate();
                wasVisible = window->isVisible();
                return safeAnswer;
            }
            PrefsWindow* window = nullptr;
            bool wasVisible = true;
        } alerts;
        m_window =
            std::make_unique<PrefsWindow>(Program{m_program->session(), m_program->driver(),
                                                  m_program->desktop, alerts, m_program->commands});
        alerts.window = m_window.get();
        open();
        days()->setValue(9);
        button("Add", SourcesTab)->click();  // which has no path
        m_window->accept();
        QVERIFY(!alerts.wasVisible);
        QVERIFY(!m_window->isVisible());
        QCOMPARE(m_program->settings().integer("DaysToSearch"), 9);
        QVERIFY(!m_program->driver().scanState()->isScanning);
        m_window.reset();
    }

private:
    static SearchItem item(const std::string& name, bool isUserItem) {
        return {.Name = name,
                .Index = false,
                .Search = true,
                .LastScanDate = Date::fromReference(1000),
                .Path = "/" + name,
                .Indexer = "LocalFiles",
                .UserItem = isUserItem};
    }

    void open(int tab = SourcesTab) { m_window->showWindow(tab); }

    PropertyList stored() {
        PropertyList::Array values;
        for (const char* key : {"SearchItems", "URLFilters", "DaysToSearch", "HotkeyCode",
                                "HotkeyMods", "LaunchAtLogin"}) {
            values.push_back(m_program->settings().value(key));
            values.push_back(m_program->settings().userValue(key));
        }
        return values;
    }

    // The scan is under way until the main loop has its turns.
    void beginScan() {
        auto& driver = m_program->driver();
        QVERIFY(driver.setSearchItemValue("mine", "Index", true).isOk());
        QVERIFY(driver.startScan(Driver::ScanScope::LocalSources).isOk());
        const QDeadlineTimer patience(5000);
        while (!isScanned("mine") && !patience.hasExpired()) std::this_thread::yield();
        QVERIFY(isScanned("mine"));
    }

    WaitSheet* sheet() {
        const auto sheets = m_window->findChildren<WaitSheet*>();
        return sheets.isEmpty() ? nullptr : sheets.back();
    }

    bool isScanned(const std::string& name) {
        const auto status = m_program->driver().status();
        const PropertyList* running = find(*status, "runningItems");
        return *running->asArray() == PropertyList::Array{name};
    }

    SearchItem itemNamed(const std::string& name) {
        for (const auto& each : m_program->session().preferences().mutableSearchItemsArray()) {
            if (each.Name == name) return each;
        }
        return {};
    }

    QListView* sources() { return m_window->findChild<QListView*>(QStringLiteral("sources")); }

    void select(const QStringList& names) {
        auto* selection = sources()->selectionModel();
        selection->clear();
        for (int row = 0; row < sources()->model()->rowCount(); ++row) {
            const QModelIndex each = sources()->model()->index(row, 0);
            if (!names.contains(each.data().toString())) continue;
            selection->setCurrentIndex(each, QItemSelectionModel::Select);
        }
        QCOMPARE(selection->selectedIndexes().size(), names.size());
    }

    QLineEdit* field(const char* name) {
        for (auto* each : m_window->findChildren<QLineEdit*>()) {
            if (each->accessibleName() == QLatin1String(name)) return each;
        }
        return nullptr;
    }

    static void type(QLineEdit* text, const char* typed) {
        text->selectAll();
        QTest::keyClicks(text, QString::fromUtf8(typed));
    }

    QPushButton* button(const char* title, int tab) {
        return withTitle<QPushButton>(title, m_window->tabPage(tab));
    }
    QCheckBox* checkBox(const char* title) { return withTitle<QCheckBox>(title, m_window.get()); }
    QSpinBox* days() { return m_window->tabPage(GeneralTab)->findChild<QSpinBox*>(); }

    template <typename Widget>
    static Widget* withTitle(const char* title, QWidget* parent) {
        for (auto* each : parent->findChildren<Widget*>()) {
            if (each->text().remove(QLatin1Char('&')) == QString::fromUtf8(title)) return each;
        }
        return nullptr;
    }

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<PrefsWindow> m_window;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::PrefsWindowTest)

#include "PrefsWindowTest.moc"
