// GlobalHotKey: the key that brings Siftwell to the front from everywhere, as the settings say:
// "EnableHotkey", "HotkeyCode" and "HotkeyMods".
//
// It follows "SiftwellPreferenceChangeNotification". The key comes from the X server, or from the
// desktop's portal, whichever there is; where there is neither, the desktop's own settings can call
// `siftwell toggle`.
//
// Threads: main. Errors: in status().
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

#include "base/NotificationCentre.h"
#include "base/Settings.h"
#include "ui/desktop/HotKeyGrab.h"

namespace siftwell {

class GlobalHotKey : public QObject {
    Q_OBJECT

public:
    using MakeGrab = std::function<std::unique_ptr<HotKeyGrab>(const HotKeyGrab::Handlers&)>;

    // What the desktop offers; null for nothing.
    static std::unique_ptr<HotKeyGrab> grabOfDesktop(const HotKeyGrab::Handlers& handlers);

    // `pressed` is called in a turn of its own. The settings and the centre outlive the object.
    GlobalHotKey(Settings& settings, NotificationCentre& centre, std::function<void()> pressed,
                 const MakeGrab& makeGrab = grabOfDesktop);
    ~GlobalHotKey() override;

    // Whether the key works at present.
    bool isActive() const { return m_isActive; }
    // Why a key that is wanted does not work; Ok otherwise.
    const Status& status() const { return m_status; }

Q_SIGNALS:
    void changed();

private:
    void applyPreferences();
    void grabbed(const Status& status);

    Settings& m_settings;
    const std::function<void()> m_pressed;
    QTimer m_turn;
    HotKey m_wanted;
    bool m_isActive = false;
    Status m_status;
    std::unique_ptr<HotKeyGrab> m_grab;
    NotificationCentre::Observation m_observation;
};

}  // namespace siftwell
