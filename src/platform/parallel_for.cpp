#include "platform/parallel_for.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace ostrel {

void parallelFor(size_t count, const std::function<void(size_t)>& body) {
    const size_t cores = std::max(1u, std::thread::hardware_concurrency());
    const size_t workers = std::min(count, cores);
    // Indices are handed out one at a time, so a large file does not hold up a whole share.
    std::atomic<size_t> next{0};
    const auto work = [&] {
        for (size_t i = next++; i < count; i = next++)
            body(i);
    };
    std::vector<std::jthread> helpers;
    helpers.reserve(workers > 0 ? workers - 1 : 0);
    for (size_t t = 1; t < workers; ++t)
        helpers.emplace_back(work);
    work();
}

}  // namespace ostrel
