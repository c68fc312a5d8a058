#include "ui/desktop/FrontProgram.h"

#include <QGuiApplication>
#include <QWidget>
#include <algorithm>
#include <array>

#include "ui/desktop/X11Server.h"

namespace siftwell {

namespace {

constexpr std::uint32_t kLongestClass = 256;  // in units of four bytes

// How the classes of browsers' windows begin, in small letters.
bool isBrowser(const QByteArray& windowClass) {
    constexpr std::array kBrowsers = {
        "brave",     "chromium",    "epiphany",       "falkon",
        "firefox",   "floorp",      "google-chrome",  "icecat",
        "konqueror", "librewolf",   "microsoft-edge", "midori",
        "mullvad",   "navigator",   "opera",          "org.gnome.epiphany",
        "palemoon",  "qutebrowser", "seamonkey",      "tor browser",
        "ungoogled", "vivaldi",     "waterfox",       "zen"};
    const QByteArray name = windowClass.toLower();
    return std::any_of(kBrowsers.begin(), kBrowsers.end(),
                       [&name](const char* browser) { return name.startsWith(browser); });
}

}  // namespace

bool FrontProgram::isPossible() { return x11Server() != nullptr; }

FrontProgram::FrontProgram(QObject* parent)
    : QObject(parent),
      m_server(*x11Server()),
      m_root(rootWindow(m_server)),
      m_activeWindowAtom(atomOf(m_server, "_NET_ACTIVE_WINDOW")) {
    watchRoot();
    qGuiApp->installNativeEventFilter(this);
}

FrontProgram::~FrontProgram() {
    if (qGuiApp != nullptr) qGuiApp->removeNativeEventFilter(this);
}

// Beside what the program hears of that window already.
void FrontProgram::watchRoot() {
    const X11Reply<xcb_get_window_attributes_reply_t> now(xcb_get_window_attributes_reply(
        &m_server, xcb_get_window_attributes(&m_server, m_root), nullptr));
    if (now == nullptr) return;
    const std::uint32_t events = now->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(&m_server, m_root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(&m_server);
}

FrontProgram::Kind FrontProgram::kind() const {
    const std::uint32_t window = frontWindow();
    if (window == 0) return Kind::Nobody;
    if (QWidget::find(window) != nullptr) return Kind::Self;
    return isBrowser(classOf(window)) ? Kind::Browser : Kind::Other;
}

std::uint32_t FrontProgram::frontWindow() const {
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        &m_server,
        xcb_get_property(&m_server, 0, m_root, m_activeWindowAtom, XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    const bool isSaid = reply != nullptr && reply->format == 32 && reply->length == 1;
    return isSaid ? *static_cast<std::uint32_t*>(xcb_get_property_value(reply.get())) : 0;
}

// The second of two names that each end with a zero: "Navigator", "firefox".
QByteArray FrontProgram::classOf(std::uint32_t window) const {
    const X11Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(&m_server,
                               xcb_get_property(&m_server, 0, window, XCB_ATOM_WM_CLASS,
                                                XCB_ATOM_STRING, 0, kLongestClass),
                               nullptr));
    if (reply == nullptr || reply->format != 8) return {};
    const QByteArray names(static_cast<const char*>(xcb_get_property_value(reply.get())),
                           xcb_get_property_value_length(reply.get()));
    return names.split('\0').value(1);
}

bool FrontProgram::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if (kindOf(*event) != XCB_PROPERTY_NOTIFY) return false;
    const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
    if (change->window == m_root && change->atom == m_activeWindowAtom) {
        // Later: whoever hears of it hides and shows windows.
        QMetaObject::invokeMethod(this, &FrontProgram::changed, Qt::QueuedConnection);
    }
    return false;
}

}  // namespace siftwell
