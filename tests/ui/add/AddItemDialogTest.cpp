#include "ui/add/AddItemDialog.h"

#include "ui/add/AdditionText.h"
#include "ui/support/UiProgram.h"
#include "ui/support/UiTest.h"

namespace siftwell {

class AddItemDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_program = std::make_unique<UiProgram>(); }
    void cleanup() {
        m_dialog.reset();
        m_program.reset();
    }

    void whatIsTypedIsCompletedToAnAddress() {
        const std::pair<const char*, const char*> cases[] = {
            {"example.org/x y", "https://example.org/x%20y"},
            {"example.org", "https://example.org"},
            {" http://a.org/ ", "http://a.org/"},
            {"localhost:8000/x", "https://localhost:8000/x"},
            {"/tmp/a b", "file:///tmp/a%20b"},
            {"file:///tmp/x", "file:///tmp/x"},
            {"words", "words"}};
        for (const auto& [typed, address] : cases) {
            const auto url = additionUrl(QString::fromLatin1(typed));
            QVERIFY2(url, typed);
            QCOMPARE(url->absoluteString(), address);
        }
        QVERIFY(!additionUrl(QStringLiteral("  ")));
    }

    void aPageBecomesASource() {
        open({QStringLiteral("https://example.org/page")});
        accept();
        const SearchItem item = lastItem();
        QCOMPARE(item.Name, "example.org");
        QCOMPARE(item.Indexer, "SingleURL");
    }

    void aFileIsIndexedOrReadForItsAddressesAsTheUserSays() {
        const QString file = toQString(m_program->home().write("list.html", "<a href=x>"));
        open({file});
        QCOMPARE(buttons().size(), 2);
        QTRY_VERIFY(buttons()[0]->isVisible());
        accept();
        QCOMPARE(lastItem().Indexer, "SingleURL");
        open({file});
        buttons()[1]->setChecked(true);
        accept();
        QCOMPARE(lastItem().Indexer, "URLExtractor");
        QVERIFY(m_program->alerts.asked.empty());  // no second dialog
        open({toQString(m_program->home().path())});
        QTRY_VERIFY(!buttons()[0]->isVisible());
        accept();
        QCOMPARE(lastItem().Indexer, "LocalFiles");
    }

    void theIndexerThatIsChosenIsUsed() {
        open({toQString(m_program->home().write("old.html", ""))});
        auto& indexers = *m_dialog->findChild<QComboBox*>();
        indexers.setCurrentIndex(indexers.findData(QStringLiteral("OmniWebHistory")));
        QTRY_VERIFY(!buttons()[0]->isVisible());
        accept();
        QCOMPARE(lastItem().Indexer, "OmniWebHistory");
    }

    void whatCannotBeAddedIsSaidInTheDialogAndStays() {
        const std::size_t before = items().size();
        open({QStringLiteral("words")});
        m_dialog->accept();
        QTRY_VERIFY(isProblemSaid());
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(items().size(), before);
        QVERIFY(problem().contains(QStringLiteral("full URL")));
        open({QStringLiteral("https://a.org/"), QStringLiteral("/no/such/file"),
              QStringLiteral("https://b.org/")});
        m_dialog->accept();
        QTRY_VERIFY(isProblemSaid());
        QVERIFY(m_dialog->isVisible());
        QCOMPARE(items().size(), before + 2);
        QVERIFY(problem().contains(QStringLiteral("/no/such/file")));
        QCOMPARE(m_dialog->findChild<QLineEdit*>()->text(), QStringLiteral("/no/such/file"));
    }

private:
    void open(const QStringList& targets) {
        m_dialog = std::make_unique<AddItemDialog>(m_program->program(), targets);
        m_dialog->show();
    }
    void accept() {
        m_dialog->accept();
        QTRY_COMPARE(m_dialog->result(), int(QDialog::Accepted));
    }
    bool isProblemSaid() {
        for (const QLabel* label : m_dialog->findChildren<QLabel*>()) {
            if (label->isVisible() && label->accessibleName() == QStringLiteral("Problem")) {
                return true;
            }
        }
        return false;
    }
    QList<QRadioButton*> buttons() { return m_dialog->findChildren<QRadioButton*>(); }
    QString problem() {
        QStringList texts;
        for (const QLabel* label : m_dialog->findChildren<QLabel*>()) {
            if (label->isVisible()) texts << label->text();
        }
        return texts.join(u'\n');
    }
    std::vector<SearchItem> items() {
        return searchItemsIn(m_program->settings().array("SearchItems"));
    }
    SearchItem lastItem() { return items().back(); }

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<AddItemDialog> m_dialog;
};

}  // namespace siftwell

SIFTWELL_UI_TESTS(siftwell::AddItemDialogTest)

#include "AddItemDialogTest.moc"
