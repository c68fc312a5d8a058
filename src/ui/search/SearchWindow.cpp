#include "ui/search/SearchWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMimeData>
#include <QStatusBar>
#include <QToolBar>

#include "ui/Text.h"
#include "ui/search/DroppedTargets.h"
#include "ui/search/ErrorsButton.h"
#include "ui/search/IndexingProgress.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

namespace {

QPushButton* menuButton(QMenu* menu, const QString& accessibleName) {
    auto* button = new QPushButton;
    button->setMenu(menu);
    button->setAutoDefault(false);
    button->setAccessibleName(accessibleName);
    button->setToolTip(accessibleName);
    return button;
}

// Long names of places are not to push the field away.
void showOn(QPushButton* button, const QString& text) {
    const QFontMetrics metrics = button->fontMetrics();
    button->setText(metrics.elidedText(text, Qt::ElideRight, metrics.averageCharWidth() * 20)
                        .replace(QLatin1Char('&'), QStringLiteral("&&")));
    button->setAccessibleDescription(text);
    button->setMinimumWidth(0);
    button->setMinimumWidth(button->sizeHint().width() + metrics.averageCharWidth());
}

}  // namespace

SearchWindow::SearchWindow(const Program& program, ActiveSearch& search,
                           const MakePreviewPane& makePreview)
    : m_program(program),
      m_search(search),
      m_recentMenu(new RecentMenu(search, this)),
      m_typeMenu(new SearchTypeMenu(search, this)),
      m_locationMenu(new LocationMenu(search, this)),
      m_dateMenu(new DateMenu(program.session.settings(), this)),
      m_field(new SearchField(program.session.settings(), m_recentMenu)),
      m_typeButton(menuButton(m_typeMenu, q_("How the words are looked for"))),
      m_locationButton(menuButton(m_locationMenu, q_("Where to search"))),
      m_dateButton(menuButton(m_dateMenu, q_("How old pages may be"))),
      m_splitter(new QSplitter(Qt::Vertical)),
      m_stack(new QStackedWidget),
      m_view(new ResultView(search.results(), search.snippets())),
      m_empty(new EmptyPage(program, search)),
      m_rowActions(new RowActions(program, search, *m_view, this)),
      m_previewTimer(new PreviewTimer([this] { return previewHeight(); }, this)),
      m_openPreviewed(new QAction(q_("Open Pre&viewed Page"), this)),
      m_actionBar(new QToolBar(q_("Actions"))),
      m_status(new QLabel) {
    setObjectName(QStringLiteral("SearchWindow"));
    setWindowTitle(QApplication::applicationDisplayName());
    setAcceptDrops(true);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setUpField();
    setUpToolBar();
    setUpRows(makePreview);
    setUpStatusLine();
    setUpMenus();
    connectSearch();
    connectPreview();
    restoreLook();
    takePaletteSettings();
    showLimits();
    showState();
    showCount();
    m_search.setMainField(m_field);
    m_field->setFocus();
}

SearchWindow::~SearchWindow() { keepLook(); }

// ---- Parts

void SearchWindow::setUpField() {
    auto* bar = new QToolBar(q_("Search"));
    bar->setObjectName(QStringLiteral("SearchBar"));
    bar->setMovable(false);
    bar->toggleViewAction()->setEnabled(false);  // nothing works without it
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    const int gap = fontMetrics().height() / 3;
    layout->setContentsMargins(gap, gap, gap, gap);
    layout->setSpacing(gap);
    layout->addWidget(m_field, 1);
    for (QPushButton* button : {m_typeButton, m_locationButton, m_dateButton}) {
        layout->addWidget(button);
    }
    layout->addWidget(m_actionBar);
    m_field->setMinimumWidth(fontMetrics().averageCharWidth() * 16);
    row->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    bar->addWidget(row);
    addToolBar(bar);
}

