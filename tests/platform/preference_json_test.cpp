#include "platform/preference_json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ostrel {
namespace {

TEST(PreferenceJson, EveryTypeReadsBackAndWhatJsonCannotCarryIsRefused) {
    const PreferenceValue value = PreferenceDictionary{
        {"flag", false},
        {"count", int64_t{-9007199254740993}},
        {"whole", 12.0},
        {"text", "quote \" slash / é"},
        {"nested", PreferenceArray{1, 0.1, PreferenceDictionary{}, PreferenceArray{}}},
    };
    const auto text = encodePreferenceJson(value);
    ASSERT_TRUE(text);
    EXPECT_EQ(decodePreferenceJson(*text), value);

    EXPECT_FALSE(encodePreferenceJson(PreferenceArray{1, std::nan("")}));
    for (const char* refused : {"", "null", R"({"a":[1,null]})", R"({"a":1} trailing)"}) {
        EXPECT_FALSE(decodePreferenceJson(refused)) << refused;
    }
}

}  // namespace
}  // namespace ostrel
