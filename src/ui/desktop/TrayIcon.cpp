#include "ui/desktop/TrayIcon.h"

#include "ui/Text.h"
#include "ui/desktop/ApplicationIcon.h"

namespace siftwell {

namespace {

constexpr int kBetweenStates = 400;  // milliseconds

}  // namespace

TrayIcon::TrayIcon(const Program& program, GlobalHotKey& hotKey)
    : m_program(program), m_hotKey(hotKey) {
    fillMenu();
    m_icon.setIcon(applicationIcon());
    m_icon.setContextMenu(&m_menu);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger) m_program.commands.showSearchWindow();
        if (reason == QSystemTrayIcon::MiddleClick) m_program.commands.showMiniSearch();
    });
    m_rest.setSingleShot(true);
    m_rest.setInterval(kBetweenStates);
    connect(&m_rest, &QTimer::timeout, this, [this] { showState(); });
    connect(&m_hotKey, &GlobalHotKey::changed, this, [this] { applyPreferences(); });
    observe();
    showState();
    applyPreferences();
}

void TrayIcon::fillMenu() {
    Commands& commands = m_program.commands;
    m_menu.addAction(q_("&Search"), this, [&commands] { commands.showSearchWindow(); });
    m_menu.addAction(q_("&Mini Search"), this, [&commands] { commands.showMiniSearch(); });
    m_menu.addSeparator();
    m_menu.addAction(q_("&Index Status"), this, [&commands] { commands.showIndexStatus(); });
    m_menu.addAction(q_("S&can Now"), this, [&commands] { commands.scanNow(); });
    m_menu.addSeparator();
    m_menu.addAction(q_("&Preferences…"), this, [&commands] { commands.showPreferences(); });
    m_menu.addAction(q_("&Quit Siftwell"), this, [&commands] { commands.quit(); });
}

void TrayIcon::observe() {
    NotificationCentre& centre = m_program.session.centre();
    m_observations.push_back(
        centre.observe("SiftwellStatusChangeNotification", [this](const PropertyList& status) {
            if (const auto* text = status.asString()) m_state = toQString(*text);
            if (!m_rest.isActive()) m_rest.start();
        }));
    m_observations.push_back(
        centre.observe("SiftwellIndexingToggleNotification", [this](const PropertyList&) {
            if (!m_rest.isActive()) m_rest.start();
        }));
    m_observations.push_back(centre.observe("SiftwellPreferenceChangeNotification",
                                            [this](const PropertyList&) { applyPreferences(); }));
}

bool TrayIcon::isWanted() const {
    return m_program.session.settings().boolean("ShowIconInDock") || !m_hotKey.isActive();
}

void TrayIcon::applyPreferences() { m_icon.setVisible(isWanted()); }

void TrayIcon::showState() {
    const auto state = m_program.driver.scanState();
    const bool isBusy = state && state->isScanning;
    if (isBusy != m_isBusy) m_icon.setIcon(isBusy ? busyApplicationIcon() : applicationIcon());
    m_isBusy = isBusy;
    QStringList lines{QStringLiteral("Siftwell")};
    if (!m_program.session.indexes().indexingEnabled()) {
        lines << q_("Indexing is switched off");
    } else if (!m_state.isEmpty()) {
        lines << m_state;
    }
    m_icon.setToolTip(lines.join(QLatin1Char('\n')));
}

Status TrayIcon::status() const {
    if (!isWanted() || QSystemTrayIcon::isSystemTrayAvailable()) return {};
    return {StatusCode::NotFound,
            _("This desktop has no panel for icons. Start Siftwell again, or call \"siftwell "
              "toggle\", to bring its window back.")};
}

}  // namespace siftwell
