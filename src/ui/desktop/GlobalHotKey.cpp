#include "ui/desktop/GlobalHotKey.h"

#include <utility>

#include "ui/Text.h"
#include "ui/desktop/PortalHotKeyGrab.h"
#include "ui/desktop/X11HotKeyGrab.h"

namespace siftwell {

std::unique_ptr<HotKeyGrab> GlobalHotKey::grabOfDesktop(const HotKeyGrab::Handlers& handlers) {
    if (X11HotKeyGrab::isPossible()) return std::make_unique<X11HotKeyGrab>(handlers);
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) return std::make_unique<PortalHotKeyGrab>(bus, handlers);
    return nullptr;
}

Status noHotKeysHere() {
    return {StatusCode::NotFound,
            _("This desktop lets no program have a key of its own. Give one to the command "
              "\"siftwell toggle\" in the settings of the desktop.")};
}

GlobalHotKey::GlobalHotKey(Settings& settings, NotificationCentre& centre,
                           std::function<void()> pressed, const MakeGrab& makeGrab)
    : m_settings(settings),
      m_pressed(std::move(pressed)),
      m_grab(makeGrab({.pressed = [this] { m_turn.start(); },
                       .grabbed = [this](const Status& status) { grabbed(status); }})),
      m_observation(centre.observe("SiftwellPreferenceChangeNotification",
                                   [this](const PropertyList&) { applyPreferences(); })) {
    m_turn.setSingleShot(true);
    m_turn.callOnTimeout(this, [this] { m_pressed(); });
    applyPreferences();
}

GlobalHotKey::~GlobalHotKey() = default;

void GlobalHotKey::applyPreferences() {
    const HotKey wanted =
        m_settings.boolean("EnableHotkey") ? HotKey::storedIn(m_settings) : HotKey{};
    if (wanted == m_wanted) return;
    m_wanted = wanted;
    if (m_grab != nullptr) m_grab->release();
    m_isActive = false;
    m_status = {};
    if (wanted.isNone()) {
        Q_EMIT changed();
    } else if (m_grab != nullptr) {
        m_grab->grab(wanted);
    } else {
        grabbed(noHotKeysHere());
    }
}

void GlobalHotKey::grabbed(const Status& status) {
    m_isActive = status.isOk();
    m_status = status;
    Q_EMIT changed();
}

}  // namespace siftwell
