#include "ui/WindowSet.h"

#include <QApplication>
#include <QDropEvent>
#include <QMenuBar>
#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "ui/BringUp.h"
#include "ui/Explain.h"
#include "ui/ProgramMenus.h"
#include "ui/Text.h"
#include "ui/about/AboutBox.h"
#include "ui/add/AddItemDialog.h"
#include "ui/desktop/TaskBarEntry.h"
#include "ui/firstrun/FirstRunWindow.h"
#include "ui/preview/WebPreviewPane.h"
#include "ui/search/DroppedTargets.h"

namespace siftwell {

namespace {

// Not the icon in the panel, menus and tool tips, which Qt counts among the windows.
bool isOwnWindow(const QWidget& window) {
    return window.inherits("QMainWindow") || window.inherits("QDialog") ||
           qobject_cast<const MiniSearchWindow*>(&window) != nullptr;
}

bool isAnyWindowShown() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget* window) {
        return window->isVisible() && isOwnWindow(*window);
    });
}

bool isRemembered(const Settings& settings, const std::string& key) {
    return settings.string(key) != "No";
}

}  // namespace

WindowSet::WindowSet(const Surroundings& surroundings)
    : m_program{surroundings.session, surroundings.driver, surroundings.desktop,
                surroundings.alerts, *this},
      m_maintenance({.driver = surroundings.driver,
                     .indexes = surroundings.session.indexes(),
                     .alerts = surroundings.alerts}),
      m_search(m_program,
               [this](QWidget* parent) { return new WebPreviewPane(m_program, parent); }),
      m_hotKey(surroundings.session.settings(), surroundings.session.centre(),
               [this] { toggle(); }),
      m_tray(m_program, m_hotKey) {
    m_program.driver.setWindows(this);
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](auto state) {
        if (state == Qt::ApplicationActive) applicationDidBecomeActive();
    });
    m_isInTaskBar = m_program.session.settings().boolean("ShowIconInDock");
    m_preferenceChanges =
        m_program.session.centre().observe("SiftwellPreferenceChangeNotification",
                                           [this](const PropertyList&) { followTaskBarSetting(); });
    m_updates = m_program.session.centre().observe(
        "SiftwellUpdateAvailableNotification",
        [this](const PropertyList& update) { tellOfUpdate(update); });
}

WindowSet::~WindowSet() { m_program.driver.setWindows(nullptr); }

// ---- Start and end

void WindowSet::open(const StartOptions& options) {
    Settings& settings = m_program.session.settings();
    if (!settings.boolean("FirstRunExplanationShown") &&
        FirstRunWindow(m_program).exec() == QDialog::Accepted) {
        m_program.driver.awaitFirstScan();
    }
    if (isRemembered(settings, "IndexListVisible")) showIndexStatus();
    if (isRemembered(settings, "ContentSearchVisible")) showSearch();
    for (const Status& status : {m_tray.status(), m_hotKey.status()}) {
        if (!status.isOk()) writeLog(status.message());
    }
    if (!options.isInBackground) showSearch();
    // Somebody has to be able to find the program again.
    if (!isRememberedWindowOpen() && !m_tray.isShown() && !m_hotKey.isActive()) showSearch();
    if (!options.searchQuery.empty()) explain(searchFor(options.searchQuery), m_program.alerts);
}

// The end begins with a Quit event, before windows are closed: that is not the user's wish then.
bool WindowSet::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Quit && watched == qApp) applicationWillTerminate();
    if (event->type() == QEvent::Show) {
        const auto* window = qobject_cast<const QWidget*>(watched);
        if (window != nullptr && window->isWindow() && isOwnWindow(*window)) keepInTaskBar(window);
    }
    const bool isDrop = event->type() == QEvent::Drop;
    const bool takesDrops = watched == m_indexStatus.get() || watched == m_errors.get();
    if (!takesDrops || (!isDrop && event->type() != QEvent::DragEnter)) return false;
    auto& drop = static_cast<QDropEvent&>(*event);
    const QStringList targets = droppedTargets(*drop.mimeData());
    if (targets.isEmpty()) return false;
    drop.acceptProposedAction();
    // Whoever drags waits until the drop is over.
    if (isDrop) {
        m_program.session.mainLoop().post([life = QPointer<WindowSet>(this), targets] {
            if (life != nullptr) life->addToIndex(targets);
        });
    }
    return true;
}

// When the window manager knows it.
void WindowSet::keepInTaskBar(const QWidget* window) {
    if (m_program.session.settings().boolean("ShowIconInDock")) return;
    m_program.session.mainLoop().post([life = QPointer<const QWidget>(window)] {
        if (life != nullptr) setInTaskBar(*life, false);
    });
}

void WindowSet::followTaskBarSetting() {
    const bool isInTaskBar = m_program.session.settings().boolean("ShowIconInDock");
    if (std::exchange(m_isInTaskBar, isInTaskBar) == isInTaskBar) return;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && isOwnWindow(*window)) setInTaskBar(*window, isInTaskBar);
    }
}

