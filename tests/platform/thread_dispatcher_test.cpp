#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "platform/dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

TEST(ThreadDispatcher, SerialQueueRunsTasksInOrderOffTheCallerThread) {
    auto dispatcher = makeThreadDispatcher();
    auto queue = dispatcher->makeSerialQueue("com.ostrel.test");
    std::vector<int> order;
    std::promise<std::thread::id> ranOn;
    for (int i = 0; i < 100; ++i)
        queue->async([&order, i] { order.push_back(i); });
    queue->async([&] { ranOn.set_value(std::this_thread::get_id()); });

    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
    std::vector<int> expected(100);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
}

TEST(ThreadDispatcher, MainLoopServesMainQueueUntilQuit) {
    auto dispatcher = makeThreadDispatcher();
    const auto mainThread = std::this_thread::get_id();
    std::thread::id ranOn;
    auto worker = dispatcher->makeSerialQueue("worker");
    worker->async([&] {
        dispatcher->mainQueue().async([&] {
            ranOn = std::this_thread::get_id();
            dispatcher->quitMainLoop();
        });
    });
    dispatcher->runMainLoop();
    EXPECT_EQ(ranOn, mainThread);

    // A quit that comes before the loop starts still ends it, and the loop can run again.
    dispatcher->quitMainLoop();
    dispatcher->runMainLoop();
    bool ranAgain = false;
    dispatcher->mainQueue().async([&] {
        ranAgain = true;
        dispatcher->quitMainLoop();
    });
    dispatcher->runMainLoop();
    EXPECT_TRUE(ranAgain);
}

// Without a user interface, a queue sharing the main loop runs there, its timers too, in order
// with the main queue; under a user interface's main queue it has a thread of its own.
TEST(ThreadDispatcher, QueueSharingMainRunsOnTheMainLoopOnlyWhenHeadless) {
    auto headless = makeThreadDispatcher();
    auto sharing = headless->makeQueueSharingMainWhenHeadless("sharing");
    const auto mainThread = std::this_thread::get_id();
    std::vector<std::string> steps;
    auto timer = headless->makeTimer(*sharing, {.firstDeadline = 1ms}, [&] {
        steps.push_back(std::this_thread::get_id() == mainThread ? "timer on main" : "elsewhere");
        headless->mainQueue().async([&] { steps.push_back("landed"); });
        sharing->async([&] { headless->quitMainLoop(); });
    });
    headless->runMainLoop();
    EXPECT_EQ(steps, (std::vector<std::string>{"timer on main", "landed"}));

    struct InterfaceQueue : SerialQueue {
        void async(Task) override {}
        const std::string& label() const override { return label_; }
        std::string label_ = "interface";
    };
    auto withInterface = makeThreadDispatcher(std::make_unique<InterfaceQueue>());
    auto collection = withInterface->makeQueueSharingMainWhenHeadless("collection");
    std::promise<std::thread::id> ranOn;
    collection->async([&] { ranOn.set_value(std::this_thread::get_id()); });
    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
}

TEST(ThreadDispatcher, TimersFireOnTheirQueueUntilCancelledOrDestroyed) {
    auto dispatcher = makeThreadDispatcher();
    auto queue = dispatcher->makeSerialQueue("timers");
    std::atomic<int> firings{0}, oneShot{0}, dropped{0};
    std::promise<void> thirdFiring;
    auto timer = dispatcher->makeTimer(*queue, {.firstDeadline = 5ms, .period = 5ms}, [&] {
        if (++firings == 3) thirdFiring.set_value();
    });
    auto once = dispatcher->makeTimer(*queue, {.firstDeadline = 1ms}, [&] { ++oneShot; });
    dispatcher->makeTimer(*queue, {.firstDeadline = 1ms, .period = 1ms}, [&] { ++dropped; });
    ASSERT_EQ(thirdFiring.get_future().wait_for(5s), std::future_status::ready);
    timer->cancel();
    // Drain the queue: after cancel() returns no firing may start.
    std::promise<void> drained;
    queue->async([&] { drained.set_value(); });
    drained.get_future().wait();
    const int afterCancel = firings;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(firings, afterCancel);
    EXPECT_EQ(oneShot, 1);
    EXPECT_EQ(dropped, 0);
}

TEST(ThreadDispatcher, DestructionWaitsForDetachedWork) {
    std::atomic<bool> finished{false};
    {
        auto dispatcher = makeThreadDispatcher();
        dispatcher->detach([&] {
            std::this_thread::sleep_for(20ms);
            finished = true;
        });
    }
    EXPECT_TRUE(finished);
}

}  // namespace
}  // namespace ostrel
