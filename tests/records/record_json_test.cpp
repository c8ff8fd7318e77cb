#include "records/record_json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "records/constants.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

constexpr uint64_t kUInt64Max = std::numeric_limits<uint64_t>::max();

// Every section filled, one list empty, with a user name that must stay in memory and counters
// at the top of their range.
SystemMetrics fullSample() {
    SystemMetrics m = testing::realisticSample(Date(1795360530s), 1);
    m.processes->topCPU->front().user = "alice";
    m.processes->topMemory->clear();  // an empty list is still a list
    m.processes->topNetwork->front().bytesIn = kUInt64Max;
    m.gpu->inUseMemoryBytes = kUInt64Max;
    m.gpu->topGPU = {{.pid = 9, .name = "Xorg", .accumulatedGPUTimeNs = 1}};
    return m;
}

std::string encoded(const auto& record) {
    auto line = encodeJson(record);
    EXPECT_TRUE(line) << line.error().message();
    return line ? *line : std::string();
}

template <class Record>
void expectRoundTrip(const std::string& line, const Record& expected) {
    auto decoded = decodeJson<Record>(line);
    ASSERT_TRUE(decoded) << decoded.error().message();
    EXPECT_EQ(*decoded, expected);
}

TEST(RecordJson, EveryLineKindRoundTrips) {
    const SystemMetrics sample = fullSample();
    SystemMetrics expected = sample;
    expected.processes->topCPU->front().user.reset();  // held in memory only
    expectRoundTrip(encoded(sample), expected);

    WatchedProcessEvent watched = testing::realisticWatchedEvent(Date(1795360530s), 1);
    watched.watched.networkBytesIn = kUInt64Max;
    watched.watched.pids = {1, 2, 3};
    const std::string watchedLine = encoded(watched);
    EXPECT_EQ(watchedLine.find("pids"), std::string::npos);
    watched.watched.pids.clear();
    expectRoundTrip(watchedLine, watched);

    AlertEvent alert = testing::realisticAlertEvent(Date(1795341605s));
    alert.hostname = "h";
    const std::string alertLine = encoded(alert);
    EXPECT_EQ(alertLine.rfind("{\"timestamp\":\"2026-11-22T10:00:05Z\",\"hostname\":\"h\","
                              "\"eventType\":\"alert\",\"alert\":{\"type\":\"cpu_high\"",
                              0),
              0u)
        << alertLine;
    expectRoundTrip(alertLine, alert);

    MonitorConfig config;
    config.watchedProcesses = {"Slack", "zoom.us"};
    config.logLevel = LogLevel::debug;
    expectRoundTrip(encoded(config), config);
}

TEST(RecordJson, WritesKeysInTableOrderWithoutSpacesOrAbsentFields) {
    SystemMetrics sample{.timestamp = "t", .hostname = "h"};
    sample.cpu = CPUMetrics{.loadAverage1m = 0.1,
                            .loadAverage5m = 12.30,
                            .loadAverage15m = 100,
                            .cpuCount = 2,
                            .loadPercent = 5,
                            .idlePercent = 99.9};
    EXPECT_EQ(encoded(sample),
              "{\"timestamp\":\"t\",\"hostname\":\"h\",\"cpu\":{\"load_1m\":0.1,\"load_5m\":12.3,"
              "\"load_15m\":100,\"cpu_count\":2,\"load_percent\":5,\"cpu_idle\":99.9}}");

    // A line with only the two required keys comes back as itself.
    const std::string bare = "{\"timestamp\":\"t\",\"hostname\":\"h\"}";
    auto decoded = decodeJson<SystemMetrics>(bare);
    ASSERT_TRUE(decoded);
    EXPECT_FALSE(decoded->cpu || decoded->memory || decoded->disk || decoded->network ||
                 decoded->processes || decoded->power || decoded->gpu || decoded->system);
    EXPECT_EQ(encoded(*decoded), bare);

    ProcessMetrics empty{.topCPU = std::vector<ProcessMetricInfo>{}};
    EXPECT_EQ(encoded(empty), "{\"top_cpu_processes\":[]}");
}

TEST(RecordJson, EscapesStringsAndReadsBothSlashForms) {
    SystemMetrics sample{.timestamp = "t", .hostname = "a/b \"q\" \\ \n\t\x01 é"};
    EXPECT_EQ(encoded(sample),
              "{\"timestamp\":\"t\",\"hostname\":"
              "\"a\\/b \\\"q\\\" \\\\ \\n\\t\\u0001 é\"}");
    EXPECT_EQ(decodeJson<SystemMetrics>(encoded(sample))->hostname, sample.hostname);
    EXPECT_EQ(decodeJson<SystemMetrics>("{\"timestamp\":\"t\",\"hostname\":\"a/b\"}")->hostname,
              "a/b");

    // A process name with bytes that are not UTF-8 still gives a line that reads back.
    sample.hostname = std::string("bad\xff\xc3(name");
    const std::string line = encoded(sample);
    auto decoded = decodeJson<SystemMetrics>(line);
    ASSERT_TRUE(decoded) << line;
    EXPECT_EQ(decoded->hostname, "bad\xEF\xBF\xBD\xEF\xBF\xBD(name");
}

