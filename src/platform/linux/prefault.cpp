#include "platform/prefault.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

// Linux 5.14; older kernels refuse the advice with EINVAL, which leaves the faults as they were.
#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace ostrel {

void prefaultForWriting(void* data, size_t bytes) {
    static const auto page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    // Whole pages inside the range only: the pages at its ends may be shared with other
    // allocations, which are already backed.
    const auto begin = (reinterpret_cast<uintptr_t>(data) + page - 1) & ~(page - 1);
    const auto end = (reinterpret_cast<uintptr_t>(data) + bytes) & ~(page - 1);
    if (end > begin) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
}

}  // namespace ostrel
