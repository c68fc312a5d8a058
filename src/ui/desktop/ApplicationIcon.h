// The icon of the program: the desktop theme's, or the one that the program has in itself.
//
// Threads: main.
#pragma once

#include <QIcon>

namespace siftwell {

QIcon applicationIcon();

// With a mark in its corner: pages are being indexed.
QIcon busyApplicationIcon();

}  // namespace siftwell
