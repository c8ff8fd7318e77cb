#include "dashboard/chart_point.h"

#include <atomic>

namespace ostrel {

ChartId newChartId() {
    // Each thread takes its identities in blocks: a day's build makes hundreds of thousands.
    constexpr ChartId kBlock = 4096;
    static std::atomic<ChartId> nextBlock{1};
    thread_local ChartId next = 0, end = 0;
    if (next == end) {
        next = nextBlock.fetch_add(kBlock, std::memory_order_relaxed);
        end = next + kBlock;
    }
    return next++;
}

}  // namespace ostrel
