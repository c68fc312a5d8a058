#include "ui/desktop/HotKey.h"

#include <QKeySequence>
#include <QStringList>
#include <algorithm>
#include <array>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::array kCodes{
    HotKeyCode{0, Qt::Key_A, 'a', "a", 30},
    HotKeyCode{1, Qt::Key_S, 's', "s", 31},
    HotKeyCode{2, Qt::Key_D, 'd', "d", 32},
    HotKeyCode{3, Qt::Key_F, 'f', "f", 33},
    HotKeyCode{4, Qt::Key_H, 'h', "h", 35},
    HotKeyCode{5, Qt::Key_G, 'g', "g", 34},
    HotKeyCode{6, Qt::Key_Z, 'z', "z", 44},
    HotKeyCode{7, Qt::Key_X, 'x', "x", 45},
    HotKeyCode{8, Qt::Key_C, 'c', "c", 46},
    HotKeyCode{9, Qt::Key_V, 'v', "v", 47},
    HotKeyCode{11, Qt::Key_B, 'b', "b", 48},
    HotKeyCode{12, Qt::Key_Q, 'q', "q", 16},
    HotKeyCode{13, Qt::Key_W, 'w', "w", 17},
    HotKeyCode{14, Qt::Key_E, 'e', "e", 18},
    HotKeyCode{15, Qt::Key_R, 'r', "r", 19},
    HotKeyCode{16, Qt::Key_Y, 'y', "y", 21},
    HotKeyCode{17, Qt::Key_T, 't', "t", 20},
    HotKeyCode{18, Qt::Key_1, '1', "1", 2},
    HotKeyCode{19, Qt::Key_2, '2', "2", 3},
    HotKeyCode{20, Qt::Key_3, '3', "3", 4},
    HotKeyCode{21, Qt::Key_4, '4', "4", 5},
    HotKeyCode{22, Qt::Key_6, '6', "6", 7},
    HotKeyCode{23, Qt::Key_5, '5', "5", 6},
    HotKeyCode{24, Qt::Key_Equal, '=', "equal", 13},
    HotKeyCode{25, Qt::Key_9, '9', "9", 10},
    HotKeyCode{26, Qt::Key_7, '7', "7", 8},
    HotKeyCode{27, Qt::Key_Minus, '-', "minus", 12},
    HotKeyCode{28, Qt::Key_8, '8', "8", 9},
    HotKeyCode{29, Qt::Key_0, '0', "0", 11},
    HotKeyCode{30, Qt::Key_BracketRight, ']', "bracketright", 27},
    HotKeyCode{31, Qt::Key_O, 'o', "o", 24},
    HotKeyCode{32, Qt::Key_U, 'u', "u", 22},
    HotKeyCode{33, Qt::Key_BracketLeft, '[', "bracketleft", 26},
    HotKeyCode{34, Qt::Key_I, 'i', "i", 23},
    HotKeyCode{35, Qt::Key_P, 'p', "p", 25},
    HotKeyCode{36, Qt::Key_Return, 0xff0d, "Return", 28},
    HotKeyCode{37, Qt::Key_L, 'l', "l", 38},
    HotKeyCode{38, Qt::Key_J, 'j', "j", 36},
    HotKeyCode{39, Qt::Key_Apostrophe, '\'', "apostrophe", 40},
    HotKeyCode{40, Qt::Key_K, 'k', "k", 37},
    HotKeyCode{41, Qt::Key_Semicolon, ';', "semicolon", 39},
    HotKeyCode{42, Qt::Key_Backslash, '\\', "backslash", 43},
    HotKeyCode{43, Qt::Key_Comma, ',', "comma", 51},
    HotKeyCode{44, Qt::Key_Slash, '/', "slash", 53},
    HotKeyCode{45, Qt::Key_N, 'n', "n", 49},
    HotKeyCode{46, Qt::Key_M, 'm', "m", 50},
    HotKeyCode{47, Qt::Key_Period, '.', "period", 52},
    HotKeyCode{48, Qt::Key_Tab, 0xff09, "Tab", 15},
    HotKeyCode{49, Qt::Key_Space, ' ', "space", 57},
    HotKeyCode{50, Qt::Key_QuoteLeft, '`', "grave", 41},
    HotKeyCode{51, Qt::Key_Backspace, 0xff08, "BackSpace", 14},
    HotKeyCode{53, Qt::Key_Escape, 0xff1b, "Escape", 1},
    HotKeyCode{96, Qt::Key_F5, 0xffc2, "F5", 63},
    HotKeyCode{97, Qt::Key_F6, 0xffc3, "F6", 64},
    HotKeyCode{98, Qt::Key_F7, 0xffc4, "F7", 65},
    HotKeyCode{99, Qt::Key_F3, 0xffc0, "F3", 61},
    HotKeyCode{100, Qt::Key_F8, 0xffc5, "F8", 66},
    HotKeyCode{101, Qt::Key_F9, 0xffc6, "F9", 67},
    HotKeyCode{103, Qt::Key_F11, 0xffc8, "F11", 87},
    HotKeyCode{105, Qt::Key_F13, 0xffca, "F13", 183},
    HotKeyCode{106, Qt::Key_F16, 0xffcd, "F16", 186},
    HotKeyCode{107, Qt::Key_F14, 0xffcb, "F14", 184},
    HotKeyCode{109, Qt::Key_F10, 0xffc7, "F10", 68},
    HotKeyCode{111, Qt::Key_F12, 0xffc9, "F12", 88},
    HotKeyCode{113, Qt::Key_F15, 0xffcc, "F15", 185},
    HotKeyCode{114, Qt::Key_Insert, 0xff63, "Insert", 110},
    HotKeyCode{115, Qt::Key_Home, 0xff50, "Home", 102},
    HotKeyCode{116, Qt::Key_PageUp, 0xff55, "Prior", 104},
    HotKeyCode{117, Qt::Key_Delete, 0xffff, "Delete", 111},
    HotKeyCode{118, Qt::Key_F4, 0xffc1, "F4", 62},
    HotKeyCode{119, Qt::Key_End, 0xff57, "End", 107},
    HotKeyCode{120, Qt::Key_F2, 0xffbf, "F2", 60},
    HotKeyCode{121, Qt::Key_PageDown, 0xff56, "Next", 109},
    HotKeyCode{122, Qt::Key_F1, 0xffbe, "F1", 59},
    HotKeyCode{123, Qt::Key_Left, 0xff51, "Left", 105},
    HotKeyCode{124, Qt::Key_Right, 0xff53, "Right", 106},
    HotKeyCode{125, Qt::Key_Down, 0xff54, "Down", 108},
    HotKeyCode{126, Qt::Key_Up, 0xff52, "Up", 103},
};

