#include "platform/linux/preferences_json.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace ostrel