void WindowSet::applicationWillTerminate() {
    if (SearchWindow* window = m_search.mainWindow()) window->setIsEnding();
    if (m_indexStatus != nullptr) m_indexStatus->setIsEnding();
    if (m_preferences != nullptr) m_preferences->applicationWillTerminate();
}

void WindowSet::quit() { static_cast<void>(m_program.driver.quit()); }

// ---- To the front and away

void WindowSet::toggle() {
    if (m_program.session.settings().string("ContentSearchAppearance") == "Mini") {
        m_search.toggleMini();
        return;
    }
    if (isAnyWindowShown() && QGuiApplication::applicationState() == Qt::ApplicationActive) {
        hide();
    } else {
        activate();
    }
}

void WindowSet::hide() {
    if (QApplication::activeModalWidget() != nullptr) return;  // it waits for an answer
    m_hidden.clear();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || !isOwnWindow(*window)) continue;
        m_hidden.emplace_back(window);
        window->hide();
    }
}

void WindowSet::activate() {
    if (QWidget* modal = QApplication::activeModalWidget()) return bringUp(*modal);
    bool isAnyShown = false;
    for (const QPointer<QWidget>& window : std::exchange(m_hidden, {})) {
        if (window == nullptr) continue;
        bringUp(*window);
        isAnyShown = true;
    }
    // What is to come to the front has to be there.
    if (!isAnyShown || m_program.session.settings().boolean("ShowWindowOnActivate")) showSearch();
}

void WindowSet::applicationDidBecomeActive() {
    if (QApplication::activeModalWidget() != nullptr) return;
    m_search.applicationDidBecomeActive(isRememberedWindowOpen());
}

bool WindowSet::isRememberedWindowOpen() const {
    const auto isOpen = [](const QWidget* window) {
        return window != nullptr && window->isVisible();
    };
    return isOpen(m_search.mainWindow()) || isOpen(m_search.miniWindow()) ||
           isOpen(m_indexStatus.get());
}

// ---- Windows

void WindowSet::showSearch() { m_search.show(); }

Status WindowSet::searchFor(const std::string& text) { return m_search.searchFor(text); }

void WindowSet::showMiniSearch() { m_search.showMini(); }

template <typename Window>
void WindowSet::show(std::unique_ptr<Window>& window) {
    if (window == nullptr) {
        window = std::make_unique<Window>(m_program);
        window->setAcceptDrops(true);
    }
    bringUp(*window);
}

void WindowSet::showIndexStatus() { show(m_indexStatus); }

void WindowSet::showErrors() { show(m_errors); }

void WindowSet::showPreferences(int tab) {
    if (m_preferences == nullptr) {
        m_preferences = std::make_unique<PrefsWindow>(m_program, &m_hotKey);
    }
    m_preferences->showWindow(tab);
}

void WindowSet::showAbout() { AboutBox(m_program, QApplication::activeWindow()).exec(); }

void WindowSet::showFirstRun() {
    if (FirstRunWindow(m_program, QApplication::activeWindow()).exec() != QDialog::Accepted) return;
    m_program.driver.scanWhatIsInReach();
}

void WindowSet::addToIndex(const QStringList& targets) {
    AddItemDialog(m_program, targets, QApplication::activeWindow()).exec();
}

// ---- Commands

void WindowSet::scanNow() {
    const Status status = m_program.driver.startScan(Driver::ScanScope::Everything);
    if (!status.isOk()) tell(m_program.alerts, status.message(), "");
}

void WindowSet::showHelp() {
    const std::string page = m_program.session.paths().resourceFolder + "/Help/index.html";
    if (m_program.desktop.open(Url::fromFilePath(page))) return;
    explain({StatusCode::Failed, filledIn(_("There is no program that opens %@."), page)},
            m_program.alerts);
}

void WindowSet::goToURL(int tag) {
    const std::string address =
        tag == 0 ? _("https://siftwell.example/feedback") : _("https://siftwell.example/support");
    const auto url = Url::parse(address);
    if (url && m_program.desktop.open(*url)) return;
    tell(m_program.alerts, _("Couldn't reach website"),
         filledIn(_("There is no program that opens %@."), address));
}

void WindowSet::addProgramMenus(QMenuBar& menus) { addProgramMenusTo(menus, *this); }

void WindowSet::tellOfUpdate(const PropertyList& update) {
    const auto* item = update.asDictionary();
    if (item == nullptr) return;
    const auto url = Url::parse(stringFor(*item, "url"));
    const std::size_t answer = m_program.alerts.ask(
        {.title = filledIn(_("Version %@ of Siftwell is available."), stringFor(*item, "version")),
         .text = url ? url->absoluteString() : "",
         .buttons = {_("Later"), _("Show It in the Browser")}},
        0);
    if (answer == 1 && url) m_program.desktop.open(*url);
}

}  // namespace siftwell
