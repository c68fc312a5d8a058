#include "ui/firstrun/FirstRunWindow.h"

#include <QLineEdit>

#include "sqlite/PLSqliteDatabase.h"
#include "ui/add/AddItemDialog.h"
#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"

namespace siftwell {

class FirstRunWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_user = std::make_unique<TemporaryFolder>();
        qputenv("HOME", QByteArray::fromStdString(m_user->path()));
        for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"}) {
            qunsetenv(variable);
        }
        m_program = std::make_unique<UiProgram>();
    }
    void cleanup() {
        m_window.reset();
        m_program.reset();
    }

    void whatIsTickedIsReadFromThenOnAndNothingElse() {
        makeChromiumHistory(3);
        m_user->write(".config/chromium/Default/Cache/Cache_Data/index", "x");
        const QStringList before = namesOfItemsThatAreOn();
        open();
        QTRY_COMPARE(line("History")->text(1), QStringLiteral("3"));
        line("Cache")->setCheckState(0, Qt::Unchecked);
        m_window->accept();
        QCOMPARE(m_window->result(), int(QDialog::Accepted));
        QCOMPARE(namesOfItemsThatAreOn(), QStringList(QStringLiteral("Chromium History")) + before);
        m_program->settings().set("FirstRunExplanationShown", true);  // as the program's start does
        // What is on can be switched off the same way.
        open();
        line("History")->setCheckState(0, Qt::Unchecked);
        line("Cache")->setCheckState(0, Qt::Checked);
        m_window->accept();
        QCOMPARE(namesOfItemsThatAreOn(), QStringList(QStringLiteral("Chromium Cache")) + before);
        // And stays off for whoever looks for browsers again.
        open();
        QCOMPARE(line("History")->checkState(0), Qt::Unchecked);
        QCOMPARE(line("Cache")->checkState(0), Qt::Checked);
        m_window->accept();
        QCOMPARE(namesOfItemsThatAreOn(), QStringList(QStringLiteral("Chromium Cache")) + before);
    }

    void aFolderThatIsAddedIsNotReadWhileSourcesAreStillPicked() {
        m_user->write("pages/note.txt", "words");
        m_window = std::make_unique<FirstRunWindow>(m_program->program());
        m_window->show();
        for (QPushButton* const button : m_window->findChildren<QPushButton*>()) {
            if (button->text().contains(QStringLiteral("older"))) button->click();
        }
        auto* const dialog = m_window->findChild<AddItemDialog*>();
        QVERIFY(dialog != nullptr);
        dialog->findChild<QLineEdit*>()->setText(toQString(m_user->file("pages")));
        dialog->accept();
        QTRY_VERIFY(namesOfItemsThatAreOn().contains(QStringLiteral("pages")));
        QVERIFY(!m_program->driver().scanState()->isScanning);
    }

    void startingWithoutLeavesTheSourcesAsTheyAre() {
        makeChromiumHistory(1);
        open();
        const QStringList before = namesOfItemsThatAreOn();
        m_window->reject();
        QCOMPARE(namesOfItemsThatAreOn(), before);
    }

    void whereThereIsNoBrowserThatIsSaid() {
        m_window = std::make_unique<FirstRunWindow>(m_program->program());
        m_window->show();
        const auto isSaid = [this] {
            for (const QLabel* label : m_window->findChildren<QLabel*>()) {
                if (label->text().startsWith(QStringLiteral("No browser"))) return true;
            }
            return false;
        };
        QTRY_VERIFY(isSaid());
        m_window->accept();
        QCOMPARE(m_window->result(), int(QDialog::Accepted));
    }

private:
    void makeChromiumHistory(int pages) {
        const std::string file = m_user->write(".config/chromium/Default/History", "");
        const auto database = PLSqliteDatabase::databaseWithPath(file);
        QVERIFY(database->open());
        QVERIFY(database->executeUpdate("CREATE TABLE urls (id INTEGER PRIMARY KEY, url, title)"));
        QVERIFY(database->executeUpdate("CREATE TABLE visits (id, url, visit_time)"));
        for (int i = 0; i < pages; ++i) {
            QVERIFY(database->executeUpdate("INSERT INTO urls (url) VALUES ('https://x.org/')"));
        }
    }

    void open() {
        m_window = std::make_unique<FirstRunWindow>(m_program->program());
        m_window->show();
        QTRY_VERIFY(line("History") != nullptr);
    }
    QTreeWidgetItem* line(const char* name) {
        const auto found = m_window->findChild<QTreeWidget*>()->findItems(
            QString::fromLatin1(name), Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? nullptr : found.front();
    }
    QStringList namesOfItemsThatAreOn() {
        QStringList names;
        for (const auto& item : searchItemsIn(m_program->settings().array("SearchItems"))) {
            if (item.Index) names << toQString(item.Name);
        }
        return names;
    }

    std::unique_ptr<TemporaryFolder> m_user;
    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<FirstRunWindow> m_window;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::FirstRunWindowTest)

#include "FirstRunWindowTest.moc"
