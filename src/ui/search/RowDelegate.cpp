#include "ui/search/RowDelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>

#include "text/TitleText.h"
#include "ui/Text.h"
#include "ui/search/RelevanceBar.h"
#include "ui/search/RowTexts.h"

namespace siftwell {

namespace {

QFont titleFont(const QFont& font) {
    QFont bolder = font;
    bolder.setWeight(QFont::DemiBold);
    return bolder;
}

QColor textColor(const QStyleOptionViewItem& option) {
    return option.palette.color(colorGroupOf(option), option.state & QStyle::State_Selected
                                                          ? QPalette::HighlightedText
                                                          : QPalette::Text);
}

// For what is read second. Light enough to stand back, dark enough to be read.
QColor quietColor(const QStyleOptionViewItem& option) {
    QColor color = textColor(option);
    color.setAlphaF(option.state & QStyle::State_Selected ? 0.9F : 0.72F);
    return color;
}

int marginOf(const QFontMetrics& metrics) { return metrics.height() / 2; }
int barWidthOf(const QFontMetrics& metrics) { return metrics.averageCharWidth() * 7; }

QList<QTextLayout::FormatRange> marksOf(const Snippet& snippet, const QTextCharFormat& format) {
    QList<QTextLayout::FormatRange> marks;
    const auto characters = [&snippet](std::size_t bytes) {
        return static_cast<int>(toQString(std::string_view(snippet.text).substr(0, bytes)).size());
    };
    for (const Snippet::Range& match : snippet.matches) {
        const int begin = characters(match.begin);
        marks.append({begin, characters(match.end) - begin, format});
    }
    return marks;
}

// One line, from its left; its width.
qreal layOut(QTextLayout& layout, const QList<QTextLayout::FormatRange>& marks, qreal width) {
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(layout.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    option.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
    layout.setTextOption(option);
    layout.setFormats(marks);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(width);
    layout.endLayout();
    return line.naturalTextWidth();
}

// How many characters of a snippet there is room for.
std::size_t columnsIn(int width, const QFontMetrics& metrics) {
    return static_cast<std::size_t>(std::clamp(width / metrics.averageCharWidth(), 20, 400));
}

}  // namespace

struct RowDelegate::Places {
    QRect bar, title, date, address, source, snippet;
};

RowDelegate::RowDelegate(const ResultModel& rows, Snippets& snippets, QObject* parent)
    : QStyledItemDelegate(parent), m_rows(rows), m_snippets(snippets) {}

int RowDelegate::heightOf(const QFontMetrics& metrics) {
    return 3 * metrics.height() + 2 * marginOf(metrics) + metrics.leading();
}

QSize RowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {option.fontMetrics.averageCharWidth() * 40, heightOf(option.fontMetrics)};
}

RowDelegate::Places RowDelegate::placesIn(const QStyleOptionViewItem& option,
                                          const FoundRow& row) const {
    const QFontMetrics& metrics = option.fontMetrics;
    const int margin = marginOf(metrics);
    const QRect inner = option.rect.adjusted(margin, margin, -margin, -margin);
    const int line = metrics.height();
    const int left = inner.left() + barWidthOf(metrics) + margin;
    const int width = inner.right() - left + 1;
    const auto rightPart = [&](const QString& text, int top) {
        const int wanted = std::min(metrics.horizontalAdvance(text) + 2, width / 2);
        return QRect(inner.right() - wanted + 1, top, wanted, line);
    };
    const auto leftPart = [&](const QRect& beside) {
        return QRect(left, beside.top(), beside.left() - left - margin, line);
    };
    Places places;
    const int barHeight = std::max(4, line / 2);
    places.bar =
        QRect(inner.left(), inner.top() + (line - barHeight) / 2, barWidthOf(metrics), barHeight);
    places.date = rightPart(shownDate(row), inner.top());
    places.title = leftPart(places.date);
    places.source = rightPart(toQString(row.source), inner.top() + line);
    places.address = leftPart(places.source);
    places.snippet = QRect(left, inner.top() + 2 * line, width, line);
    for (QRect* each : {&places.bar, &places.title, &places.date, &places.address, &places.source,
                        &places.snippet}) {
        *each = QStyle::visualRect(option.direction, option.rect, *each);
    }
    return places;
}

void RowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& given,
                        const QModelIndex& index) const {
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    option.text.clear();
    const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    const FoundRow& row = m_rows.rowAt(index.row());
    const Places places = placesIn(option, row);
    const auto leading = QStyle::visualAlignment(option.direction, Qt::AlignLeft) |
                         Qt::AlignVCenter | Qt::AlignAbsolute;
    const auto trailing = QStyle::visualAlignment(option.direction, Qt::AlignRight) |
                          Qt::AlignVCenter | Qt::AlignAbsolute;
    const auto draw = [&](const QRect& within, Qt::Alignment side, const QString& text,
                          Qt::TextElideMode mode) {
        const QString shown = QFontMetrics(painter->font()).elidedText(text, mode, within.width());
        painter->drawText(within, static_cast<int>(side) | Qt::TextSingleLine, shown);
    };
    painter->save();
    painter->setLayoutDirection(Qt::LayoutDirectionAuto);
    drawRelevance(*painter, option, places.bar, m_rows.relevanceOf(row));
    painter->setPen(textColor(option));
    painter->setFont(titleFont(option.font));
    draw(places.title, leading, shownTitle(row), Qt::ElideRight);
    painter->setFont(option.font);
    painter->setPen(quietColor(option));
    draw(places.date, trailing, shownDate(row), Qt::ElideRight);
    draw(places.address, leading, shownAddress(row), Qt::ElideMiddle);
    draw(places.source, trailing, toQString(row.source), Qt::ElideRight);
    painter->setPen(textColor(option));
    drawSnippet(*painter, option, places.snippet, row);
    painter->restore();
    if (option.state & QStyle::State_HasFocus) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.backgroundColor = option.palette.color(QPalette::Base);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, option.widget);
    }
}

