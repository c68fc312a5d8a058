#include "ui/desktop/X11Keyboard.h"

#include "ui/desktop/X11Server.h"

namespace siftwell {

namespace {

constexpr std::uint32_t kSuperLeft = 0xffeb;
constexpr std::uint32_t kAltLeft = 0xffe9;
constexpr std::uint32_t kNumLock = 0xff7f;
constexpr std::uint32_t kScrollLock = 0xff14;
// Codes of keys begin here, which are otherwise the kernel's.
constexpr int kFirstPlace = 8;

}  // namespace

X11Keyboard::X11Keyboard(xcb_connection_t* connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection);
    m_first = setup->min_keycode;
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto keysymsAsked = xcb_get_keyboard_mapping(connection, m_first, count);
    const auto modifiersAsked = xcb_get_modifier_mapping(connection);
    if (const X11Reply<xcb_get_keyboard_mapping_reply_t> reply{
            xcb_get_keyboard_mapping_reply(connection, keysymsAsked, nullptr)}) {
        m_keysymsPerKey = reply->keysyms_per_keycode;
        const xcb_keysym_t* first = xcb_get_keyboard_mapping_keysyms(reply.get());
        m_keysyms.assign(first, first + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
    }
    if (const X11Reply<xcb_get_modifier_mapping_reply_t> reply{
            xcb_get_modifier_mapping_reply(connection, modifiersAsked, nullptr)}) {
        const xcb_keycode_t* key = xcb_get_modifier_mapping_keycodes(reply.get());
        for (int modifier = 0; modifier < 8; ++modifier) {
            m_modifiers.emplace_back(key, key + reply->keycodes_per_modifier);
            key += reply->keycodes_per_modifier;
        }
    }
}

// With no modifier, or in the second group of a keyboard with two scripts.
bool X11Keyboard::types(xcb_keycode_t keycode, std::uint32_t keysym) const {
    if (keycode < m_first) return false;
    const std::size_t at = static_cast<std::size_t>(keycode - m_first) * m_keysymsPerKey;
    if (at + m_keysymsPerKey > m_keysyms.size() || m_keysymsPerKey == 0) return false;
    return m_keysyms[at] == keysym || (m_keysymsPerKey > 2 && m_keysyms[at + 2] == keysym);
}

std::vector<xcb_keycode_t> X11Keyboard::keysOf(const HotKeyCode& code) const {
    std::vector<xcb_keycode_t> keys;
    for (int key = m_first; key <= UINT8_MAX; ++key) {
        const auto keycode = static_cast<xcb_keycode_t>(key);
        if (types(keycode, code.keysym)) keys.push_back(keycode);
    }
    if (keys.empty()) keys.push_back(static_cast<xcb_keycode_t>(code.place + kFirstPlace));
    return keys;
}

std::uint16_t X11Keyboard::modifierOf(std::uint32_t keysym, std::uint16_t usual) const {
    for (std::size_t modifier = 0; modifier < m_modifiers.size(); ++modifier) {
        for (const xcb_keycode_t key : m_modifiers[modifier]) {
            if (key != 0 && types(key, keysym)) return static_cast<std::uint16_t>(1U << modifier);
        }
    }
    return usual;
}

std::uint16_t X11Keyboard::modifiersOf(const HotKey& key) const {
    unsigned modifiers = 0;
    if (key.modifiers & HotKey::kShift) modifiers |= XCB_MOD_MASK_SHIFT;
    if (key.modifiers & HotKey::kControl) modifiers |= XCB_MOD_MASK_CONTROL;
    if (key.modifiers & HotKey::kAlt) modifiers |= modifierOf(kAltLeft, XCB_MOD_MASK_1);
    if (key.modifiers & HotKey::kSuper) modifiers |= modifierOf(kSuperLeft, XCB_MOD_MASK_4);
    return static_cast<std::uint16_t>(modifiers);
}

std::uint16_t X11Keyboard::locks() const {
    return static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | modifierOf(kNumLock, XCB_MOD_MASK_2) |
                                      modifierOf(kScrollLock, 0));
}

}  // namespace siftwell
