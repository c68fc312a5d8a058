// QtRunLoop: the main loop of a program with windows, which is Qt's.
//
// Tasks, timers and signals come in as events of Qt's, so that whatever turns Qt's loop (a dialog,
// the web engine) serves them too.
//
// Threads: as RunLoop says; made on the thread of the QCoreApplication, which outlives it.
#pragma once

#include <memory>

#include "base/RunLoop.h"

namespace siftwell {

std::unique_ptr<RunLoop> makeQtRunLoop();

}  // namespace siftwell
