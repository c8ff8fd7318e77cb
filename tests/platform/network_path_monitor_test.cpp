#include "platform/network_path_monitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/linux/network.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

TEST(NetworkPathMonitorTest, TellsTheCurrentStateFirstAndNothingAfterCancel) {
    auto dispatcher = makeThreadDispatcher();
    auto queue = dispatcher->makeSerialQueue("path");
    std::atomic<int> reports = 0;
    std::atomic<bool> last = false;
    auto monitor = makePlatformNetworkPathMonitor();
    monitor->start(*queue, [&](bool satisfied) {
        last = satisfied;
        ++reports;
    });
    for (int i = 0; i < 500 && reports == 0; ++i)
        std::this_thread::sleep_for(10ms);
    ASSERT_GE(reports, 1);
    LinuxNetworkSource routes("/proc", systemClock());
    EXPECT_EQ(last, routes.defaultRouteInterface().has_value());

    monitor->cancel();
    monitor.reset();
    const int afterCancel = reports;
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(reports, afterCancel);
}

}  // namespace
}  // namespace ostrel
