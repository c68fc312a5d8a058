#include "ui/search/RelevanceBar.h"

#include <QPainterPath>

namespace siftwell {

namespace {

constexpr int kParts = 5;

QPainterPath partsOf(const QRectF& bar) {
    QPainterPath path;
    const qreal gap = bar.height() / 4;
    const qreal width = (bar.width() - gap * (kParts - 1)) / kParts;
    for (int i = 0; i < kParts; ++i) {
        path.addRoundedRect({bar.left() + i * (width + gap), bar.top(), width, bar.height()},
                            bar.height() / 5, bar.height() / 5);
    }
    return path;
}

}  // namespace

QPalette::ColorGroup colorGroupOf(const QStyleOptionViewItem& option) {
    if (!(option.state & QStyle::State_Enabled)) return QPalette::Disabled;
    return option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
}

void drawRelevance(QPainter& painter, const QStyleOptionViewItem& option, const QRect& within,
                   double relevance) {
    const bool isSelected = option.state & QStyle::State_Selected;
    const QColor full = option.palette.color(
        QPalette::Active, isSelected ? QPalette::HighlightedText : QPalette::Highlight);
    QColor empty = option.palette.color(colorGroupOf(option),
                                        isSelected ? QPalette::HighlightedText : QPalette::Text);
    empty.setAlphaF(0.2F);
    const QRectF bar(within);
    QRectF filled = bar;
    filled.setWidth(bar.width() * relevance);
    if (option.direction == Qt::RightToLeft) filled.moveRight(bar.right());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath parts = partsOf(bar);
    painter.fillPath(parts, empty);
    painter.setClipRect(filled, Qt::IntersectClip);
    painter.fillPath(parts, full);
    painter.restore();
}

}  // namespace siftwell
