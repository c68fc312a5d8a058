#include "ui/desktop/X11Server.h"

#include <QGuiApplication>

namespace siftwell {

xcb_connection_t* x11Server() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

xcb_window_t rootWindow(xcb_connection_t& server) {
    return xcb_setup_roots_iterator(xcb_get_setup(&server)).data->root;
}

xcb_atom_t atomOf(xcb_connection_t& server, std::string_view name) {
    const auto asked =
        xcb_intern_atom(&server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(&server, asked, nullptr));
    return reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
}

}  // namespace siftwell
