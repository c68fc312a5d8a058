// The addresses and files among what was dropped on a window.
//
// Threads: main.
#pragma once

#include <QMimeData>
#include <QStringList>

namespace siftwell {

// Lines of plain text count when they are addresses of pages.
QStringList droppedTargets(const QMimeData& data);

}  // namespace siftwell
