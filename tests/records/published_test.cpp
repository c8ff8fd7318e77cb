#include "records/published.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace ostrel {
namespace {

TEST(PublishedTest, ObserversSeeEachNewValueWhileTheOldIsStillStored) {
    Published<std::pair<int, int>> value({1, 2});
    std::vector<std::pair<int, int>> seen;  // stored, incoming
    auto subscription =
        value.subscribe([&](const auto& next) { seen.emplace_back(value->first, next.first); });
    value.set({3, 4});
    value.modify([](auto& pair) { pair.first = 5; });
    value.set(value.get());  // the same value still counts as a change
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{1, 3}, {3, 5}, {5, 5}}));
    EXPECT_EQ(value->second, 4);
}

TEST(PublishedTest, ASubscriptionEndsWithItsHandleEvenDuringANotification) {
    Published<int> value;
    int firstCalls = 0, secondCalls = 0;
    std::optional<Published<int>::Subscription> second;
    auto first = value.subscribe([&](int) {
        ++firstCalls;
        second.reset();  // the later observer must not hear this change any more
    });
    second = value.subscribe([&](int) { ++secondCalls; });
    value.set(1);
    {
        auto moved = std::move(first);
        value.set(2);
    }
    value.set(3);
    EXPECT_EQ(firstCalls, 2) << "the moved handle observed once more, then unsubscribed";
    EXPECT_EQ(secondCalls, 0);
}

}  // namespace
}  // namespace ostrel
