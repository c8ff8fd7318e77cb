#include "support/virtual_dispatcher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ostrel::testing {
namespace {

using namespace std::chrono_literals;

TEST(VirtualDispatcher, TimersFireAtTheirDeadlinesInOrderAndTasksRunBetween) {
    VirtualDispatcher dispatcher;
    const Date start = dispatcher.clock().now();
    auto queue = dispatcher.makeSerialQueue("timers");
    std::vector<std::string> log;
    auto every10 = dispatcher.makeTimer(*queue, {.firstDeadline = 10s, .period = 10s}, [&] {
        log.push_back("10s@" + std::to_string(secondsBetween(start, dispatcher.clock().now())));
        dispatcher.mainQueue().async([&] { log.push_back("main"); });
    });
    auto once = dispatcher.makeTimer(*queue, {.firstDeadline = 15s}, [&] {
        log.push_back("once@" + std::to_string(secondsBetween(start, dispatcher.clock().now())));
    });

    dispatcher.advance(30s);
    EXPECT_EQ(log, (std::vector<std::string>{"10s@10.000000", "main", "once@15.000000",
                                             "10s@20.000000", "main", "10s@30.000000", "main"}));
    EXPECT_EQ(secondsBetween(start, dispatcher.clock().now()), 30);
    EXPECT_EQ(dispatcher.activeTimers(), 1u);
}

TEST(VirtualDispatcher, CancelledTimerNeverFiresEvenWhenItsFiringIsQueued) {
    VirtualDispatcher dispatcher;
    auto queue = dispatcher.makeSerialQueue("timers");
    int firings = 0;
    std::unique_ptr<Timer> timer;
    // A task queued ahead of the firing cancels the timer before the firing runs.
    auto canceller = dispatcher.makeTimer(*queue, {.firstDeadline = 5s}, [&] { timer->cancel(); });
    timer = dispatcher.makeTimer(*queue, {.firstDeadline = 5s, .period = 1s}, [&] { ++firings; });
    dispatcher.advance(10s);
    EXPECT_EQ(firings, 0);
    EXPECT_EQ(dispatcher.activeTimers(), 0u);
}

TEST(VirtualDispatcher, NothingRunsUntilTheTestSaysSo) {
    VirtualDispatcher dispatcher;
    int ran = 0;
    dispatcher.mainQueue().async([&] { ++ran; });
    dispatcher.detach([&] { ++ran; });
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(dispatcher.pendingTasks(), 2u);
    EXPECT_TRUE(dispatcher.runOne());
    EXPECT_EQ(ran, 1);
    dispatcher.runUntilIdle();
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(dispatcher.postedLabels(), (std::vector<std::string>{"main", "detached"}));
}

}  // namespace
}  // namespace ostrel::testing
