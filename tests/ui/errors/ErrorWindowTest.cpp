#include <QClipboard>
#include <QPlainTextEdit>

#include "ui/errors/ErrorWindow.h"
#include "ui/search/ErrorsButton.h"
#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"

namespace siftwell {

class ErrorWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_program = std::make_unique<UiProgram>();
        m_window = std::make_unique<ErrorWindow>(m_program->program());
    }
    void cleanup() {
        m_window.reset();
        m_program.reset();
    }

    void errorsOfBeforeAndOfNowAreListedTheNewestFirst() {
        report("The first", 3);
        report("The second", 9);
        m_window->show();
        QTRY_COMPARE(messages(), QStringLiteral("The second|The first"));
        report("The third", 6);
        QTRY_COMPARE(messages(), QStringLiteral("The third|The second|The first"));
        QCOMPARE(text(0, ErrorModel::SeverityColumn), QStringLiteral("Problem"));
        QCOMPARE(text(1, ErrorModel::SeverityColumn), QStringLiteral("Serious"));
        QCOMPARE(text(2, ErrorModel::SeverityColumn), QStringLiteral("Note"));
        list().selectRow(0);
        const QString details = m_window->findChild<QPlainTextEdit*>()->toPlainText();
        QVERIFY(details.contains(QStringLiteral("why The third")));
        QVERIFY(details.contains(QStringLiteral("https://example.org/x")));
        press(QStringLiteral("Copy"));
        QCOMPARE(QGuiApplication::clipboard()->text(), details);
    }

    void errorsThatWereSeenAreCountedNoMore() {
        ErrorsButton button(m_program->session().centre(), m_program->commands);
        report("Unseen", 6);
        QTRY_VERIFY(!button.isHidden());
        m_window->show();  // by whatever way
        QTRY_VERIFY(button.isHidden());
        m_window->close();
        report("Unseen", 6);
        QTRY_VERIFY(!button.isHidden());
        QCOMPARE(button.text(), QStringLiteral("1 error"));
    }

    void clearedErrorsDoNotComeBack() {
        report("Gone", 6);
        m_window->show();
        QTRY_COMPARE(messages(), QStringLiteral("Gone"));
        press(QStringLiteral("Clear"));
        QCOMPARE(messages(), QString());
        QVERIFY(ErrorLog::read(m_program->session().paths().stateFolder).empty());
        press(QStringLiteral("Clear"));  // nothing is there to be cleared
        QVERIFY(m_program->alerts.asked.empty());
        report("New", 6);
        QTRY_COMPARE(messages(), QStringLiteral("New"));
        m_window->hide();
        m_window->show();
        QTRY_COMPARE(messages(), QStringLiteral("New"));
    }

private:
    void report(const std::string& error, int severity) {
        m_program->session().notifier().reportError(error, severity, "https://example.org/x",
                                                    "why " + error);
        bool isTold = false;
        m_program->session().mainLoop().post([&isTold] { isTold = true; });
        QTRY_VERIFY(isTold);
    }
    QTableView& list() { return *m_window->findChild<QTableView*>(); }
    QString text(int row, int column) {
        return list().model()->index(row, column).data().toString();
    }
    QString messages() {
        QStringList result;
        for (int row = 0; row < list().model()->rowCount(); ++row) {
            result << text(row, ErrorModel::MessageColumn);
        }
        return result.join(u'|');
    }
    void press(const QString& word) {
        for (QAction* const action : list().actions()) {
            if (action->text().remove(u'&').contains(word)) return action->trigger();
        }
        QFAIL("no such action");
    }

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<ErrorWindow> m_window;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::ErrorWindowTest)

#include "ErrorWindowTest.moc"
