#include "ui/desktop/X11HotKeyGrab.h"

#include <QGuiApplication>

#include "ui/Text.h"
#include "ui/desktop/X11Keyboard.h"
#include "ui/desktop/X11Server.h"

namespace siftwell {

bool X11HotKeyGrab::isPossible() { return x11Server() != nullptr; }

X11HotKeyGrab::X11HotKeyGrab(Handlers handlers)
    : m_handlers(std::move(handlers)), m_connection(x11Server()) {
    m_root = rootWindow(*m_connection);
    qGuiApp->installNativeEventFilter(this);
}

X11HotKeyGrab::~X11HotKeyGrab() {
    X11HotKeyGrab::release();
    if (qGuiApp != nullptr) qGuiApp->removeNativeEventFilter(this);
}

void X11HotKeyGrab::grab(const HotKey& key) {
    release();
    m_key = key;
    const Status status = grabKeys(key);
    if (!status.isOk()) release();
    m_handlers.grabbed(status);
}

void X11HotKeyGrab::release() {
    for (const auto& [keycode, modifiers] : m_grabs) {
        xcb_ungrab_key(m_connection, keycode, m_root, modifiers);
    }
    if (!m_grabs.empty()) xcb_flush(m_connection);
    m_grabs.clear();
    m_key = {};
}

Status X11HotKeyGrab::grabKeys(const HotKey& key) {
    const HotKeyCode* code = hotKeyCode(key.code);
    if (code == nullptr) return {StatusCode::NotFound, _("No key has the code of the hot key.")};
    const X11Keyboard keyboard(m_connection);
    m_modifiers = keyboard.modifiersOf(key);
    m_locks = keyboard.locks();
    for (const xcb_keycode_t keycode : keyboard.keysOf(*code)) {
        if (Status status = grabKey(keycode, m_modifiers); !status.isOk()) return status;
    }
    return {};
}

Status X11HotKeyGrab::grabKey(std::uint8_t keycode, std::uint16_t modifiers) {
    // Every combination of the locks, from all of them down to none.
    for (unsigned locks = m_locks;; locks = (locks - 1) & m_locks) {
        const auto all = static_cast<std::uint16_t>(modifiers | locks);
        const auto asked = xcb_grab_key_checked(m_connection, 1, m_root, all, keycode,
                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const X11Reply<xcb_generic_error_t> error(xcb_request_check(m_connection, asked));
        if (error != nullptr) {
            return {StatusCode::Busy, filledIn(_("Another program uses the hot key %@ already."),
                                               textOf(m_key).toStdString())};
        }
        m_grabs.emplace_back(keycode, all);
        if (locks == 0) return {};
    }
}

// The keys have other places now.
void X11HotKeyGrab::grabAgain() {
    if (!m_grabs.empty()) grab(HotKey(m_key));
}

bool X11HotKeyGrab::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const int kind = kindOf(*event);
    if (kind == XCB_MAPPING_NOTIFY) grabAgain();
    if (kind != XCB_KEY_PRESS) return false;
    const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(event);
    const std::uint16_t modifiers = press->state & 0xff & ~m_locks;
    for (const auto& [keycode, grabbed] : m_grabs) {
        if (keycode != press->detail || modifiers != m_modifiers) continue;
        m_handlers.pressed();
        return true;
    }
    return false;
}

}  // namespace siftwell
