// Brings a window to the front, whether it is hidden, behind others or an icon.
//
// Threads: main.
#pragma once

#include <QWidget>

namespace siftwell {

inline void bringUp(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace siftwell
