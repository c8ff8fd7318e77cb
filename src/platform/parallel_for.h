#pragma once

#include <cstddef>
#include <functional>

namespace ostrel {

// Runs `body(i)` for every i in [0, count) on up to one thread per core, the caller's among
// them, and returns when all have finished. Indices finish in any order; callers that need
// order write into slots of their own index.
void parallelFor(size_t count, const std::function<void(size_t)>& body);

}  // namespace ostrel
