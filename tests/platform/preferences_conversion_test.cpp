#include <gtest/gtest.h>

#include <limits>

#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

TEST(PreferencesConversionTest, IntegersAndBooleansFromEveryKind) {
    const struct {
        PreferenceValue stored;
        int64_t integer;
        bool boolean;
    } cases[] = {
        {-7.9, -7, true},
        {1e300, kMax, true},
        {0x1p62, int64_t{1} << 62, true},
        {true, 1, true},
        {0.0, 0, false},
        {" \t+12abc", 12, true},
        {"+-5", 0, false},
        {"-007", -7, true},
        {"YES", 0, true},
        {"false", 0, false},
        {"000", 0, false},
        {"99999999999999999999", kMax, true},
        {PreferenceArray{1}, 0, false},
    };
    testing::MemoryPreferencesStore store;
    for (const auto& test : cases) {
        store.set("k", test.stored);
        EXPECT_EQ(store.integer("k"), test.integer) << store.string("k").value_or("?");
        EXPECT_EQ(store.boolean("k"), test.boolean) << store.string("k").value_or("?");
    }
}

}  // namespace
}  // namespace ostrel
