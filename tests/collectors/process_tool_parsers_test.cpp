#include "collectors/process_tool_parsers.h"

#include <gtest/gtest.h>

#include "collectors/process_name_utils.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

TEST(PsOutput, ParsesColumnsKeepsSpacesOfTheCommandAndSkipsMalformedLines) {
    const auto readings = parsePsOutput(testing::fixture("macos/ps_aceo_sorted_by_cpu.txt"));
    ASSERT_TRUE(readings);
    ASSERT_EQ(readings->size(), 7u);  // "abc" pid and the line without a command are skipped
    // "12,5": a decimal comma.
    EXPECT_EQ((*readings)[1], (ProcessReading{.pid = 1533,
                                              .ppid = 412,
                                              .name = "Google Chrome Helper (Renderer)",
                                              .user = "alice",
                                              .residentBytes = 204800u * 1024,
                                              .cpuPercent = 12.5}));
    EXPECT_EQ((*readings)[6].user, "_mdnsresponder");

    const auto headerOnly = parsePsOutput(testing::fixture("macos/ps_aceo_header_only.txt"));
    ASSERT_TRUE(headerOnly);
    EXPECT_TRUE(headerOnly->empty());
    EXPECT_EQ(parsePsOutput("PID\n1 1 a 0 0 \xff\xfe\n").error(), ReadError::parse);
}

TEST(TopOutput, SkipsHeaderBlockAndNonNumericPidsLaterLineWinsInEveryUnit) {
    const auto memory =
        parseTopMemoryOutput(testing::fixture("macos/top_l1_mem_stats_pid_mem.txt"));
    ASSERT_TRUE(memory);
    // The date line starts with a digit but has no pid; "12x" is not a pid.
    EXPECT_EQ(*memory,
              (std::unordered_map<int32_t, double>{{412, 2048}, {1533, 1024}, {88, 0.5}, {90, 0}}));

    const std::vector<std::pair<std::string, std::optional<double>>> cases = {
        {"0", 0},        {"-", 0},      {"1G", 1024}, {"512K", 0.5}, {"1024K+", 1},
        {"1048576B", 1}, {"12", 12},    {"12X", 12},  {"abc", {}},   {"", {}},
        {" 2G- ", 2048}, {"100K", 0.1}, {"256K", 0.3}};  // 0.25 rounds half away from zero
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(parseMemoryString(text), expected) << '"' << text << '"';
    }
}

TEST(NettopOutput, NamesWithDotsZeroAndShortLinesPidParsing) {
    const auto counters = parseNettopOutput(testing::fixture("macos/nettop_P_L1_bytes.txt"));
    ASSERT_TRUE(counters);
    const std::vector<ProcessNetworkCounters> expected = {
        {412, "Safari", 100, 200},
        {1533, "com.apple.WebKit.Networking", 5000, 700},
        {90, "mDNSResponder", 0, 64},
        {77, "", 3, 0},
    };
    EXPECT_EQ(*counters, expected);
    EXPECT_EQ(parseNettopOutput("h\n\xc3(,1,1,\n").error(), ReadError::parse);
}

TEST(ProcessNameUtils, ReducesHelperNamesToTheirApplication) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"com.apple.Safari", "Safari"},
        {"org.mozilla.FIREFOX", "Firefox"},
        {"com.apple", "Com.apple"},
        {"com..x", "Com..x"},
        {"Google Chrome Helper (Renderer)", "Google Chrome"},
        {"code helper (gpu)", "Code Helper"},
        {"Foo Helper", "Foo"},
        {"Foo Renderer Helper", "Foo"},
        {"Foo Web Content Service", "Foo Web Content"},  // one pass, in list order
        {"bar", "Bar"},
        {"my tool", "my tool"},
        {"Helper", "Helper"},
        {"", ""},
    };
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(ProcessNameUtils::extractBaseName(name), expected) << name;
    }
}

}  // namespace
}  // namespace ostrel
