// The bar that shows how good a row is: five parts, filled from their beginning.
#pragma once

#include <QPainter>
#include <QRect>
#include <QStyleOptionViewItem>

namespace siftwell {

// In the palette's colours, within the rectangle.
void drawRelevance(QPainter& painter, const QStyleOptionViewItem& option, const QRect& within,
                   double relevance);

// The colour of the group of the palette that the item is drawn with.
QPalette::ColorGroup colorGroupOf(const QStyleOptionViewItem& option);

}  // namespace siftwell
