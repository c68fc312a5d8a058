#include "ui/search/ResultView.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <algorithm>
#include <utility>

#include "ui/Text.h"
#include "ui/search/RowDelegate.h"
#include "ui/search/TableDelegate.h"

namespace siftwell {

ResultView::ResultView(ResultModel& rows, Snippets& snippets, QWidget* parent)
    : QTableView(parent),
      m_rows(rows),
      m_rowDelegate(new RowDelegate(rows, snippets, this)),
      m_tableDelegate(new TableDelegate(this)) {
    setAccessibleName(q_("Pages found"));
    setModel(&rows);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollMode(ScrollPerPixel);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setFrameShape(NoFrame);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setUpHeaders();
    connect(&rows, &ResultModel::willArrange, this, [this] { rememberPlace(); });
    connect(&rows, &ResultModel::arranged, this, [this] { returnToPlace(); });
    connect(&snippets, &Snippets::changed, viewport(), qOverload<>(&QWidget::update));
    m_columns = columns();
    m_form = Form::Table;
    setForm(Form::Rows);
}

void ResultView::setUpHeaders() {
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView* header = horizontalHeader();
    header->setSectionsMovable(true);
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    header->setSortIndicator(ResultModel::ScoreColumn, Qt::DescendingOrder);
    const int character = fontMetrics().averageCharWidth();
    header->resizeSection(ResultModel::ScoreColumn, 12 * character);
    header->resizeSection(ResultModel::TitleColumn, 36 * character);
    header->resizeSection(ResultModel::AddressColumn, 30 * character);
    header->resizeSection(ResultModel::DateColumn, 14 * character);
    header->resizeSection(ResultModel::SourceColumn, 14 * character);
    setSortingEnabled(true);
}

// ---- Forms

void ResultView::setForm(Form form) {
    if (std::exchange(m_form, form) == form) return;
    QHeaderView* header = horizontalHeader();
    if (form == Form::Rows) m_columns = header->saveState();
    header->setVisible(form == Form::Table);
    setItemDelegate(form == Form::Rows ? m_rowDelegate : m_tableDelegate);
    setHorizontalScrollBarPolicy(form == Form::Rows ? Qt::ScrollBarAlwaysOff
                                                    : Qt::ScrollBarAsNeeded);
    if (form == Form::Rows) header->setStretchLastSection(false);
    if (form == Form::Rows) {
        for (int i = 0; i < ResultModel::kColumns; ++i) {
            header->setSectionHidden(i, i != ResultModel::TitleColumn);
        }
        header->setSectionResizeMode(ResultModel::TitleColumn, QHeaderView::Stretch);
    } else {
        header->setSectionResizeMode(QHeaderView::Interactive);
        for (int i = 0; i < ResultModel::kColumns; ++i) header->setSectionHidden(i, false);
        header->restoreState(m_columns);
        header->setStretchLastSection(true);
    }
    fitRows();
    if (currentIndex().isValid()) scrollTo(currentIndex());
}

QByteArray ResultView::columns() const {
    return m_form == Form::Table ? horizontalHeader()->saveState() : m_columns;
}

void ResultView::setColumns(const QByteArray& columns) {
    if (columns.isEmpty()) return;
    m_columns = columns;
    if (m_form == Form::Table) horizontalHeader()->restoreState(columns);
}

bool ResultView::isColumnShown(int column) const { return !isColumnHidden(column); }

void ResultView::showColumn(int column, bool isShown) {
    if (m_form == Form::Table) setColumnHidden(column, !isShown);
}

void ResultView::fitRows() {
    const int height = m_form == Form::Rows ? RowDelegate::heightOf(fontMetrics())
                                            : fontMetrics().height() * 3 / 2;
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(height);
    verticalScrollBar()->setSingleStep(height / 2);
}

QSize ResultView::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 56, RowDelegate::heightOf(fontMetrics()) * 2};
}

void ResultView::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) fitRows();
}

// ---- The place of the eye

void ResultView::rememberPlace() {
    m_anchor = QModelIndex();
    const int selected = selectedRow();
    const QModelIndex chosen =
        selected >= 0 ? m_rows.index(selected, ResultModel::TitleColumn) : QModelIndex();
    if (chosen.isValid() && viewport()->rect().intersects(visualRect(chosen))) {
        m_anchor = chosen;
    } else if (verticalScrollBar()->value() > 0) {
        m_anchor = m_rows.index(rowAt(0), ResultModel::TitleColumn);
    }
    if (m_anchor.isValid()) m_anchorTop = rowViewportPosition(m_anchor.row());
}

void ResultView::returnToPlace() {
    if (!m_anchor.isValid()) return;
    updateGeometries();  // the scroll bar's range follows the rows later, by itself
    QScrollBar* bar = verticalScrollBar();
    bar->setValue(bar->value() + rowViewportPosition(m_anchor.row()) - m_anchorTop);
    m_anchor = QModelIndex();
}

// ---- Selection and keys

int ResultView::selectedRow() const {
    const QModelIndexList rows = selectionModel()->selectedRows(ResultModel::TitleColumn);
    return rows.isEmpty() ? -1 : rows.first().row();
}

void ResultView::selectRowAt(int row) {
    if (m_rows.rowCount() == 0) return;
    const QModelIndex index =
        m_rows.index(std::clamp(row, 0, m_rows.rowCount() - 1), ResultModel::TitleColumn);
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void ResultView::selectionChanged(const QItemSelection& selected,
                                  const QItemSelection& deselected) {
    QTableView::selectionChanged(selected, deselected);
    Q_EMIT selectionMoved();
}

void ResultView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Up && currentIndex().row() <= 0) return Q_EMIT upFromFirst();
    if (event->key() == Qt::Key_Home) return selectRowAt(0);
    if (event->key() == Qt::Key_End) return selectRowAt(m_rows.rowCount() - 1);
    QTableView::keyPressEvent(event);
}

}  // namespace siftwell
