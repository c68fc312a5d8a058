// The menus that every window of the program has.
//
// Threads: main.
#pragma once

class QMenuBar;

namespace siftwell {

class Commands;

// Puts them around those that stand in the bar: the program's before, the index's, the windows' and
// help behind. The commands outlive the window of the bar.
void addProgramMenusTo(QMenuBar& menus, Commands& commands);

}  // namespace siftwell
