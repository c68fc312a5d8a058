#include "ui/WindowSet.h"

#include <QApplication>

#include "ui/desktop/ApplicationIcon.h"
#include "ui/desktop/GlobalHotKey.h"
#include "ui/desktop/TrayIcon.h"
#include "ui/preferences/PrefsWindow.h"

namespace siftwell {

WindowSet::WindowSet(const Surroundings& surroundings)
    : m_program{surroundings.session, surroundings.driver, surroundings.desktop,
                surroundings.alerts, *this} {
    m_program.driver.setWindows(this);
}

WindowSet::~WindowSet() { m_program.driver.setWindows(nullptr); }

void WindowSet::open() {
    QApplication::setWindowIcon(applicationIcon());
    m_hotKey = std::make_unique<GlobalHotKey>(m_program.session.settings(),
                                              m_program.session.centre(), [this] { toggle(); });
    m_trayIcon = std::make_unique<TrayIcon>(m_program, *m_hotKey);
}
void WindowSet::showSearch() {}
void WindowSet::toggle() {}
Status WindowSet::searchFor(const std::string&) { return {}; }
void WindowSet::showMiniSearch() {}
void WindowSet::showIndexStatus() {}
void WindowSet::showErrors() {}
void WindowSet::showPreferences(int tab) {
    if (m_preferences == nullptr) {
        m_preferences = std::make_unique<PrefsWindow>(m_program, m_hotKey.get());
    }
    m_preferences->showWindow(tab);
}
void WindowSet::showAbout() {}
void WindowSet::showFirstRun() {}
void WindowSet::addToIndex(const QStringList&) {}
void WindowSet::scanNow() {}
void WindowSet::clearIndex(QWidget*) {}
void WindowSet::rebuildIndex(QWidget*) {}
void WindowSet::compactIndex(QWidget*) {}
void WindowSet::dumpIndex(QWidget*, bool) {}
void WindowSet::goToURL(int) {}
void WindowSet::quit() {
    if (m_preferences != nullptr) m_preferences->applicationWillTerminate();
    static_cast<void>(m_program.driver.quit());
}
void WindowSet::addProgramMenus(QMenuBar&) {}

}  // namespace siftwell
