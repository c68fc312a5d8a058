// TableDelegate: the cells of the plain table: the score as a bar, addresses shortened in their
// middle, where they tell least.
//
// Threads: main.
#pragma once

#include <QStyledItemDelegate>

namespace siftwell {

class TableDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

}  // namespace siftwell
