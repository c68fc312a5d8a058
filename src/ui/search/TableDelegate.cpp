#include "ui/search/TableDelegate.h"

#include <algorithm>

#include "ui/search/RelevanceBar.h"
#include "ui/search/ResultModel.h"

namespace siftwell {

void TableDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    QStyleOptionViewItem shown = option;
    shown.textElideMode =
        index.column() == ResultModel::AddressColumn ? Qt::ElideMiddle : Qt::ElideRight;
    QStyledItemDelegate::paint(painter, shown, index);
    if (index.column() != ResultModel::ScoreColumn) return;
    const int line = option.fontMetrics.height();
    const int barHeight = std::max(4, line / 2);
    QRect bar = option.rect.adjusted(line / 3, 0, -line / 3, 0);
    bar.setTop(option.rect.top() + (option.rect.height() - barHeight) / 2);
    bar.setHeight(barHeight);
    bar.setWidth(std::min(bar.width(), option.fontMetrics.averageCharWidth() * 7));
    bar = QStyle::visualRect(option.direction, option.rect, bar);
    drawRelevance(*painter, option, bar, index.data(ResultModel::kRelevanceRole).toDouble());
}

}  // namespace siftwell
