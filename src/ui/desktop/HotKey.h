// HotKey: a key with modifiers that works in every program, as the settings hold it.
//
// A code stands for a place on the keyboard, named by what is printed there on an American one.
// Where the user's keyboard can type that character, the key that does is meant; otherwise the
// place itself.
//
// Threads: any, but for textOf (main).
#pragma once

#include <QKeyEvent>
#include <QString>
#include <cstdint>
#include <optional>

#include "base/Settings.h"

namespace siftwell {

struct HotKey {
    static constexpr std::uint32_t kSuper = 256;
    static constexpr std::uint32_t kShift = 512;
    static constexpr std::uint32_t kAlt = 2048;
    static constexpr std::uint32_t kControl = 4096;

    std::uint16_t code = 0;
    std::uint32_t modifiers = 0;

    // Both 0: no hot key is wanted.
    bool isNone() const { return code == 0 && modifiers == 0; }
    bool operator==(const HotKey&) const = default;

    static HotKey storedIn(const Settings& settings);
    void storeIn(Settings& settings) const;
};

// One row of the table of keys.
struct HotKeyCode {
    std::uint16_t code;
    Qt::Key key;
    std::uint32_t keysym;  // of X11, unshifted
    const char* name;      // of that keysym
    std::uint8_t place;    // the kernel's code of the key
};

// Null when no key has the code.
const HotKeyCode* hotKeyCode(std::uint16_t code);

// What a key that was pressed makes for a hot key; none for modifiers alone, and for keys that
// would no longer be of use in other programs (a letter without Super, Control or Alt).
std::optional<HotKey> hotKeyOf(const QKeyEvent& event);

// "Super+Ctrl+H"; "" for none.
QString textOf(const HotKey& key);

// As the desktop portal wants it: "CTRL+LOGO+h"; "" for none and for a code without a key.
QString portalTriggerOf(const HotKey& key);

}  // namespace siftwell