void SearchWindow::setUpToolBar() {
    const int line = fontMetrics().height();
    m_actionBar->setIconSize({line, line});
    m_openPreviewed->setIcon(m_rowActions->open->icon());
    m_openPreviewed->setToolTip(q_("Open the previewed page in the browser"));
    m_openPreviewed->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+O")));
    m_openPreviewed->setEnabled(false);
    QMainWindow::addAction(m_openPreviewed);
    m_actionBar->addAction(m_openPreviewed);
    for (QAction* action : {m_rowActions->copy, m_rowActions->remove, m_rowActions->addFilter,
                            m_rowActions->preview}) {
        m_actionBar->addAction(action);
    }
    m_actionBar->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

void SearchWindow::setUpRows(const MakePreviewPane& makePreview) {
    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    m_stack->setMinimumSize(m_view->minimumSizeHint());
    m_splitter->addWidget(m_stack);
    m_splitter->setCollapsible(0, false);
    m_splitter->setStretchFactor(0, 1);
    if (makePreview) m_preview = makePreview(m_splitter);
    if (m_preview != nullptr) {
        if (m_splitter->indexOf(m_preview) < 0) m_splitter->addWidget(m_preview);
        m_splitter->setCollapsible(1, true);
        m_splitter->setStretchFactor(1, 1);
        m_splitter->handle(1)->setToolTip(q_("Drag down to close the preview"));
        m_splitter->handle(1)->setAccessibleName(q_("Size of the preview"));
    }
    setCentralWidget(m_splitter);
    connect(m_view, &QWidget::customContextMenuRequested, this, [this](const QPoint& place) {
        if (m_view->selectedRow() < 0) return;
        QMenu menu;
        menu.addActions({m_rowActions->open, m_rowActions->copy, m_rowActions->preview});
        menu.addSeparator();
        menu.addAction(m_rowActions->moreFromSite);
        menu.addSeparator();
        menu.addActions({m_rowActions->remove, m_rowActions->neverIndexSite});
        menu.exec(m_view->viewport()->mapToGlobal(place));
    });
}

void SearchWindow::setUpStatusLine() {
    statusBar()->setSizeGripEnabled(false);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setContentsMargins(fontMetrics().height() / 2, 0, 0, 0);
    statusBar()->addWidget(m_status, 1);
    statusBar()->addPermanentWidget(new IndexingProgress(m_program.session.centre()));
    statusBar()->addPermanentWidget(
        new ErrorsButton(m_program.session.centre(), m_program.commands));
}

// ---- What happens

void SearchWindow::connectSearch() {
    connect(m_field, &SearchField::rested, &m_search, &ActiveSearch::performSearch);
    connect(m_field, &SearchField::entered, &m_search, &ActiveSearch::performSearch);
    connect(m_field, &SearchField::downPressed, this, [this] { enterRows(); });
    connect(m_view, &ResultView::upFromFirst, m_field, &SearchField::focusAll);
    connect(m_view, &ResultView::typed, this, [this](const QString& text) {
        m_field->setFocus();
        m_field->end(false);
        m_field->insert(text);
    });
    connect(&m_search, &ActiveSearch::cleared, this, [this] {
        m_previewTimer->cancel();
        showState();
    });
    connect(&m_search, &ActiveSearch::changed, this, [this] { showState(); });
    connect(&m_search, &ActiveSearch::searchTypeChanged, this, [this] { showLimits(); });
    connect(&m_search, &ActiveSearch::windowWanted, this, [this](const QString& text) {
        if (!text.isEmpty()) m_field->showText(text);
        bringUp();
    });
    const auto limitsChanged = [this] {
        showLimits();
        m_search.searchAgain();
    };
    connect(m_locationMenu, &LocationMenu::changed, this, limitsChanged);
    connect(m_dateMenu, &DateMenu::changed, this, limitsChanged);
    connect(m_empty, &EmptyPage::limitLifted, this, limitsChanged);
    connect(&m_search.results(), &QAbstractItemModel::rowsRemoved, this, [this] { showState(); });
    NotificationCentre& centre = m_program.session.centre();
    m_preferenceChanges =
        centre.observe("SiftwellPreferenceChangeNotification", [this](const PropertyList&) {
            showLimits();
            takePaletteSettings();
            m_empty->refresh();
        });
    m_loaderEnds = centre.observe(
        "SiftwellIndexerProgressDoneNotification", [this](const PropertyList& report) {
            const auto* values = report.asDictionary();
            if (values != nullptr && stringFor(*values, "source") == "Loader") showCount();
        });
}

void SearchWindow::connectPreview() {
    connect(m_view, &QAbstractItemView::clicked, m_previewTimer, &PreviewTimer::clicked);
    connect(m_view, &ResultView::selectionMoved, m_previewTimer, &PreviewTimer::selectionMoved);
    connect(m_view, &QAbstractItemView::doubleClicked, m_previewTimer,
            &PreviewTimer::doubleClicked);
    connect(m_rowActions, &RowActions::rowTaken, m_previewTimer, &PreviewTimer::cancel);
    connect(m_previewTimer, &PreviewTimer::openWanted, m_rowActions, &RowActions::openSelection);
    connect(m_previewTimer, &PreviewTimer::previewWanted, this, [this] { showPreview(); });
    connect(m_rowActions, &RowActions::previewToggled, this, [this] { togglePreview(); });
    connect(m_rowActions, &RowActions::siteWanted, this,
            [this](const QString& host) { searchFor(host); });
    if (m_preview == nullptr) return;
    connect(&m_search, &ActiveSearch::previewUnwanted, m_preview, [this] { m_preview->blank(); });
    connect(m_preview, &PreviewPane::webURLChanged, this, [this](const QString& address) {
        m_openPreviewed->setEnabled(canOpenPreviewed(address.toStdString()));
    });
    const auto openPreviewed = [this] { m_rowActions->openAddress(m_preview->webURL()); };
    connect(m_openPreviewed, &QAction::triggered, this, openPreviewed);
    connect(m_preview, &PreviewPane::openRequested, this, openPreviewed);
}

void SearchWindow::showPreview() {
    const int selected = m_view->selectedRow();
    if (selected < 0 || m_preview == nullptr) return;
    const FoundRow& row = m_search.results().rowAt(selected);
    if (m_preview->webURL() == toQString(row.url)) return;
    m_preview->showRow(row, m_search.controller().skSearchQuery());
}

int SearchWindow::previewHeight() const {
    return m_preview == nullptr ? 0 : m_splitter->sizes().value(1);
}

void SearchWindow::togglePreview() {
    if (m_preview == nullptr) return;
    const int both = m_splitter->sizes().value(0) + m_splitter->sizes().value(1);
    const bool isOpening = previewHeight() == 0;
    m_splitter->setSizes(isOpening ? QList<int>{both / 2, both - both / 2} : QList<int>{both, 0});
    if (isOpening) showPreview();
}

void SearchWindow::enterRows() {
    if (m_search.results().rowCount() == 0) return;
    m_view->setFocus(Qt::OtherFocusReason);
    m_view->selectRowAt(std::max(0, m_view->selectedRow()));
}

void SearchWindow::searchFor(const QString& text) {
    m_field->showText(text);
    m_search.performSearch();
}

// ---- What is shown

void SearchWindow::showLimits() {
    showOn(m_typeButton, searchTypeName(m_search.searchType()));
    showOn(m_locationButton, locationText(m_search));
    showOn(m_dateButton, dateText(m_program.session.settings()));
}

void SearchWindow::showState() {
    const int count = m_search.results().rowCount();
    const bool isEmpty = count == 0 && m_search.placeholder() != ActiveSearch::Placeholder::None;
    if (isEmpty) showCount();
    m_stack->setCurrentWidget(isEmpty ? static_cast<QWidget*>(m_empty) : m_view);
    QStringList parts;
    if (count > 0) parts << counted(N_("%@ page"), N_("%@ pages"), count);
    if (m_search.isSearching()) parts << m_search.status() + QChar(0x2026);
    m_status->setText(parts.join(QStringLiteral(" · ")));
}

void SearchWindow::showCount() {
    const auto count = m_program.session.indexes().documentCount();
    m_field->setPlaceholderText(
        count > 0 ? counted(N_("Search %@ page"), N_("Search %@ pages"), count) : q_("Search"));
    m_empty->refresh();
}

// ---- The window

void SearchWindow::bringUp() {
    if (isMinimized()) setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    m_field->focusAll();
}

void SearchWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) return QMainWindow::keyPressEvent(event);
    if (m_field->text().isEmpty()) {
        close();
        return;
    }
    m_field->showText(QString());
    m_field->setFocus();
    m_search.performSearch();
}

void SearchWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!event->spontaneous()) m_program.session.settings().set("ContentSearchVisible", "Yes");
}

void SearchWindow::closeEvent(QCloseEvent* event) {
    keepLook();
    if (!m_isEnding) m_program.session.settings().set("ContentSearchVisible", "No");
    QMainWindow::closeEvent(event);
}

void SearchWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) m_empty->refresh();
}

void SearchWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedTargets(*event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void SearchWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    // Once the desktop has its answer: what is asked takes time.
    m_program.session.mainLoop().post(
        [&commands = m_program.commands, targets = droppedTargets(*event->mimeData())] {
            commands.addToIndex(targets);
        });
}

}  // namespace siftwell
