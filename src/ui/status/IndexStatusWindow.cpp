#include "ui/status/IndexStatusWindow.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QLocale>
#include <QMenuBar>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

#include "base/Translate.h"
#include "ui/Explain.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr int kLookDelay = 400;  // milliseconds
constexpr std::size_t kOpenedAtOnce = 10;

QString joined(const std::vector<std::string>& lines) {
    QStringList list;
    for (const std::string& line : lines) list << toQString(line);
    return list.join(u'\n');
}

std::int32_t startOfWeek() {
    const auto unix = static_cast<double>(WeekChart::startOfWeek().startOfDay().toSecsSinceEpoch());
    return static_cast<std::int32_t>(Date::fromUnix(unix).secondsSinceReference());
}

}  // namespace

IndexStatusWindow::IndexStatusWindow(const Program& program, QWidget* parent)
    : QMainWindow(parent),
      m_program(program),
      m_documents(new DocumentView(program.session.mainLoop(), this)) {
    setWindowTitle(q_("Index status"));
    makeActions();
    m_program.commands.addProgramMenus(*menuBar());
    arrange();
    observe();
}

// ---- What stands in it

QAction* IndexStatusWindow::addAction(const QString& text, const QKeySequence& keys,
                                      std::function<void()> action) {
    auto* const made = new QAction(text, this);
    made->setShortcut(keys);
    made->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(made, &QAction::triggered, this, std::move(action));
    return made;
}

void IndexStatusWindow::makeActions() {
    m_documents->addAction(
        addAction(q_("&Open in browser"), Qt::Key_Return, [this] { openDocument(); }));
    m_documents->addAction(
        addAction(q_("&Copy address"), QKeySequence::Copy, [this] { copyAddresses(); }));
    m_documents->addAction(
        addAction(q_("&Remove from index…"), QKeySequence::Delete, [this] { removeDocuments(); }));
    QMenu& menu = *menuBar()->addMenu(q_("&Documents"));
    menu.addActions(m_documents->actions());
    menu.addSeparator();
    QAction* const filter = addAction(q_("&Find an address"), QKeySequence::Find, [this] {
        m_filter->setFocus();
        m_filter->selectAll();
    });
    filter->setShortcutContext(Qt::WindowShortcut);
    menu.addAction(filter);
    menu.addSeparator();
    const auto addOrder = [&](const QString& text, Qt::Key key, int column) {
        QAction* const order = addAction(text, QKeySequence(Qt::CTRL | key), [this, column] {
            QHeaderView& header = *m_documents->horizontalHeader();
            const bool isFlipped = header.sortIndicatorSection() == column &&
                                   header.sortIndicatorOrder() == Qt::AscendingOrder;
            header.setSortIndicator(column, isFlipped ? Qt::DescendingOrder : Qt::AscendingOrder);
        });
        order->setShortcutContext(Qt::WindowShortcut);
        menu.addAction(order);
    };
    addOrder(q_("Sort by &address"), Qt::Key_1, DocumentModel::AddressColumn);
    addOrder(q_("Sort by &date"), Qt::Key_2, DocumentModel::DateColumn);
    addOrder(q_("Sort by &source"), Qt::Key_3, DocumentModel::SourceColumn);
}

void IndexStatusWindow::arrange() {
    m_filter->setPlaceholderText(q_("Filter by address"));
    m_filter->setAccessibleName(q_("Filter by address"));
    m_filter->setClearButtonEnabled(true);
    auto* const right = new QWidget(this);
    auto* const column = new QVBoxLayout(right);
    column->setContentsMargins({});
    column->addWidget(m_filter);
    column->addWidget(m_documents, 1);
    auto* const halves = new QSplitter(this);
    halves->setChildrenCollapsible(false);
    halves->addWidget(m_sources);
    halves->addWidget(right);
    halves->setStretchFactor(1, 1);
    const int em = fontMetrics().averageCharWidth();
    m_sources->setMinimumWidth(32 * em);
    right->setMinimumWidth(40 * em);
    halves->setSizes({46 * em, 90 * em});
    auto* const page = new QWidget(this);
    auto* const all = new QVBoxLayout(page);
    all->addWidget(halves, 1);
    all->addWidget(m_chart);
    all->addWidget(makeFoot());
    setCentralWidget(page);
    auto* const escape = new QShortcut(Qt::Key_Escape, this);
    connect(escape, &QShortcut::activated, this, [this] {
        if (m_filter->text().isEmpty()) {
            close();
        } else {
            m_filter->clear();
        }
    });
    resize(140 * em, 40 * fontMetrics().height());
    connect(m_filter, &QLineEdit::textChanged, this, [this] { ask(); });
    connect(m_sources, &SourceList::sourceSelected, this, [this] { ask(); });
    connect(m_sources, &SourceList::switched, this, &IndexStatusWindow::setSwitch);
    connect(m_documents->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            [this] { ask(); });
    connect(m_documents, &QTableView::doubleClicked, this, [this] { openDocument(); });
    setTabOrder(m_sources, m_filter);
    setTabOrder(m_filter, m_documents);
}

QWidget* IndexStatusWindow::makeFoot() {
    auto* const foot = new QWidget(this);
    auto* const row = new QHBoxLayout(foot);
    row->setContentsMargins({});
    m_count->setAccessibleName(q_("Documents shown"));
    row->addWidget(m_count, 1);
    const auto addButton = [&](const QString& text, const QString& what,
                               void (Commands::*command)(QWidget*)) {
        auto* const button = new QPushButton(text, foot);
        button->setToolTip(what);
        button->setAccessibleDescription(what);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this,
                [this, command] { (m_program.commands.*command)(this); });
        row->addWidget(button);
    };
    addButton(q_("Re&build index"), q_("Fetches every page anew."), &Commands::rebuildIndex);
    addButton(q_("Co&mpact index"), q_("Gives back the space of removed pages."),
              &Commands::compactIndex);
    addButton(q_("Clear inde&x…"), q_("Removes every page."), &Commands::clearIndex);
    return foot;
}

