#include "ui/search/SearchWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPointer>
#include <QStatusBar>
#include <QToolBar>
#include <utility>

#include "ui/BringUp.h"
#include "ui/Text.h"
#include "ui/search/DroppedTargets.h"
#include "ui/search/ErrorsButton.h"
#include "ui/search/IndexingProgress.h"

namespace siftwell {

SearchWindow::SearchWindow(const Program& program, ActiveSearch& search,
                           const MakePreviewPane& makePreview)
    : m_program(program),
      m_search(search),
      m_bar(new SearchBar(program, search, this)),
      m_found(new FoundPane(program, search, makePreview)),
      m_actionBar(new QToolBar(q_("Actions"))),
      m_status(new QLabel) {
    setObjectName(QStringLiteral("SearchWindow"));
    setWindowTitle(QApplication::applicationDisplayName());
    setAcceptDrops(true);
    setContextMenuPolicy(Qt::PreventContextMenu);
    addToolBar(m_bar);
    setCentralWidget(m_found);
    setUpActionBar();
    setUpStatusLine();
    setUpMenus();
    connectParts();
    observe();
    restoreLook();
    takePaletteSettings();
    showState();
    m_search.setMainField(&field());
    field().setFocus();
}

SearchWindow::~SearchWindow() { keepLook(); }

// ---- Parts

void SearchWindow::setUpActionBar() {
    const int line = fontMetrics().height();
    const RowActions& rows = rowActions();
    m_actionBar->setIconSize({line, line});
    QMainWindow::addAction(m_found->openPreviewed());
    m_actionBar->addActions(
        {m_found->openPreviewed(), rows.copy, rows.remove, rows.addFilter, rows.preview});
    m_actionBar->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    m_bar->append(m_actionBar);
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

void SearchWindow::connectParts() {
    connect(&field(), &SearchField::rested, &m_search, &ActiveSearch::performSearch);
    connect(&field(), &SearchField::entered, &m_search, &ActiveSearch::performSearch);
    connect(&field(), &SearchField::downPressed, m_found, &FoundPane::enterRows);
    connect(m_found, &FoundPane::leftUpwards, &field(), &SearchField::focusAll);
    connect(m_found, &FoundPane::siteWanted, this, &SearchWindow::searchFor);
    connect(m_found, &FoundPane::typed, this, [this](const QString& text) {
        field().setFocus();
        field().end(false);
        field().insert(text);
    });
    connect(m_bar, &SearchBar::limitsChanged, this, &SearchWindow::limitsChanged);
    connect(&emptyPage(), &EmptyPage::limitLifted, this, &SearchWindow::limitsChanged);
    connect(&m_search, &ActiveSearch::cleared, this, &SearchWindow::showState);
    connect(&m_search, &ActiveSearch::changed, this, &SearchWindow::showState);
    connect(&m_search.results(), &QAbstractItemModel::rowsRemoved, this, &SearchWindow::showState);
    connect(&m_search, &ActiveSearch::windowWanted, this, [this](const QString& text) {
        if (!text.isEmpty()) field().showText(text);
        bringUp();
    });
}

void SearchWindow::observe() {
    const auto observe = [this](const char* name, NotificationCentre::Observer observer) {
        m_observations.push_back(m_program.session.centre().observe(name, std::move(observer)));
    };
    observe("SiftwellPreferenceChangeNotification", [this](const PropertyList&) {
        m_bar->showLimits();
        takePaletteSettings();
        emptyPage().refresh();
    });
    observe("SiftwellIndexerProgressDoneNotification", [this](const PropertyList& report) {
        const auto* values = report.asDictionary();
        if (values != nullptr && stringFor(*values, "source") == "Loader") showCount();
    });
    for (const char* change :
         {"SiftwellIndexingDoneNotification", "SiftwellStatusRemoveURLNotification"}) {
        observe(change, [this](const PropertyList&) { m_bar->showCount(); });
    }
}

void SearchWindow::limitsChanged() {
    m_bar->showLimits();
    m_search.searchAgain();
}

void SearchWindow::searchFor(const QString& text) {
    field().showText(text);
    m_search.performSearch();
}

// ---- What is shown

void SearchWindow::showState() {
    m_found->showState();
    if (isEmptyPageShown()) showCount();
    const int count = m_search.results().rowCount();
    QStringList parts;
    if (count > 0) parts << counted(N_("%@ page"), N_("%@ pages"), count);
    if (m_search.isSearching()) parts << m_search.status() + QChar(0x2026);
    m_status->setText(parts.join(QStringLiteral(" · ")));
}

void SearchWindow::showCount() {
    m_bar->showCount();
    emptyPage().refresh();
}

// ---- The window

void SearchWindow::bringUp() {
    siftwell::bringUp(*this);
    field().focusAll();
}

void SearchWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) return QMainWindow::keyPressEvent(event);
    if (field().text().isEmpty()) {
        close();
        return;
    }
    searchFor({});
    field().setFocus();
}

void SearchWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!event->spontaneous()) m_program.session.settings().set("ContentSearchVisible", "Yes");
}

void SearchWindow::closeEvent(QCloseEvent* event) {
    keepLook();
    m_found->closePreview();
    if (!m_isEnding) m_program.session.settings().set("ContentSearchVisible", "No");
    QMainWindow::closeEvent(event);
}

void SearchWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) emptyPage().refresh();
}

void SearchWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedTargets(*event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void SearchWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    // Once the desktop has its answer: what is asked takes time.
    m_program.session.mainLoop().post(
        [life = QPointer(this), targets = droppedTargets(*event->mimeData())] {
            if (life != nullptr) life->m_program.commands.addToIndex(targets);
        });
}

}  // namespace siftwell
