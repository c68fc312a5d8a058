#include "ui/errors/ErrorWindow.h"

#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>
#include <utility>

#include "ui/Explain.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr int kMaxCopied = 1000;

LoggedError errorIn(const PropertyList::Dictionary& record) {
    return {.error = stringFor(record, "error"),
            .severity = integerFor(record, "severity").value_or(0),
            .url = stringFor(record, "url"),
            .details = stringFor(record, "details"),
            .date = stringFor(record, "date")};
}

}  // namespace

ErrorWindow::ErrorWindow(const Program& program, QWidget* parent)
    : QMainWindow(parent),
      m_program(program),
      m_observation(program.session.centre().observe(
          "SiftwellErrorNotification", [this](const PropertyList& record) { add(record); })),
      m_thread(program.session.mainLoop(), "errors") {
    setWindowTitle(q_("Errors"));
    makeMenu();
    arrange();
    showState();
}

// ---- What stands in it

void ErrorWindow::addAction(QMenu& menu, const QString& text, const QKeySequence& keys,
                            std::function<void()> action) {
    QAction* const made = menu.addAction(text, this, std::move(action));
    made->setShortcut(keys);
    m_list->addAction(made);
}

void ErrorWindow::makeMenu() {
    QMenu& menu = *menuBar()->addMenu(q_("E&rrors"));
    addAction(menu, q_("&Open address"), Qt::CTRL | Qt::Key_Return, [this] { openAddress(); });
    addAction(menu, q_("&Copy error"), Qt::CTRL | Qt::SHIFT | Qt::Key_C, [this] { copy(); });
    addAction(menu, q_("Clear &list"), Qt::CTRL | Qt::SHIFT | Qt::Key_Delete, [this] { clear(); });
    m_program.commands.addProgramMenus(*menuBar());
}

void ErrorWindow::arrange() {
    const int em = fontMetrics().averageCharWidth();
    m_list->setModel(&m_errors);
    m_list->setAccessibleName(q_("Errors"));
    m_list->setSelectionBehavior(QTableView::SelectRows);
    m_list->setSelectionMode(QTableView::ExtendedSelection);
    m_list->setShowGrid(false);
    m_list->setWordWrap(false);
    m_list->setTabKeyNavigation(false);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_list->verticalHeader()->hide();
    m_list->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_list->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    m_list->horizontalHeader()->setHighlightSections(false);
    m_list->horizontalHeader()->setSectionResizeMode(ErrorModel::MessageColumn,
                                                     QHeaderView::Stretch);
    m_list->setColumnWidth(ErrorModel::SeverityColumn, 16 * em);
    m_list->setColumnWidth(ErrorModel::AddressColumn, 40 * em);
    m_list->setColumnWidth(ErrorModel::TimeColumn, 22 * em);
    m_details->setReadOnly(true);
    m_details->setAccessibleName(q_("Details"));
    m_details->setPlaceholderText(q_("Select an error to read all of it."));
    auto* const halves = new QSplitter(Qt::Vertical, this);
    halves->setChildrenCollapsible(false);
    halves->addWidget(m_list);
    halves->addWidget(m_details);
    halves->setStretchFactor(0, 3);
    halves->setStretchFactor(1, 1);
    auto* const nothing = new QLabel(q_("Nothing went wrong in the last days."), this);
    nothing->setAlignment(Qt::AlignCenter);
    nothing->setWordWrap(true);
    m_pages->addWidget(nothing);
    m_pages->addWidget(halves);
    auto* const page = new QWidget(this);
    auto* const all = new QVBoxLayout(page);
    all->addWidget(m_pages, 1);
    all->addWidget(makeFoot());
    setCentralWidget(page);
    setMinimumSize(64 * em, 16 * fontMetrics().height());
    auto* const escape = new QShortcut(Qt::Key_Escape, this);
    connect(escape, &QShortcut::activated, this, [this] { close(); });
    resize(130 * em, 32 * fontMetrics().height());
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { showDetails(); });
    connect(m_list, &QTableView::activated, this, [this] { openAddress(); });
}

QWidget* ErrorWindow::makeFoot() {
    auto* const foot = new QWidget(this);
    auto* const row = new QHBoxLayout(foot);
    row->setContentsMargins({});
    row->addStretch(1);
    m_copy = new QPushButton(q_("Co&py"), foot);
    m_clear = new QPushButton(q_("Clea&r"), foot);
    row->addWidget(m_copy);
    row->addWidget(m_clear);
    connect(m_copy, &QPushButton::clicked, this, [this] { copy(); });
    connect(m_clear, &QPushButton::clicked, this, [this] { clear(); });
    return foot;
}

// ---- What it shows

void ErrorWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (event->spontaneous()) return;
    read();
    tellThatTheyAreSeen();
}

void ErrorWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow()) tellThatTheyAreSeen();
}

// In a later turn: whoever counts has then counted the one that just came.
void ErrorWindow::tellThatTheyAreSeen() {
    m_program.session.centre().postMainThreadNotificationName("SiftwellErrorsSeenNotification", {});
}

void ErrorWindow::read() {
    m_isReading = true;
    m_isReadWanted = false;
    m_thread.run([this, folder = m_program.session.paths().stateFolder](const std::stop_token&) {
        return [this, errors = ErrorLog::read(folder)] { take(errors); };
    });
}

void ErrorWindow::take(std::vector<LoggedError> errors) {
    m_isReading = false;
    if (m_isReadWanted) return read();
    m_errors.setErrors(std::move(errors));
    showState();
    if (m_errors.rowCount() > 0) m_list->selectRow(0);
}

// The file has it already.
void ErrorWindow::add(const PropertyList& record) {
    const auto* const dictionary = record.asDictionary();
    if (dictionary == nullptr) return;
    if (isActiveWindow()) tellThatTheyAreSeen();
    if (m_isReading) {
        m_isReadWanted = true;
    } else if (isVisible()) {
        m_errors.add(errorIn(*dictionary));
        showState();
    }
}

void ErrorWindow::showState() {
    const bool isEmpty = m_errors.rowCount() == 0;
    m_pages->setCurrentIndex(isEmpty ? 0 : 1);
    m_copy->setEnabled(!isEmpty);
    m_clear->setEnabled(!isEmpty);
    showDetails();
}

void ErrorWindow::showDetails() {
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    m_details->setPlainText(rows.size() == 1 ? m_errors.textOf(rows.front().row()) : QString());
}

// ---- What is done with them

void ErrorWindow::openAddress() {
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid()) return;
    const auto url = Url::parse(m_errors.errorAt(current.row()).url);
    if (url && url->hasScheme()) m_program.desktop.open(*url);
}

// Those that are selected, or all.
void ErrorWindow::copy() {
    std::vector<int> rows;
    for (const QModelIndex& index : m_list->selectionModel()->selectedRows()) {
        rows.push_back(index.row());
    }
    if (rows.empty()) {
        rows.resize(static_cast<std::size_t>(std::min(m_errors.rowCount(), kMaxCopied)));
        std::iota(rows.begin(), rows.end(), 0);
    }
    std::sort(rows.begin(), rows.end());
    QStringList texts;
    for (const int row : rows) texts << m_errors.textOf(row);
    QGuiApplication::clipboard()->setText(texts.join(QStringLiteral("\n\n")));
}

void ErrorWindow::clear() {
    const Status status = ErrorLog::clear(m_program.session.paths().stateFolder);
    explain(status, m_program.alerts, _("The list of errors could not be cleared."));
    if (!status.isOk()) return;
    m_errors.clear();
    showState();
}

}  // namespace siftwell
