#include "WordMarkerTest.h"

#include "ui/preview/WordMarker.h"

namespace siftwell {

// "text begin-end" of each mark.
static QStringList marked(const QString& texts, std::string_view query) {
    QStringList result;
    for (const WordMark& mark : marksIn(texts, QueryMatches(query, {}))) {
        result << QStringLiteral("%1 %2-%3").arg(mark.text).arg(mark.begin).arg(mark.end);
    }
    return result;
}

static QString texts(const QStringList& list) {
    QString result;
    for (const QString& text : list) result += QChar(u'\0') + text;
    return result;
}

void WordMarkerTest::placesAreCountedAsThePageCountsThem() {
    const QString page = texts(
        {QStringLiteral("Café 😀 CAFE"), QStringLiteral("decaf"), QStringLiteral("un café noir")});
    QCOMPARE(marked(page, "cafe"), QStringList({QStringLiteral("0 0-4"), QStringLiteral("0 8-12"),
                                                QStringLiteral("2 3-7")}));
    QCOMPARE(marked(page, "*caf* !noir"),
             QStringList({QStringLiteral("0 0-4"), QStringLiteral("0 8-12"),
                          QStringLiteral("1 0-5"), QStringLiteral("2 3-7")}));
    QCOMPARE(marked(page, ""), QStringList());
    QCOMPARE(marked({}, "cafe"), QStringList());
}

void WordMarkerTest::phraseIsMarkedInEveryTextItStandsIn() {
    const QString page = texts({QStringLiteral("the key"), QStringLiteral("function"),
                                QStringLiteral(" of keys, key Function")});
    QCOMPARE(
        marked(page, "\"key function\""),
        QStringList({QStringLiteral("0 4-7"), QStringLiteral("1 0-8"), QStringLiteral("2 10-22")}));
}

void WordMarkerTest::numberOfMarksIsLimited() {
    const QString page = texts({QStringLiteral("word ").repeated(kMostMarks + 10)});
    QCOMPARE(marksIn(page, QueryMatches("word", {})).size(), std::size_t{kMostMarks});
}

}  // namespace siftwell
