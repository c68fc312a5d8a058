#include "ui/search/FoundPane.h"

#include <QMenu>

#include "ui/Text.h"

namespace siftwell {

FoundPane::FoundPane(const Program& program, ActiveSearch& search,
                     const MakePreviewPane& makePreview)
    : QSplitter(Qt::Vertical),
      m_search(search),
      m_stack(new QStackedWidget),
      m_view(new ResultView(search.results(), search.snippets())),
      m_empty(new EmptyPage(program, search)),
      m_rowActions(new RowActions(program, search, *m_view, this)),
      m_previewTimer(new PreviewTimer([this] { return previewHeight(); }, this)),
      m_openPreviewed(new QAction(q_("Open Pre&viewed Page"), this)) {
    addRows();
    m_openPreviewed->setIcon(m_rowActions->open->icon());
    m_openPreviewed->setToolTip(q_("Open the previewed page in the browser"));
    m_openPreviewed->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+O")));
    m_openPreviewed->setEnabled(false);
    connectRows();
    addPreview(makePreview);
    showState();
}

void FoundPane::addRows() {
    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    m_stack->setMinimumSize(m_view->minimumSizeHint());
    addWidget(m_stack);
    setCollapsible(0, false);
    setStretchFactor(0, 1);
}

void FoundPane::addPreview(const MakePreviewPane& makePreview) {
    if (makePreview) m_preview = makePreview(this);
    if (m_preview == nullptr) return;
    if (indexOf(m_preview) < 0) addWidget(m_preview);
    setCollapsible(1, true);
    setStretchFactor(1, 1);
    handle(1)->setToolTip(q_("Drag down to close the preview"));
    handle(1)->setAccessibleName(q_("Size of the preview"));
    connectPreview();
}

void FoundPane::connectRows() {
    connect(m_view, &ResultView::upFromFirst, this, &FoundPane::leftUpwards);
    connect(m_view, &ResultView::typed, this, &FoundPane::typed);
    connect(m_view, &QWidget::customContextMenuRequested, this, &FoundPane::showMenu);
    connect(m_view, &QAbstractItemView::clicked, m_previewTimer, &PreviewTimer::clicked);
    connect(m_view, &ResultView::selectionMoved, m_previewTimer, &PreviewTimer::selectionMoved);
    connect(m_view, &QAbstractItemView::doubleClicked, m_previewTimer,
            &PreviewTimer::doubleClicked);
    connect(m_rowActions, &RowActions::rowTaken, m_previewTimer, &PreviewTimer::cancel);
    connect(m_rowActions, &RowActions::previewToggled, this, &FoundPane::togglePreview);
    connect(m_rowActions, &RowActions::siteWanted, this, &FoundPane::siteWanted);
    connect(m_previewTimer, &PreviewTimer::openWanted, m_rowActions, &RowActions::openSelection);
    connect(m_previewTimer, &PreviewTimer::previewWanted, this, &FoundPane::showPreview);
    connect(this, &QSplitter::splitterMoved, this, [this] {
        if (previewHeight() < 1) closePreview();
    });
    connect(&m_search, &ActiveSearch::cleared, m_previewTimer, &PreviewTimer::cancel);
}

void FoundPane::connectPreview() {
    connect(&m_search, &ActiveSearch::previewUnwanted, m_preview, [this] { m_preview->blank(); });
    connect(m_preview, &PreviewPane::webURLChanged, this, [this](const QString& address) {
        m_openPreviewed->setEnabled(canOpenPreviewed(address.toStdString()));
    });
    const auto openPreviewed = [this] { m_rowActions->openAddress(m_preview->webURL()); };
    connect(m_rowActions, &RowActions::rowRemoved, this, [this](const QString& address) {
        if (m_preview->webURL() == address) m_preview->blank();
    });
    connect(m_openPreviewed, &QAction::triggered, this, openPreviewed);
    connect(m_preview, &PreviewPane::openRequested, this, openPreviewed);
}

void FoundPane::showState() {
    const bool isEmpty = m_search.results().rowCount() == 0 &&
                         m_search.placeholder() != ActiveSearch::Placeholder::None;
    m_stack->setCurrentWidget(isEmpty ? static_cast<QWidget*>(m_empty) : m_view);
}

void FoundPane::showMenu(const QPoint& place) {
    if (m_view->selectedRow() < 0) return;
    QMenu menu;
    menu.addActions({m_rowActions->open, m_rowActions->copy, m_rowActions->preview});
    menu.addSeparator();
    menu.addAction(m_rowActions->moreFromSite);
    menu.addSeparator();
    menu.addActions({m_rowActions->remove, m_rowActions->neverIndexSite});
    menu.exec(m_view->viewport()->mapToGlobal(place));
}

void FoundPane::enterRows() {
    if (m_search.results().rowCount() == 0) return;
    m_view->setFocus(Qt::OtherFocusReason);
    m_view->selectRowAt(std::max(0, m_view->selectedRow()));
}

// ---- The preview

void FoundPane::showPreview() {
    const int selected = m_view->selectedRow();
    if (selected < 0 || previewHeight() < 1) return;
    const FoundRow& row = m_search.results().rowAt(selected);
    if (m_preview->webURL() == toQString(row.url)) return;
    m_preview->showRow(row, m_search.controller().skSearchQuery());
}

int FoundPane::previewHeight() const { return m_preview == nullptr ? 0 : sizes().value(1); }

void FoundPane::togglePreview() {
    if (m_preview == nullptr) return;
    const int both = sizes().value(0) + sizes().value(1);
    const bool isOpening = previewHeight() == 0;
    setSizes(isOpening ? QList<int>{both / 2, both - both / 2} : QList<int>{both, 0});
    if (isOpening) return showPreview();
    closePreview();
}

void FoundPane::closePreview() {
    m_previewTimer->cancel();
    if (m_preview != nullptr) m_preview->blank();
}

void FoundPane::performFindPanelAction(int tag) {
    if (m_preview == nullptr) return;
    if (previewHeight() < 1) togglePreview();
    m_preview->performFindPanelAction(tag);
}

}  // namespace siftwell