// ---- What it shows

void IndexStatusWindow::observe() {
    m_look.setSingleShot(true);
    connect(&m_look, &QTimer::timeout, this, [this] {
        if (m_lister != nullptr) m_lister->lookAgain();
    });
    NotificationCentre& centre = m_program.session.centre();
    for (const char* name :
         {"SiftwellStatusAddURLNotification", "SiftwellStatusRemoveURLNotification"}) {
        m_observations.push_back(centre.observe(name, [this](const PropertyList&) {
            if (m_lister != nullptr && !m_look.isActive()) m_look.start(kLookDelay);
        }));
    }
    m_observations.push_back(
        centre.observe("SiftwellPreferenceChangeNotification", [this](const PropertyList&) {
            if (m_lister != nullptr) showSources();
        }));
}

void IndexStatusWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (event->spontaneous()) return;
    m_program.session.settings().set("IndexListVisible", "Yes");
    if (m_lister == nullptr) begin();
}

void IndexStatusWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (!event->isAccepted()) return;
    if (!m_isEnding) m_program.session.settings().set("IndexListVisible", "No");
    end();
}

void IndexStatusWindow::begin() {
    m_lister =
        std::make_unique<DocumentLister>(m_program.session.indexes(), m_program.session.mainLoop(),
                                         [this](const DocumentListPointer& list) { take(list); });
    m_filter->setFocus();
    ask();
}

void IndexStatusWindow::end() {
    m_lister.reset();
    m_documents->setList(std::make_shared<const DocumentList>());
}

void IndexStatusWindow::ask() {
    if (m_lister == nullptr) return;
    const QHeaderView& header = *m_documents->horizontalHeader();
    m_documents->setEmptyText({});
    m_lister->setQuery({.source = m_sources->selectedSource(),
                        .filter = m_filter->text().toStdString(),
                        .order = static_cast<DocumentOrder>(header.sortIndicatorSection()),
                        .isDescending = header.sortIndicatorOrder() == Qt::DescendingOrder,
                        .startOfWeek = startOfWeek()});
}

void IndexStatusWindow::take(const DocumentListPointer& list) {
    m_documents->setList(list);
    m_chart->setWeeks(list->weeks);
    if (list->isComplete) {
        m_documents->setEmptyText(m_filter->text().trimmed().isEmpty()
                                      ? q_("There are no pages here yet.")
                                      : q_("No address contains these words."));
    }
    m_sizes = list->sizes;
    showSources();
    sayHowMany(*list);
}

void IndexStatusWindow::sayHowMany(const DocumentList& list) {
    const auto shown = static_cast<qint64>(list.rows.size());
    const auto all = static_cast<qint64>(sumOf(list.sizes).documents);
    QString text = counted(N_("%@ page"), N_("%@ pages"), shown);
    if (shown != all) {
        text = toQString(filledIn(_("%@ of %@ pages"), QLocale().toString(shown).toStdString(),
                                  QLocale().toString(all).toStdString()));
    }
    if (!list.isComplete) text += QStringLiteral(" · ") + q_("Loading…");
    m_count->setText(text);
}

void IndexStatusWindow::showSources() {
    m_sources->setSources(searchItemsIn(m_program.session.settings().array("SearchItems")),
                          m_sizes);
}

void IndexStatusWindow::setSwitch(const QString& source, bool isOn) {
    const Status status = m_program.driver.setSearchItemValue(source.toStdString(), "Index", isOn);
    explain(status, m_program.alerts, _("The source could not be changed."));
    showSources();
}

// ---- What is done with documents

void IndexStatusWindow::openDocument() {
    auto rows = m_documents->selectedRows();
    rows.resize(std::min(rows.size(), kOpenedAtOnce));
    m_documents->documents().readAddresses(rows, [this](const std::vector<std::string>& addresses) {
        for (const std::string& address : addresses) {
            if (const auto url = Url::parse(address)) m_program.desktop.open(*url);
        }
    });
}

void IndexStatusWindow::copyAddresses() {
    m_documents->documents().readAddresses(
        m_documents->selectedRows(), [this](const std::vector<std::string>& addresses) {
            const auto url = addresses.empty() ? std::nullopt : Url::parse(addresses.front());
            if (url) m_program.desktop.copy(*url, joined(addresses).toStdString());
        });
}

void IndexStatusWindow::removeDocuments() {
    const DocumentModel& documents = m_documents->documents();
    const std::vector<int> rows = m_documents->selectedRows();
    std::vector<DocumentRow> chosen;
    chosen.reserve(rows.size());
    for (const int row : rows) chosen.push_back(documents.documentAt(row));
    m_documents->documents().readAddresses(rows, [this, chosen, indexes = documents.list().indexes](
                                                     const std::vector<std::string>& addresses) {
        if (addresses.empty() || !isRemovalMeant(addresses.size())) return;
        m_program.driver.removePages(addresses);
        // Rows name indexes by their place in the list.
        if (m_documents->documents().list().indexes == indexes) m_documents->leaveOut(chosen);
    });
}

bool IndexStatusWindow::isRemovalMeant(std::size_t count) {
    const QString question =
        counted(N_("Remove %@ page from the index?"), N_("Remove %@ pages from the index?"),
                static_cast<qint64>(count));
    const Alert alert{.title = question.toStdString(),
                      .text = _("It comes back when you see it again in a browser."),
                      .buttons = {_("Remove"), _("Cancel")}};
    return m_program.alerts.ask(alert, 1) == 0;
}

}  // namespace siftwell
