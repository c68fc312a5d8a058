#include "ui/preferences/PrefsWindow.h"

#include <QDialogButtonBox>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>
#include <utility>

#include "ui/BringUp.h"
#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/desktop/LaunchAtLogin.h"
#include "ui/maintenance/FilterPassQuestion.h"

namespace siftwell {

namespace {

constexpr const char* kFrame = "WindowFrame Preferences";
constexpr QSize kLeast(520, 660);
constexpr int kBetweenLooks = 100;  // milliseconds

// What does not fit a small screen, or large letters, can be scrolled to.
QScrollArea* scrolled(QWidget* page) {
    auto* area = new QScrollArea;
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->viewport()->setAutoFillBackground(false);
    page->setAutoFillBackground(false);
    return area;
}

}  // namespace

PrefsWindow::PrefsWindow(const Program& program, const GlobalHotKey* hotKey)
    : m_program(program),
      m_edits(program.session),
      m_tabs(new QTabWidget),
      m_sources(new SourcesPage(program, m_edits)),
      m_filters(new FiltersPage(program, m_edits)),
      m_search(new SearchPage(program, m_edits, hotKey)),
      m_general(new GeneralPage(program, m_edits, hotKey)),
      m_privacy(new PrivacyPage(program, m_edits)) {
    setWindowTitle(q_("Preferences"));
    setWindowFlags(Qt::Window);
    layOut();
    placeFrame();
    m_looks.setSingleShot(true);
    m_looks.setInterval(kBetweenLooks);
    connect(&m_looks, &QTimer::timeout, this, [this] { look(); });
    connect(m_tabs, &QTabWidget::currentChanged, this, [this](int tab) { tabChanged(tab); });
}

PrefsWindow::~PrefsWindow() {
    if (m_state == State::Closed) return;
    if (isEditing()) {
        m_search->hotkey().finishHotkey(HotkeyAnswer::Cancel);
        commitSettings(false);
    }
    m_program.driver.enableIndexing();
}

void PrefsWindow::layOut() {
    m_tabs->addTab(m_sources, q_("Sources"));
    m_tabs->addTab(m_filters, q_("Filters"));
    m_tabs->addTab(scrolled(m_search), q_("Search"));
    m_tabs->addTab(scrolled(m_general), q_("General"));
    m_tabs->addTab(scrolled(m_privacy), q_("Privacy"));
    m_tabs->setAccessibleName(q_("Preferences"));
    auto* buttons = new QDialogButtonBox;
    m_confirm = buttons->addButton(q_("OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(q_("Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { accept(); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { reject(); });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 1);
    layout->addWidget(buttons);
    // Return confirms or does nothing; it never presses what has the keyboard by chance.
    for (QPushButton* each : findChildren<QPushButton*>()) each->setAutoDefault(false);
    m_confirm->setDefault(true);
    auto* confirm = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), this);
    connect(confirm, &QShortcut::activated, this, [this] { accept(); });
    auto* closing = new QShortcut(QKeySequence::Close, this);
    connect(closing, &QShortcut::activated, this, [this] { reject(); });
}

// At least so large, as far as there is room on the screen; in the middle when it is new.
void PrefsWindow::placeFrame() {
    const QRect room = screen()->availableGeometry();
    const QSize least = kLeast.boundedTo(room.size());
    setMinimumSize(least);
    const PropertyList frame = m_program.session.settings().value(kFrame);
    const bool isKnown = frame.asData() != nullptr &&
                         restoreGeometry(QByteArray::fromStdString(frame.asData()->bytes));
    if (isKnown) {
        resize(size().expandedTo(least));
        return;
    }
    resize(sizeHint().expandedTo(least).boundedTo(room.size()));
    move(room.center() - rect().center());
}

// ---- Opening

void PrefsWindow::showWindow(int tab) {
    m_tabs->setCurrentIndex(tab);
    if (m_state == State::Closed) return beginWaiting();
    if (!m_isQuitting) bringUp();
}

void PrefsWindow::bringUp() {
    siftwell::bringUp(*this);
    tabChanged(m_tabs->currentIndex());  // a window that is shown looks for a default button
}

void PrefsWindow::setEditable(bool isEditable) {
    m_tabs->setEnabled(isEditable);
    m_confirm->setEnabled(isEditable);
}

void PrefsWindow::beginWaiting() {
    m_state = State::Waiting;
    m_isQuitting = false;
    setEditable(false);
    load();
    bringUp();
    m_program.driver.disableIndexing();
    m_waiting.start();
    look();
}

