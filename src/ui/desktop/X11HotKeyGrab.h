// X11HotKeyGrab: a key that the X server gives to this program, whoever has the keyboard.
//
// The server tells locks apart (Num Lock, Caps Lock, Scroll Lock) as modifiers, so that each key is
// grabbed with all of their combinations.
//
// Threads: main. Errors: a key that another program has is Busy; one that no keyboard has NotFound.
#pragma once

#include <QAbstractNativeEventFilter>
#include <set>
#include <utility>
#include <vector>

#include "ui/desktop/HotKeyGrab.h"

struct xcb_connection_t;

namespace siftwell {

class X11HotKeyGrab : public HotKeyGrab, private QAbstractNativeEventFilter {
public:
    // Whether the program runs on an X server.
    static bool isPossible();

    explicit X11HotKeyGrab(Handlers handlers);
    ~X11HotKeyGrab() override;

    void grab(const HotKey& key) override;
    void release() override;

private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;
    Status grabKeys(const HotKey& key);
    Status grabKey(std::uint8_t keycode, std::uint16_t modifiers);
    void grabAgain();

    const Handlers m_handlers;
    xcb_connection_t* const m_connection;
    std::uint32_t m_root = 0;
    HotKey m_key;
    std::uint16_t m_modifiers = 0;  // as the server counts them, without locks
    std::uint16_t m_locks = 0;
    std::vector<std::pair<std::uint8_t, std::uint16_t>> m_grabs;
};

}  // namespace siftwell
