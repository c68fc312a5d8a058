// Which files this process may use from now on.
#pragma once

#include <string>
#include <vector>

namespace siftwell {

// These two let files be read and run; nothing else. What looks like files but is the kernel's and
// other processes' (/proc, /sys, /dev) may not even be read.

// By Landlock, which also keeps this process from looking into others. False when the kernel has
// none.
bool allowReadingOnly();

// For a kernel without Landlock: in a user namespace of its own a process may not look into those
// outside, and there it can cover the folders of the kernel. Does what the system lets it do.
void hideKernelFolders();

// Only these files and folders may be read, and only below that folder may files be made, changed
// and removed. By Landlock; false when the kernel has none, and all stays as it was. What is not
// there is passed over.
bool allowOnly(const std::vector<std::string>& readable, const std::string& writableFolder);

}  // namespace siftwell
