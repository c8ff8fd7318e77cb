#pragma once

#include <cstddef>

namespace ostrel {

// Asks the system to back [data, data + bytes) with memory now, in one call, rather than
// one page fault at a time as it is first written. Where page faults are dear (virtual
// machines) this is several times cheaper for a large buffer about to be filled. A hint:
// it may do nothing.
void prefaultForWriting(void* data, size_t bytes);

}  // namespace ostrel
