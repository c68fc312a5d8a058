// X11Keyboard: what the keys of the X server's keyboard type, and which of them are modifiers.
//
// Threads: main. Errors: what the server does not tell is not there.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include "ui/desktop/HotKey.h"

namespace siftwell {

class X11Keyboard {
public:
    // Asks the server, which takes a round trip or two.
    explicit X11Keyboard(xcb_connection_t* connection);

    // The keys that the code stands for.
    std::vector<xcb_keycode_t> keysOf(const HotKeyCode& code) const;

    // The modifiers of a hot key as the server counts them.
    std::uint16_t modifiersOf(const HotKey& key) const;
    // Those that are locks.
    std::uint16_t locks() const;

private:
    // The modifiers that a key with that keysym sets, or `usual`.
    std::uint16_t modifierOf(std::uint32_t keysym, std::uint16_t usual) const;
    bool types(xcb_keycode_t keycode, std::uint32_t keysym) const;

    xcb_keycode_t m_first = 0;
    std::size_t m_keysymsPerKey = 0;
    std::vector<std::uint32_t> m_keysyms;
    std::vector<std::vector<xcb_keycode_t>> m_modifiers;  // the keys of each of the eight
};

}  // namespace siftwell