TEST(RecordJson, NonFiniteNumberFailsTheWholeRecordAndLeavesTheBufferAlone) {
    for (double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                       -std::numeric_limits<double>::infinity()}) {
        SystemMetrics sample = fullSample();
        sample.processes->topDisk->front().writeBytesPerSec = bad;
        std::string out = "previous line\n";
        auto result = appendJson(out, sample);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, JsonError::Kind::nonFiniteNumber);
        EXPECT_EQ(out, "previous line\n");
    }
}

TEST(RecordJson, DecodingRulesForMissingNullUnknownAndMistypedKeys) {
    const auto decode = [](const std::string& cpu) {
        return decodeJson<SystemMetrics>("{\"timestamp\":\"t\",\"hostname\":\"h\",\"cpu\":{" + cpu +
                                         "}}");
    };
    const std::string firstFour = "\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4";
    const std::string required = firstFour + ",\"load_percent\":25";

    // All required keys, an integer where a double stands, no cpu_user: fine.
    auto ok = decode(required);
    ASSERT_TRUE(ok) << ok.error().message();
    EXPECT_EQ(ok->cpu->loadAverage1m, 1.0);
    EXPECT_FALSE(ok->cpu->userPercent);

    // A required key missing fails the whole line and names the key.
    auto missing = decode(firstFour);
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, JsonError::Kind::missingKey);
    EXPECT_EQ(missing.error().key, "load_percent");

    // null is absent: fine for an optional, a missing key for a required one.
    auto nullOptional = decode(required + ",\"cpu_user\":null,\"thermal_state\":null");
    ASSERT_TRUE(nullOptional);
    EXPECT_FALSE(nullOptional->cpu->userPercent);
    EXPECT_FALSE(nullOptional->cpu->thermalState);
    EXPECT_FALSE(decode(firstFour + ",\"load_percent\":null"));

    // Unknown keys of any shape are skipped, in any order.
    auto unknown = decode("\"extra\":{\"a\":[1,{\"b\":null}]},\"cpu_user\":7.5," + required +
                          ",\"more\":\"x\"");
    ASSERT_TRUE(unknown) << unknown.error().message();
    EXPECT_EQ(unknown->cpu->userPercent, 7.5);

    // A value of the wrong type fails, as do a fraction in an integer field and a log level
    // outside 0 to 3.
    auto wrong = decode(required + ",\"thermal_level\":\"high\"");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().kind, JsonError::Kind::wrongType);
    EXPECT_EQ(wrong.error().key, "thermal_level");
    EXPECT_FALSE(
        decode("\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4.5,"
               "\"load_percent\":25"));
    std::string config = encoded(MonitorConfig{});
    config.replace(config.find("\"logLevel\":2"), 12, "\"logLevel\":4");
    EXPECT_FALSE(decodeJson<MonitorConfig>(config));

    // Not an object, cut short, trailing text: invalid.
    for (const char* bad : {"[1,2]", "{\"timestamp\":\"t\",\"hostname\":\"h\"",
                            "{\"timestamp\":\"t\",\"hostname\":\"h\"} x", ""}) {
        EXPECT_FALSE(decodeJson<SystemMetrics>(bad)) << bad;
    }
}

TEST(RecordJson, UnsignedCountersKeepTheirFullRange) {
    ProcessNetworkInfo info{
        .pid = 1, .name = "n", .bytesIn = kUInt64Max, .bytesOut = 9223372036854775808ULL};
    const std::string line = encoded(info);
    EXPECT_EQ(line,
              "{\"pid\":1,\"name\":\"n\",\"bytes_in\":18446744073709551615,"
              "\"bytes_out\":9223372036854775808}");
    EXPECT_EQ(*decodeJson<ProcessNetworkInfo>(line), info);
    EXPECT_FALSE(decodeJson<ProcessNetworkInfo>(
        "{\"pid\":1,\"name\":\"n\",\"bytes_in\":-1,\"bytes_out\":0}"));
}

TEST(RecordJson, AlertNeedsAnInternetDateWithoutFractions) {
    const std::string body =
        ",\"hostname\":\"h\",\"eventType\":\"alert\",\"alert\":{\"type\":"
        "\"cpu_high\",\"message\":\"m\",\"value\":\"v\"}}";
    EXPECT_TRUE(decodeJson<AlertEvent>("{\"timestamp\":\"2026-11-22T10:00:05Z\"" + body));
    EXPECT_TRUE(decodeJson<AlertEvent>("{\"timestamp\":\"2026-11-22T05:00:05-05:00\"" + body));
    EXPECT_FALSE(decodeJson<AlertEvent>("{\"timestamp\":\"2026-11-22T10:00:05.123Z\"" + body));
    EXPECT_FALSE(decodeJson<AlertEvent>("{\"timestamp\":\"yesterday\"" + body));
}

TEST(RecordJson, EventLinesAreToldApartByTheirKeys) {
    EXPECT_TRUE(isEventLine(encoded(AlertEvent{.hostname = "h"})));
    EXPECT_TRUE(isEventLine(encoded(WatchedProcessEvent{.timestamp = "t", .hostname = "h"})));
    EXPECT_FALSE(isEventLine(encoded(fullSample())));
    // The key test needs the quotes: a process named event_type is still a sample.
    SystemMetrics sample{.timestamp = "t", .hostname = "eventType event_type"};
    EXPECT_FALSE(isEventLine(encoded(sample)));
}

}  // namespace
}  // namespace ostrel
