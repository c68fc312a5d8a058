// TrayIcon: Siftwell in the panel of the desktop, with a menu, and with what it is doing.
//
// It is shown by "ShowIconInDock", and whenever the hot key does not work: one of them is always
// there to bring the windows back, where the desktop has a panel for icons at all.
//
// Threads: main. Errors: a desktop without such a panel, in status().
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>
#include <vector>

#include "ui/Program.h"
#include "ui/desktop/GlobalHotKey.h"

namespace siftwell {

class TrayIcon : public QObject {
    Q_OBJECT

public:
    // `hotKey` outlives the icon.
    TrayIcon(const Program& program, GlobalHotKey& hotKey);

    // Why there is no icon although one is wanted; Ok otherwise.
    Status status() const;
    bool isShown() const { return m_icon.isVisible(); }
    QMenu& menu() { return m_menu; }
    QString toolTip() const { return m_icon.toolTip(); }

private:
    void fillMenu();
    void observe();
    void applyPreferences();
    void showState();
    bool isWanted() const;

    const Program m_program;
    GlobalHotKey& m_hotKey;
    QMenu m_menu;
    QSystemTrayIcon m_icon;
    QTimer m_rest;  // states come faster than anybody reads
    QString m_state;
    bool m_isBusy = false;
    std::vector<NotificationCentre::Observation> m_observations;
};

}  // namespace siftwell
