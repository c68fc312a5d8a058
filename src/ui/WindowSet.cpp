#include "ui/WindowSet.h"

#include <QApplication>
#include <QMenuBar>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "ui/ProgramMenus.h"
#include "ui/Text.h"
#include "ui/about/AboutBox.h"
#include "ui/add/AddItemDialog.h"
#include "ui/firstrun/FirstRunWindow.h"
#include "ui/preview/WebPreviewPane.h"

namespace siftwell {

namespace {

// In front, whether it is hidden, behind others or an icon.
void bringUp(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

template <typename Window>
void showWindow(std::unique_ptr<Window>& window, const Program& program) {
    if (window == nullptr) window = std::make_unique<Window>(program);
    bringUp(*window);
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
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](auto state) {
        if (state == Qt::ApplicationActive) applicationDidBecomeActive();
    });
    m_updates = m_program.session.centre().observe(
        "SiftwellUpdateAvailableNotification",
        [this](const PropertyList& update) { tellOfUpdate(update); });
}

WindowSet::~WindowSet() { m_program.driver.setWindows(nullptr); }

// ---- Start and end

void WindowSet::open() {
    Settings& settings = m_program.session.settings();
    if (!settings.boolean("FirstRunExplanationShown")) {
        if (FirstRunWindow(m_program).exec() == QDialog::Accepted)
            m_program.driver.awaitFirstScan();
        settings.set("FirstRunExplanationShown", true);
    }
    if (isRemembered(settings, "IndexListVisible")) showIndexStatus();
    if (isRemembered(settings, "ContentSearchVisible")) showSearch();
    for (const Status& status : {m_tray.status(), m_hotKey.status()}) {
        if (!status.isOk()) writeLog(status.message());
    }
}

void WindowSet::applicationWillTerminate() {
    if (m_preferences != nullptr) m_preferences->applicationWillTerminate();
}

void WindowSet::quit() { static_cast<void>(m_program.driver.quit()); }

// ---- To the front and away

void WindowSet::toggle() {
    if (m_program.session.settings().string("ContentSearchAppearance") == "Mini") {
        m_search.toggleMini();
        return;
    }
    const auto windows = QGuiApplication::topLevelWindows();
    const bool isAnyShown = std::any_of(windows.begin(), windows.end(),
                                        [](const QWindow* window) { return window->isVisible(); });
    if (isAnyShown && QGuiApplication::applicationState() == Qt::ApplicationActive) {
        hide();
    } else {
        activate();
    }
}

void WindowSet::hide() {
    if (QApplication::activeModalWidget() != nullptr) return;  // it waits for an answer
    m_hidden.clear();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || window->windowType() == Qt::Popup) continue;
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

void WindowSet::showIndexStatus() { showWindow(m_indexStatus, m_program); }

void WindowSet::showErrors() { showWindow(m_errors, m_program); }

void WindowSet::showPreferences(int tab) {
    if (m_preferences == nullptr) {
        m_preferences = std::make_unique<PrefsWindow>(m_program, &m_hotKey);
    }
    m_preferences->showWindow(tab);
}

void WindowSet::showAbout() { AboutBox(m_program, QApplication::activeWindow()).exec(); }

void WindowSet::showFirstRun() { FirstRunWindow(m_program, QApplication::activeWindow()).exec(); }

void WindowSet::addToIndex(const QStringList& targets) {
    AddItemDialog(m_program, targets, QApplication::activeWindow()).exec();
}

// ---- Commands

void WindowSet::scanNow() { explain(m_program.driver.startScan(Driver::ScanScope::Everything)); }

void WindowSet::showHelp() {
    const std::string page = m_program.session.paths().resourceFolder + "/Help/index.html";
    if (m_program.desktop.open(Url::fromFilePath(page))) return;
    explain({StatusCode::Failed, filledIn(_("There is no program that opens %@."), page)});
}

void WindowSet::goToURL(int tag) {
    const std::string address =
        tag == 0 ? _("https://siftwell.example/feedback") : _("https://siftwell.example/support");
    const auto url = Url::parse(address);
    if (url && m_program.desktop.open(*url)) return;
    m_program.alerts.ask({.title = _("Couldn't reach website"),
                          .text = filledIn(_("There is no program that opens %@."), address),
                          .buttons = {_("OK")}},
                         0);
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

void WindowSet::explain(const Status& status) {
    if (status.isOk()) return;
    m_program.alerts.ask(
        {.title = _("Siftwell could not do this."), .text = status.message(), .buttons = {_("OK")}},
        0);
}

}  // namespace siftwell
