// TaskBarEntry: whether a window stands in the desktop's task bar.
//
// Threads: main. Without effect where there is no X server: elsewhere the desktop decides.
#pragma once

class QWidget;

namespace siftwell {

// Of a window that is shown; when it is shown again it has to be said again.
void setInTaskBar(const QWidget& window, bool isInTaskBar);

}  // namespace siftwell
