// Preference values: their JSON form on disk and what each kind reads as.
#include <gtest/gtest.h>

#include <limits>

#include "platform/linux/preferences_json.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

TEST(PreferencesJsonTest, ValuesKeepTheirKindsBothWays) {
    const auto parsed =
        parsePreferences(R"({"i":3,"d":3.0,"e":1e2,"big":18446744073709551615,"s":"a\/b","b":true,)"
                         R"("n":null,"a":[1,null,"x"],"o":{"k":[]},"dup":1,"dup":2})");
    ASSERT_TRUE(parsed);
    const PreferenceDictionary expected{
        {"i", 3},
        {"d", 3.0},
        {"e", 100.0},
        {"big", 18446744073709551615.0},
        {"s", "a/b"},
        {"b", true},
        {"a", PreferenceArray{1, "x"}},
        {"o", PreferenceDictionary{{"k", PreferenceArray{}}}},
        {"dup", 2},
    };
    EXPECT_EQ(*parsed, expected);

    const auto text = encodePreferences(expected);
    ASSERT_TRUE(text);
    EXPECT_EQ(*text,
              R"({"a":[1,"x"],"b":true,"big":18446744073709551616.0,"d":3.0,"dup":2,"e":100.0,)"
              R"("i":3,"o":{"k":[]},"s":"a\/b"})"
              "\n");
    EXPECT_EQ(parsePreferences(*text), expected);
}

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