// X11 and Wayland count the kernel's codes from here.
constexpr std::uint32_t kFirstPlace = 8;

template <typename Predicate>
const HotKeyCode* findCode(Predicate isMeant) {
    const auto found = std::find_if(kCodes.begin(), kCodes.end(), isMeant);
    return found == kCodes.end() ? nullptr : &*found;
}

// By what the key types; by its place where that is a letter of another script, or a sign that
// stands above another.
const HotKeyCode* codeOf(const QKeyEvent& event) {
    const auto* byKey =
        findCode([&](const HotKeyCode& each) { return each.key == Qt::Key(event.key()); });
    if (byKey != nullptr || event.nativeScanCode() <= kFirstPlace) return byKey;
    const std::uint32_t place = event.nativeScanCode() - kFirstPlace;
    return findCode([&](const HotKeyCode& each) { return each.place == place; });
}

std::uint32_t modifiersOf(Qt::KeyboardModifiers modifiers) {
    std::uint32_t bits = 0;
    if (modifiers & Qt::MetaModifier) bits |= HotKey::kSuper;
    if (modifiers & Qt::ControlModifier) bits |= HotKey::kControl;
    if (modifiers & Qt::AltModifier) bits |= HotKey::kAlt;
    if (modifiers & Qt::ShiftModifier) bits |= HotKey::kShift;
    return bits;
}

bool isModifier(int key) {
    return (key >= Qt::Key_Shift && key <= Qt::Key_ScrollLock) || key == Qt::Key_Super_L ||
           key == Qt::Key_Super_R || key == Qt::Key_AltGr || key == Qt::Key_unknown;
}

}  // namespace

HotKey HotKey::storedIn(const Settings& settings) {
    return {.code = static_cast<std::uint16_t>(settings.integer("HotkeyCode")),
            .modifiers = static_cast<std::uint32_t>(settings.integer("HotkeyMods"))};
}

void HotKey::storeIn(Settings& settings) const {
    settings.set("HotkeyCode", int{code});
    settings.set("HotkeyMods", std::int64_t{modifiers});
}

const HotKeyCode* hotKeyCode(std::uint16_t code) {
    return findCode([code](const HotKeyCode& each) { return each.code == code; });
}

std::optional<HotKey> hotKeyOf(const QKeyEvent& event) {
    if (isModifier(event.key())) return std::nullopt;
    const HotKeyCode* found = codeOf(event);
    if (found == nullptr) return std::nullopt;
    const std::uint32_t modifiers = modifiersOf(event.modifiers());
    const bool isFunctionKey = found->key >= Qt::Key_F1 && found->key <= Qt::Key_F16;
    const bool isOfUseElsewhere = (modifiers & ~HotKey::kShift) == 0 && !isFunctionKey;
    if (isOfUseElsewhere) return std::nullopt;
    return HotKey{.code = found->code, .modifiers = modifiers};
}

QString textOf(const HotKey& key) {
    if (key.isNone()) return {};
    QStringList parts;
    if (key.modifiers & HotKey::kSuper) parts << q_("Super");
    if (key.modifiers & HotKey::kControl) parts << q_("Ctrl");
    if (key.modifiers & HotKey::kAlt) parts << q_("Alt");
    if (key.modifiers & HotKey::kShift) parts << q_("Shift");
    const HotKeyCode* found = hotKeyCode(key.code);
    parts << (found == nullptr ? toQString(filledIn(_("key %d"), std::int64_t{key.code}))
                               : QKeySequence(found->key).toString(QKeySequence::NativeText));
    return parts.join(QLatin1Char('+'));
}

QString portalTriggerOf(const HotKey& key) {
    const HotKeyCode* found = hotKeyCode(key.code);
    if (key.isNone() || found == nullptr) return {};
    QStringList parts;
    if (key.modifiers & HotKey::kControl) parts << QStringLiteral("CTRL");
    if (key.modifiers & HotKey::kAlt) parts << QStringLiteral("ALT");
    if (key.modifiers & HotKey::kShift) parts << QStringLiteral("SHIFT");
    if (key.modifiers & HotKey::kSuper) parts << QStringLiteral("LOGO");
    parts << QString::fromLatin1(found->name);
    return parts.join(QLatin1Char('+'));
}

}  // namespace siftwell
