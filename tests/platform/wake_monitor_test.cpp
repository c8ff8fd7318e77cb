#include "platform/wake_monitor.h"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cstdlib>

#include "platform/linux/suspend_gap.h"
#include "support/private_bus.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

TEST(SuspendGap, GrowthOfBootTimeOverMonotonicTimeIsASleep) {
    SuspendGap gap(2s);
    EXPECT_FALSE(gap.sleptSinceLastReading(100s, 90s));   // first reading has nothing to compare
    EXPECT_FALSE(gap.sleptSinceLastReading(105s, 95s));   // both moved together: awake
    EXPECT_FALSE(gap.sleptSinceLastReading(111s, 100s));  // a second of drift is not a sleep
    EXPECT_TRUE(gap.sleptSinceLastReading(400s, 105s));   // boot time ran on while asleep
    EXPECT_FALSE(gap.sleptSinceLastReading(405s, 110s));
}

// logind says PrepareForSleep(true) before sleeping and PrepareForSleep(false) after waking;
// only the second is a wake. A private bus stands in for the system bus.
TEST(WakeMonitor, LogindPrepareForSleepFalseIsAWakeOnTheMainQueue) {
    testing::PrivateBus bus;
    if (!bus.available()) GTEST_SKIP() << "dbus-daemon is not installed";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);

    auto dispatcher = makeThreadDispatcher();
    int wakes = 0;
    auto observation = observeSystemWake(*dispatcher, [&] { ++wakes; });

    sd_bus* logind = nullptr;
    ASSERT_GE(sd_bus_open_system(&logind), 0);
    ASSERT_GE(sd_bus_request_name(logind, "org.freedesktop.login1", 0), 0);
    for (int goingToSleep : {1, 0, 1, 0}) {
        ASSERT_GE(
            sd_bus_emit_signal(logind, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                               "PrepareForSleep", "b", goingToSleep),
            0);
    }
    sd_bus_flush(logind);

    // The signals arrive within milliseconds; a second is ample for all four.
    auto settle = dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = 1s},
                                        [&] { dispatcher->quitMainLoop(); });
    dispatcher->runMainLoop();
    EXPECT_EQ(wakes, 2);
    sd_bus_flush_close_unref(logind);
    observation.reset();
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

}  // namespace
}  // namespace ostrel
