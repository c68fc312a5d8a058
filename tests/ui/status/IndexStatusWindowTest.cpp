#include "IndexStatusWindowTest.h"

#include <QScrollBar>

namespace siftwell {

void IndexStatusWindowTest::init() {
    m_program = std::make_unique<UiProgram>();
    QVERIFY(m_program->driver()
                .addMissingItems({{.Name = "Work", .Path = "/work", .Indexer = "URLExtractor"}})
                .isOk());
    m_program->addPage("https://work.org/1", "One", "text", "Work", 100);
    m_program->addPage("https://home.org/2", "Two", "text", "Home", 200);
    m_window = std::make_unique<IndexStatusWindow>(m_program->program());
}

void IndexStatusWindowTest::cleanup() {
    m_window.reset();
    m_program.reset();
}

void IndexStatusWindowTest::open() {
    m_window->show();
    QTRY_COMPARE(view().model()->rowCount(), 2);
}

// Shortcuts need an active window; the action that a key stands for does not.
void IndexStatusWindowTest::press(const QString& action) {
    for (QAction* const each : view().actions()) {
        if (each->text().contains(action)) return each->trigger();
    }
    QFAIL("no such action");
}

void IndexStatusWindowTest::whetherItIsOpenIsRemembered() {
    m_program->settings().set("IndexListVisible", "No");
    open();
    QCOMPARE(m_program->settings().string("IndexListVisible"), "Yes");
    m_window->close();
    QCOMPARE(m_program->settings().string("IndexListVisible"), "No");
    QCOMPARE(view().model()->rowCount(), 0);
    open();
    m_window->setIsEnding();
    m_window->close();
    QCOMPARE(m_program->settings().string("IndexListVisible"), "Yes");
}

void IndexStatusWindowTest::aSourceThatIsSelectedFiltersAndItsSwitchIsStored() {
    open();
    QTreeWidgetItem* const work = sources().findItems(QStringLiteral("Work"), Qt::MatchExactly)[0];
    QTreeWidgetItem* const home = sources().findItems(QStringLiteral("Home"), Qt::MatchExactly)[0];
    QCOMPARE(work->text(1), QStringLiteral("1"));
    QVERIFY(!home->flags().testFlag(Qt::ItemIsUserCheckable));  // in the index, but no source
    sources().setCurrentItem(work);
    QTRY_COMPARE(view().model()->rowCount(), 1);
    work->setCheckState(0, Qt::Checked);
    const auto isOn = [this] {
        for (const auto& item : searchItemsIn(m_program->settings().array("SearchItems"))) {
            if (item.Name == "Work") return item.Index;
        }
        return false;
    };
    QVERIFY(isOn());
    work->setCheckState(0, Qt::Unchecked);
    QVERIFY(!isOn());
}

void IndexStatusWindowTest::selectedPagesAreOpenedCopiedAndRemoved() {
    open();
    view().selectRow(0);
    press(QStringLiteral("Open"));
    QTRY_COMPARE(m_program->desktop.opened, std::vector<std::string>{"https://home.org/2"});
    view().selectAll();
    press(QStringLiteral("Copy"));
    QTRY_COMPARE(m_program->desktop.copied,
                 std::vector<std::string>{"https://home.org/2\nhttps://work.org/1"});
    m_program->alerts.answer = 1;
    press(QStringLiteral("Remove"));
    QTRY_COMPARE(m_program->alerts.asked.size(), std::size_t{1});
    QCOMPARE(view().model()->rowCount(), 2);
    m_program->alerts.answer = 0;
    view().selectRow(0);
    press(QStringLiteral("Remove"));
    QTRY_COMPARE(view().model()->rowCount(), 1);
    QCOMPARE(view().selectedRows(), std::vector<int>{0});  // the next one
    QTRY_COMPARE(m_program->session().indexes().documentCount(), 1);
}

void IndexStatusWindowTest::theRowThatTheEyeIsOnStaysWhenPagesCome() {
    for (int i = 0; i < 100; ++i) {
        m_program->addPage("https://many.org/" + std::to_string(i), "Page", "text", "Home", i);
    }
    m_window->show();
    QTRY_COMPARE(view().model()->rowCount(), 102);
    view().selectRow(50);
    view().verticalScrollBar()->setValue(45);
    const DocumentRow selected = view().documents().documentAt(50);
    const DocumentRow top = view().documents().documentAt(view().rowAt(0));
    m_program->addPage("https://new.org/", "New", "text", "Home", 1000);
    QTRY_COMPARE(view().model()->rowCount(), 103);
    QCOMPARE(view().selectedRows(), std::vector<int>{51});
    QVERIFY(view().documents().documentAt(51) == selected);
    QVERIFY(view().documents().documentAt(view().rowAt(0)) == top);
}

}  // namespace siftwell
