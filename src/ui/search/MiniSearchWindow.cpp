#include "ui/search/MiniSearchWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/BringUp.h"
#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/search/RowDelegate.h"

namespace siftwell {

MiniSearchWindow::MiniSearchWindow(const Program& program, ActiveSearch& search)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_program(program),
      m_search(search),
      m_field(new SearchField(program.session.settings(), nullptr)),
      m_list(new ResultView(m_best, search.snippets())) {
    setObjectName(QStringLiteral("MiniSearch"));
    setWindowTitle(QGuiApplication::applicationDisplayName());
    QFont big = m_field->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    m_field->setFont(big);
    m_field->setPlaceholderText(q_("Search"));
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int gap = fontMetrics().height() / 2;
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(gap, gap, gap, gap);
    column->setSpacing(gap);
    column->addWidget(m_field);
    column->addWidget(m_list);
    m_list->hide();
    connectSearch();
    m_search.setMiniField(m_field);
}

void MiniSearchWindow::connectSearch() {
    connect(m_field, &SearchField::rested, &m_search, &ActiveSearch::performSearch);
    connect(m_field, &SearchField::entered, this, [this] { enter(); });
    connect(m_field, &SearchField::downPressed, this, [this] { moveSelection(1); });
    connect(m_list, &QAbstractItemView::clicked, this, [this] { openSelection(); });
    connect(&m_search, &ActiveSearch::cleared, this, [this] { m_best.clear(); });
    connect(&m_search, &ActiveSearch::rowsArrived, this,
            [this](const std::vector<FoundRow>& rows, float maxRelevance) {
                if (!isVisible()) return;
                m_best.append(rows, maxRelevance);
                showList();
            });
    connect(&m_search, &ActiveSearch::listHidden, this, [this] { hideList(); });
}

void MiniSearchWindow::bringUp() {
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());  // where the user is
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    const QRect area = screen->availableGeometry();
    const int width = std::min(fontMetrics().averageCharWidth() * 80, area.width());
    setFixedWidth(width);
    hideList();
    move(area.center().x() - width / 2, area.top() + area.height() / 4);
    siftwell::bringUp(*this);
    m_field->focusAll();
}

void MiniSearchWindow::showList() {
    const int rows = m_best.rowCount();
    if (rows == 0) return hideList();
    const int room = screen()->availableGeometry().bottom() - y() - 3 * m_field->height();
    const int height = RowDelegate::heightOf(m_list->fontMetrics());
    m_list->setFixedHeight(height * std::clamp(rows, 1, std::max(1, room / height)));
    m_list->show();
    adjustSize();
}

void MiniSearchWindow::hideList() {
    m_list->hide();
    adjustSize();
}

void MiniSearchWindow::moveSelection(int by) {
    if (m_best.rowCount() == 0) return;
    const int selected = m_list->selectedRow();
    if (selected + by >= 0) return m_list->selectRowAt(selected + by);
    m_list->clearSelection();
}

// The best page, when none was chosen.
void MiniSearchWindow::enter() {
    if (m_best.rowCount() == 0 || m_field->isChanged()) return m_search.performSearch();
    if (m_list->selectedRow() < 0) m_list->selectRowAt(0);
    openSelection();
}

void MiniSearchWindow::openSelection() {
    const int selected = m_list->selectedRow();
    if (selected < 0) return;
    const FoundRow row = m_best.rowAt(selected);
    hideList();
    hide();
    if (!openInBrowser(row, m_program.desktop)) sayNothingOpens(m_program.alerts, row.url);
}

void MiniSearchWindow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            hide();
            return;
        case Qt::Key_Up:
            return moveSelection(-1);
        default:
            QWidget::keyPressEvent(event);
    }
}

// A window without a frame of the desktop's has its own edge.
void MiniSearchWindow::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    frame.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &frame, this);
    painter.drawPrimitive(QStyle::PE_FrameMenu, frame);
}

bool MiniSearchWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowDeactivate) hide();
    return QWidget::event(event);
}

// What is shown belongs to the main window's words again.
void MiniSearchWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_field->showText(QString());
    m_best.clear();
    Q_EMIT closed();
}

}  // namespace siftwell
