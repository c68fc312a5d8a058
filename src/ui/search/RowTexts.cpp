#include "ui/search/RowTexts.h"

#include <cmath>

#include "text/TitleText.h"
#include "ui/Dates.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr qsizetype kLongest = 500;  // characters of a line; what is behind is never seen

QString withoutScheme(const QString& address) {
    for (const auto scheme : {QLatin1String("https://"), QLatin1String("http://")}) {
        if (address.startsWith(scheme)) return address.mid(scheme.size());
    }
    return address;
}

// An address between other writing keeps its direction.
QString fromLeftToRight(const QString& text) { return QChar(0x2066) + text + QChar(0x2069); }

}  // namespace

QString shownTitle(const ResultRow& row) {
    const QString title = toQString(titleToShow(row.title)).left(kLongest).simplified();
    return title.isEmpty() ? shownAddress(row) : title;
}

QString shownAddress(const ResultRow& row) {
    QString text = withoutScheme(readableAddress(row.url));
    if (text.endsWith(QLatin1Char('/'))) text.chop(1);
    return fromLeftToRight(text.left(2 * kLongest));
}

QString shownDate(const ResultRow& row) {
    if (!row.moment) return toQString(row.date);
    const QDateTime when = toLocal(*row.moment);
    const bool isThisYear = when.date().year() == QDate::currentDate().year();
    return QLocale().toString(when, isThisYear ? q_("d MMM, HH:mm") : q_("d MMM yyyy"));
}

QString relevanceText(double relevance) {
    const auto percent = static_cast<qint64>(std::lround(relevance * 100));
    return counted(N_("%@ percent relevant"), N_("%@ percent relevant"), percent);
}

QString fullText(const ResultRow& row, double relevance) {
    const QStringList parts{shownTitle(row), relevanceText(relevance), shownAddress(row),
                            shownDate(row), toQString(row.source)};
    return parts.join(QStringLiteral(", "));
}

QString plainToolTip(const QString& text) {
    if (text.isEmpty()) return {};
    QString broken;
    for (const QChar character : text.left(4 * kLongest)) {
        broken += character;
        if (!character.isLetterOrNumber() && !character.isSurrogate()) broken += QChar(0x200B);
    }
    return QStringLiteral("<p dir='auto'>") + broken.toHtmlEscaped() + QStringLiteral("</p>");
}

}  // namespace siftwell
