#include "dashboard/chart_point.h"

#include <atomic>

namespace ostrel {

ChartId newChartId() {
    static std::atomic<ChartId> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace ostrel
