// The kernel's account of this process's memory.
#pragma once

namespace siftwell::bench {

// A line of it ("VmHWM:"), in MiB; 0 when there is no such line.
double memory(const char* line);

// What is not of a file, in MiB.
inline double ownMemory() { return memory("RssAnon:"); }

}  // namespace siftwell::bench
