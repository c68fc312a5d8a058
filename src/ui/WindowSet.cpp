#include "ui/WindowSet.h"

namespace siftwell {

WindowSet::WindowSet(const Surroundings& surroundings)
    : m_program{surroundings.session, surroundings.driver, surroundings.desktop,
                surroundings.alerts, *this} {
    m_program.driver.setWindows(this);
}

WindowSet::~WindowSet() { m_program.driver.setWindows(nullptr); }

SearchWindows& WindowSet::search() {
    if (m_search == nullptr) m_search = std::make_unique<SearchWindows>(m_program);
    return *m_search;
}

void WindowSet::open() {}
void WindowSet::showSearch() { search().show(); }
void WindowSet::toggle() { search().toggle(); }
Status WindowSet::searchFor(const std::string& text) { return search().searchFor(text); }
void WindowSet::showMiniSearch() { search().showMini(); }
void WindowSet::showIndexStatus() {}
void WindowSet::showErrors() {}
void WindowSet::showPreferences(int) {}
void WindowSet::showAbout() {}
void WindowSet::showFirstRun() {}
void WindowSet::addToIndex(const QStringList&) {}
void WindowSet::scanNow() {}
void WindowSet::clearIndex(QWidget*) {}
void WindowSet::rebuildIndex(QWidget*) {}
void WindowSet::compactIndex(QWidget*) {}
void WindowSet::dumpIndex(QWidget*, bool) {}
void WindowSet::goToURL(int) {}
void WindowSet::quit() { static_cast<void>(m_program.driver.quit()); }
void WindowSet::addProgramMenus(QMenuBar&) {}

}  // namespace siftwell
