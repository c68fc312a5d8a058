// Files may be read and run; nothing else. What looks like files but is the kernel's and other
// processes' (/proc, /sys, /dev) may not even be read.
#pragma once

namespace siftwell {

// By Landlock, which also keeps this process from looking into others. False when the kernel has
// none.
bool allowReadingOnly();

// For a kernel without Landlock: in a user namespace of its own a process may not look into those
// outside, and there it can cover the folders of the kernel. Does what the system lets it do.
void hideKernelFolders();

}  // namespace siftwell
