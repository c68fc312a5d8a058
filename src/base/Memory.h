// Memory: how a program that stays all day keeps little of it.
//
// Threads: any. Without effect where the allocator knows nothing of the kind.
#pragma once

namespace siftwell {

// Called before there are other threads: they share one arena instead of having one each, and large
// blocks go back to the system as soon as they are free.
void keepMemorySmall();

// Gives what is free back to the system. Takes some milliseconds.
void returnFreeMemory();

}  // namespace siftwell
