#include "MiniSearchTest.h"

namespace siftwell {

bool MiniSearchTest::type(const QString& text) {
    QTest::keyClicks(&mini().field(), text);
    QTest::keyClick(&mini().field(), Qt::Key_Return);
    return QTest::qWaitFor([this] { return mini().list().isVisible(); }, SearchFixture::kLongest) &&
           m_f->rest();
}

void MiniSearchTest::itsFieldCountsWhileItIsVisible() {
    m_f->window().field().showText(QStringLiteral("banana1"));
    QVERIFY(type(QStringLiteral("apple")));
    QCOMPARE(mini().list().model()->rowCount(), 10);
    QCOMPARE(m_f->rowCount(), 15);
    QTest::keyClick(&mini(), Qt::Key_Escape);
    QVERIFY(!mini().isVisible());
    QVERIFY(m_f->rest());
    QCOMPARE(m_f->rowCount(), 1);
}

void MiniSearchTest::keysChooseAndOpenAPage() {
    QVERIFY(type(QStringLiteral("banana12")));
    QTest::keyClick(&mini().field(), Qt::Key_Down);
    QCOMPARE(mini().list().selectedRow(), 0);
    QTest::keyClick(&mini().field(), Qt::Key_Return);
    QCOMPARE(m_f->program.desktop.opened,
             std::vector<std::string>{"http://host12.example/page/12"});
    QVERIFY(!mini().isVisible());
}

void MiniSearchTest::aClickHidesTheListAndOpensThePage() {
    QVERIFY(type(QStringLiteral("banana3")));
    QTest::mouseClick(mini().list().viewport(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(m_f->program.desktop.opened.size(), 1U);
    QVERIFY(!mini().list().isVisible());
}

}  // namespace siftwell
