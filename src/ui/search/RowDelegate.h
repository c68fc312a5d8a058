// RowDelegate: a result as a person reads it: how good it is, title and date, address and source,
// and what the page says around the words.
//
// Threads: main; what has to be read from an index comes later.
#pragma once

#include <QStyledItemDelegate>

#include "ui/search/ResultModel.h"
#include "ui/search/Snippets.h"

namespace siftwell {

class RowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    // Borrowed; both outlive the delegate.
    RowDelegate(const ResultModel& rows, Snippets& snippets, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // The whole title over the title, the whole address over the address.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    static int heightOf(const QFontMetrics& metrics);

private:
    struct Places;

    Places placesIn(const QStyleOptionViewItem& option, const FoundRow& row) const;
    void drawSnippet(QPainter& painter, const QStyleOptionViewItem& option, const QRect& within,
                     const FoundRow& row) const;

    const ResultModel& m_rows;
    Snippets& m_snippets;
};

}  // namespace siftwell
