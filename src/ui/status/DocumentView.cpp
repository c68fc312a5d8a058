#include "ui/status/DocumentView.h"

#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxSelected = 10'000;

}  // namespace

DocumentView::DocumentView(RunLoop& mainLoop, QWidget* parent)
    : QTableView(parent), m_model(mainLoop) {
    setModel(&m_model);
    setAccessibleName(q_("Documents in the index"));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollMode(ScrollPerPixel);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    arrange();
}

void DocumentView::arrange() {
    QHeaderView& columns = *horizontalHeader();
    columns.setHighlightSections(false);
    columns.setSectionsClickable(true);
    columns.setSortIndicatorShown(true);
    columns.setSortIndicator(DocumentModel::DateColumn, Qt::DescendingOrder);
    columns.setSectionResizeMode(QHeaderView::Interactive);
    columns.setSectionResizeMode(DocumentModel::AddressColumn, QHeaderView::Stretch);
    columns.setAccessibleName(q_("Columns"));
    // Rows of one height: with other ones Qt would have to ask a million of them.
    QHeaderView& rows = *verticalHeader();
    rows.setVisible(false);
    rows.setSectionResizeMode(QHeaderView::Fixed);
    rows.setMinimumSectionSize(0);
    rows.setDefaultSectionSize(fontMetrics().height() + fontMetrics().height() / 2);
    fitColumns();
}

void DocumentView::fitColumns() {
    const int gap = 4 * fontMetrics().averageCharWidth();
    const QDateTime wide(QDate(2028, 12, 28), QTime(22, 58));
    const QString date = QLocale().toString(wide, QLocale::ShortFormat);
    setColumnWidth(DocumentModel::DateColumn, fontMetrics().horizontalAdvance(date) + gap);
    setColumnWidth(DocumentModel::SourceColumn, 24 * fontMetrics().averageCharWidth());
}

void DocumentView::setList(const DocumentListPointer& list) {
    const Sight before = sight();
    m_model.setList(list);
    restore(before);
}

void DocumentView::leaveOut(const std::vector<DocumentRow>& documents) {
    const std::vector<int> rows = m_model.rowsOf(documents);
    if (rows.empty()) return;
    auto list = std::make_shared<DocumentList>(m_model.list());
    auto next = rows.begin();
    std::vector<DocumentRow> left;
    left.reserve(list->rows.size() - rows.size());
    for (std::size_t i = 0; i < list->rows.size(); ++i) {
        const bool isLeftOut = next != rows.end() && static_cast<std::size_t>(*next) == i;
        if (isLeftOut) {
            ++next;
        } else {
            left.push_back(list->rows[i]);
        }
    }
    list->rows = std::move(left);
    setList(list);
    if (m_model.rowCount() > 0) selectRow(std::min(rows.front(), m_model.rowCount() - 1));
}

void DocumentView::setEmptyText(const QString& text) {
    m_emptyText = text;
    viewport()->update();
}

DocumentView::Sight DocumentView::sight() const {
    Sight sight;
    const int top = rowAt(0);
    if (top > 0 && verticalScrollBar()->value() > 0) sight.top = m_model.documentAt(top);
    if (currentIndex().isValid()) sight.current = m_model.documentAt(currentIndex().row());
    for (const int row : selectedRows()) sight.selected.push_back(m_model.documentAt(row));
    return sight;
}

void DocumentView::restore(const Sight& sight) {
    const auto indexOf = [this](const std::optional<DocumentRow>& document) {
        if (!document) return QModelIndex();
        const auto rows = m_model.rowsOf({*document});
        return rows.empty() ? QModelIndex() : m_model.index(rows.front(), 0);
    };
    if (const QModelIndex current = indexOf(sight.current); current.isValid()) {
        selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    }
    QItemSelection selection;
    for (const int row : m_model.rowsOf(sight.selected)) {
        selection.append(QItemSelectionRange(m_model.index(row, 0),
                                             m_model.index(row, DocumentModel::ColumnCount - 1)));
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (const QModelIndex top = indexOf(sight.top); top.isValid()) {
        scrollTo(top, PositionAtTop);
    }
}

// Ranges are looked at rather than cells, of which there may be millions.
std::vector<int> DocumentView::selectedRows() const {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom() && rows.size() < kMaxSelected; ++row) {
            rows.push_back(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void DocumentView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (m_model.rowCount() > 0 || m_emptyText.isEmpty()) return;
    QPainter painter(viewport());
    const int margin = fontMetrics().height();
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                     static_cast<int>(Qt::AlignCenter) | static_cast<int>(Qt::TextWordWrap),
                     m_emptyText);
}

}  // namespace siftwell