// The matched words are bold as well as marked: a colour alone tells nobody enough.
void RowDelegate::drawSnippet(QPainter& painter, const QStyleOptionViewItem& option,
                              const QRect& within, const FoundRow& row) const {
    const Snippet* snippet = m_snippets.find(row, columnsIn(within.width(), option.fontMetrics));
    if (snippet == nullptr || snippet->text.empty()) return;
    QTextCharFormat mark;
    mark.setFontWeight(QFont::Bold);
    QColor behind = option.palette.color(QPalette::Active, option.state & QStyle::State_Selected
                                                               ? QPalette::HighlightedText
                                                               : QPalette::Highlight);
    behind.setAlphaF(0.22F);
    mark.setBackground(behind);
    const QList<QTextLayout::FormatRange> marks = marksOf(*snippet, mark);
    QTextLayout layout(toQString(snippet->text), option.font);
    qreal rest = within.width() - layOut(layout, marks, within.width());
    if (rest < 0) {
        const int plain = option.fontMetrics.horizontalAdvance(layout.text());
        layout.setText(option.fontMetrics.elidedText(layout.text(), Qt::ElideRight,
                                                     static_cast<int>(plain + rest)));
        rest = within.width() - layOut(layout, marks, within.width());
    }
    const bool isAtRight =
        rest >= 0 ? option.direction == Qt::RightToLeft : layout.text().isRightToLeft();
    painter.save();
    painter.setClipRect(within, Qt::IntersectClip);
    layout.draw(&painter, QPointF(within.left() + (isAtRight ? rest : 0), within.top()));
    painter.restore();
}

bool RowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                            const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid()) return false;
    const FoundRow& row = m_rows.rowAt(index.row());
    QStyleOptionViewItem whole = option;
    whole.rect = view->visualRect(index);
    const Places places = placesIn(whole, row);
    const bool isOnTitle = places.title.contains(event->pos());
    const bool isOnAddress = places.address.contains(event->pos());
    const std::string text = isOnTitle     ? std::string(titleToShow(row.title))
                             : isOnAddress ? row.url
                                           : "";
    QToolTip::showText(event->globalPos(), plainToolTip(toQString(text)), view,
                       isOnTitle ? places.title : places.address);
    return true;
}

}  // namespace siftwell