void PrefsWindow::look() {
    const std::chrono::milliseconds waited(m_waiting.elapsed());
    if (m_program.driver.hasIndexingCompleted(waited)) return beginEditing();
    m_looks.start();
    if (m_sheet != nullptr) return m_sheet->showState(waited);
    m_sheet = new WaitSheet(m_program.driver, this);
    connect(m_sheet, &QDialog::rejected, this, [this] { reject(); });
    m_sheet->showState(waited);
    m_sheet->show();
}

void PrefsWindow::endWait() {
    m_looks.stop();
    if (m_sheet == nullptr) return;
    m_sheet->hide();
    std::exchange(m_sheet, nullptr)->deleteLater();
}

void PrefsWindow::beginEditing() {
    endWait();
    m_state = State::Editing;
    load();
    setEditable(true);
    m_tabs->setFocus();
}

// The edits and all that shows them: what is hidden is still asked for its rows, by a change of the
// style or a screen reader.
void PrefsWindow::load() {
    m_edits.load();
    // The entry is what counts, and the desktop may have switched it.
    m_edits.set("LaunchAtLogin", LaunchAtLogin(m_program.session.paths()).isOn());
    m_sources->load();
    m_filters->load();
    m_search->load();
    m_general->load();
    m_privacy->load();
}

// On that tab Return belongs to the texts.
void PrefsWindow::tabChanged(int tab) { m_confirm->setDefault(tab != SearchTab); }

// ---- Closing

void PrefsWindow::accept() {
    if (!isEditing()) return;
    m_state = State::Ending;
    if (!mayConfirm() && !m_isQuitting) {
        m_state = State::Editing;
        return;
    }
    const PrefsEdits::Changes changes = commitSettings(true);
    closeWindow();
    if (!changes.concernsScans || m_isQuitting) return;
    m_program.driver.scanWhatIsInReach();
}

// A field that is being edited gives up the keyboard first, and with it what it holds.
bool PrefsWindow::mayConfirm() {
    if (QWidget* edited = focusWidget()) edited->clearFocus();
    m_search->hotkey().finishHotkey(HotkeyAnswer::Cancel);
    const QString problem = m_sources->problem();
    if (problem.isEmpty()) return true;
    m_tabs->setCurrentIndex(SourcesTab);
    tell(m_program.alerts, problem.toStdString(), "");
    return false;
}

void PrefsWindow::reject() {
    if (m_state == State::Waiting) {
        endWait();
        return closeWindow();
    }
    if (!isEditing()) return;
    m_state = State::Ending;
    m_search->hotkey().takeBack();
    closeWindow();
}

void PrefsWindow::closeWindow() {
    m_program.session.settings().set(kFrame,
                                     PropertyList::Data{.bytes = saveGeometry().toStdString()});
    hide();
    m_state = State::Closed;
    load();
    m_program.driver.enableIndexing();
}

void PrefsWindow::applicationWillTerminate() {
    if (m_state == State::Waiting) return reject();
    m_isQuitting = true;
    if (m_state == State::Ending) hide();  // a question is asked
    if (!isEditing()) return;
    m_state = State::Ending;
    m_search->hotkey().finishHotkey(HotkeyAnswer::Cancel);
    commitSettings(true);
    closeWindow();
}

// ---- Storing

PrefsEdits::Changes PrefsWindow::commitSettings(bool isAsking) {
    const PrefsEdits::Changes changes = m_edits.confirm();  // whatever becomes of the questions
    if (isAsking) askAboutLaunch();
    applyLaunch();
    // At the end of the program there is no time to filter the pages.
    if (isAsking && changes.hasNewFilters && !m_isQuitting &&
        isFilterPassWanted(m_program.alerts)) {
        m_program.session.centre().postMainThreadNotificationName(
            "SiftwellIndexFilterRequestNotification", {});
    }
    return changes;
}

// Once, and never of those who do not want it.
void PrefsWindow::askAboutLaunch() {
    Settings& settings = m_program.session.settings();
    if (settings.boolean("AskedToLaunchAtLogin")) return;
    settings.set("AskedToLaunchAtLogin", true);
    if (!m_edits.boolean("LaunchAtLogin")) return;
    const std::size_t answer = m_program.alerts.ask(
        {.title = _("Do you want Siftwell to start whenever you log in?"),
         .text = _("It then indexes the pages that you visit from the start, in the background."),
         .buttons = {_("Yes"), _("No")}},
        0);
    if (answer != 0) settings.set("LaunchAtLogin", false);
}

void PrefsWindow::applyLaunch() {
    const LaunchAtLogin entry(m_program.session.paths());
    const bool isWanted = m_edits.boolean("LaunchAtLogin");
    if (isWanted == entry.isOn()) return;
    const Status status = entry.set(isWanted);
    if (status.isOk()) return;
    m_program.session.notifier().reportError(
        _("Siftwell could not change what starts when you log in."), 5, "", status.message());
}

}  // namespace siftwell
