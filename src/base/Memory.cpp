#include "base/Memory.h"

#include <malloc.h>

namespace siftwell {

void keepMemorySmall() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);
    // Large blocks come from the system and go back to it, however large those were that went
    // before.
    mallopt(M_MMAP_THRESHOLD, 256 << 10);
    mallopt(M_TRIM_THRESHOLD, 512 << 10);
#endif
}

void returnFreeMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

}  // namespace siftwell
