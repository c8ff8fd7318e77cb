#include "platform/preference_json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ostrel {
namespace {

TEST(PreferenceJson, EveryTypeReadsBackAsItWasWritten) {
    const PreferenceValue value = PreferenceDictionary{
        {"flag", false},
        {"count", int64_t{-9007199254740993}},
        {"whole", 12.0},
        {"ratio", 0.1},
        {"text", "quote \" slash / é"},
        {"list", PreferenceArray{1, "a", PreferenceArray{}}},
        {"nested", PreferenceDictionary{{"x", PreferenceDictionary{}}}},
    };
    const auto text = encodePreferenceJson(value);
    ASSERT_TRUE(text);
    EXPECT_NE(text->find(R"("whole":12.0)"), std::string::npos);
    EXPECT_EQ(decodePreferenceJson(*text), value);
}

TEST(PreferenceJson, WhatJsonCannotCarryIsRefused) {
    EXPECT_FALSE(encodePreferenceJson(PreferenceArray{1, std::nan("")}));
    EXPECT_FALSE(decodePreferenceJson("null"));
    EXPECT_FALSE(decodePreferenceJson(R"({"a":[1,null]})"));
    EXPECT_FALSE(decodePreferenceJson(R"({"a":1} trailing)"));
    EXPECT_FALSE(decodePreferenceJson(""));
    EXPECT_EQ(decodePreferenceJson("18446744073709551615"), PreferenceValue(1.8446744073709552e19));
}

}  // namespace
}  // namespace ostrel
