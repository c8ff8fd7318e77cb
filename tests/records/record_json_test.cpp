#include "records/record_json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "records/constants.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

SystemMetrics fullSample() {
    SystemMetrics m;
    m.timestamp = "2026-11-22T10:15:30.123-05:00";
    m.hostname = "build/host";
    m.cpu = CPUMetrics{.loadAverage1m = 1.25,
                       .loadAverage5m = 0.5,
                       .loadAverage15m = 2,
                       .cpuCount = 8,
                       .loadPercent = 15.6,
                       .userPercent = 12.3,
                       .systemPercent = 4.5,
                       .idlePercent = 83.2,
                       .thermalThrottle = false,
                       .thermalState = "nominal",
                       .thermalLevel = 0};
    m.memory = MemoryMetrics{.totalMB = 16384,
                             .freeMB = 1024.5,
                             .pressureLevel = 1,
                             .pressureString = "normal",
                             .pageIns = 123456789};
    m.disk = DiskMetrics{.totalGB = 500.1, .percentUsed = 42, .readKBPerSec = 0.1};
    m.network =
        NetworkMetrics{.interface = "eth0", .bytesIn = 4294967295, .internetConnected = true};
    m.processes = ProcessMetrics{
        .topCPU = std::vector<ProcessMetricInfo>{{.pid = 42,
                                                  .ppid = 1,
                                                  .name = "Safari",
                                                  .cpuPercent = 99.9,
                                                  .memoryMB = 512.25,
                                                  .user = "alice"}},
        .topMemory = std::vector<ProcessMetricInfo>{},
        .topNetwork =
            std::vector<ProcessNetworkInfo>{{.pid = 7,
                                             .name = "curl",
                                             .bytesIn = std::numeric_limits<uint64_t>::max(),
                                             .bytesOut = 1}},
        .topDisk =
            std::vector<ProcessDiskInfo>{
                {.pid = 8, .name = "dd", .readBytesPerSec = 1e9, .writeBytesPerSec = 0}},
        .processCount = 75};
    m.power = PowerMetrics{.onBattery = false, .onAC = true, .batteryState = "charged"};
    m.gpu = GPUMetrics{.model = "Virtio GPU",
                       .inUseMemoryBytes = 18446744073709551615ULL,
                       .topGPU = std::vector<GPUProcessInfo>{
                           {.pid = 9, .name = "WindowServer", .accumulatedGPUTimeNs = 1}}};
    m.system = SystemInfo{.uptimeSeconds = 3600, .uptimeHours = 1, .macOSVersion = "6.1.0"};
    return m;
}

std::string encoded(const auto& record) {
    auto line = encodeJson(record);
    EXPECT_TRUE(line) << line.error().message();
    return line ? *line : std::string();
}

TEST(RecordJson, EveryLineKindRoundTrips) {
    const SystemMetrics sample = fullSample();
    auto decodedSample = decodeJson<SystemMetrics>(encoded(sample));
    ASSERT_TRUE(decodedSample) << decodedSample.error().message();
    SystemMetrics expected = sample;
    expected.processes->topCPU->front().user.reset();  // held in memory only
    EXPECT_EQ(*decodedSample, expected);

    WatchedProcessEvent watched{.timestamp = "2026-11-22T15:15:30.123Z", .hostname = "h"};
    watched.watched = {.pattern = "Slack",
                       .processCount = 3,
                       .cpuPercent = 1.5,
                       .memoryMB = 300.25,
                       .networkBytesIn = 18446744073709551615ULL,
                       .networkBytesOut = 2,
                       .diskReadBytesPerSec = 4096,
                       .diskWriteBytesPerSec = 0.5,
                       .pids = {1, 2, 3}};
    const std::string watchedLine = encoded(watched);
    EXPECT_EQ(watchedLine.find("pids"), std::string::npos);
    auto decodedWatched = decodeJson<WatchedProcessEvent>(watchedLine);
    ASSERT_TRUE(decodedWatched) << decodedWatched.error().message();
    WatchedProcessEvent expectedWatched = watched;
    expectedWatched.watched.pids.clear();
    EXPECT_EQ(*decodedWatched, expectedWatched);

    AlertEvent alert{.timestamp = Date(1795341605s), .hostname = "h"};
    alert.alert = {.type = std::string(Constants::Alerts::cpuHigh),
                   .message = "CPU at 97.0%",
                   .value = "97.0%",
                   .threshold = "90%",
                   .topCPUProcesses = std::vector<AlertProcessInfo>{
                       {.pid = 1, .name = "yes", .cpuPercent = 99.5}}};
    const std::string alertLine = encoded(alert);
    EXPECT_EQ(alertLine.rfind("{\"timestamp\":\"2026-11-22T10:00:05Z\",\"hostname\":\"h\","
                              "\"eventType\":\"alert\",\"alert\":{\"type\":\"cpu_high\"",
                              0),
              0u)
        << alertLine;
    auto decodedAlert = decodeJson<AlertEvent>(alertLine);
    ASSERT_TRUE(decodedAlert) << decodedAlert.error().message();
    EXPECT_EQ(*decodedAlert, alert);

    MonitorConfig config;
    config.watchedProcesses = {"Slack", "zoom.us"};
    config.logLevel = LogLevel::debug;
    auto decodedConfig = decodeJson<MonitorConfig>(encoded(config));
    ASSERT_TRUE(decodedConfig) << decodedConfig.error().message();
    EXPECT_EQ(*decodedConfig, config);
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
    const std::string required =
        "\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4,\"load_percent\":25";

    // All required keys, an integer where a double stands, no cpu_user: fine.
    auto ok = decode(required);
    ASSERT_TRUE(ok) << ok.error().message();
    EXPECT_EQ(ok->cpu->loadAverage1m, 1.0);
    EXPECT_FALSE(ok->cpu->userPercent);

    // A required key missing fails the whole line and names the key.
    auto missing = decode("\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, JsonError::Kind::missingKey);
    EXPECT_EQ(missing.error().key, "load_percent");

    // null is absent: fine for an optional, a missing key for a required one.
    auto nullOptional = decode(required + ",\"cpu_user\":null,\"thermal_state\":null");
    ASSERT_TRUE(nullOptional);
    EXPECT_FALSE(nullOptional->cpu->userPercent);
    EXPECT_FALSE(nullOptional->cpu->thermalState);
    EXPECT_FALSE(
        decode("\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4,"
               "\"load_percent\":null"));

    // Unknown keys of any shape are skipped, in any order.
    auto unknown = decode("\"extra\":{\"a\":[1,{\"b\":null}]},\"cpu_user\":7.5," + required +
                          ",\"more\":\"x\"");
    ASSERT_TRUE(unknown) << unknown.error().message();
    EXPECT_EQ(unknown->cpu->userPercent, 7.5);

    // A value of the wrong type fails, as does a fraction in an integer field.
    auto wrong = decode(required + ",\"thermal_level\":\"high\"");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().kind, JsonError::Kind::wrongType);
    EXPECT_EQ(wrong.error().key, "thermal_level");
    EXPECT_FALSE(
        decode("\"load_1m\":1,\"load_5m\":2,\"load_15m\":3,\"cpu_count\":4.5,"
               "\"load_percent\":25"));

    // Not an object, cut short, trailing text: invalid.
    EXPECT_FALSE(decodeJson<SystemMetrics>("[1,2]"));
    EXPECT_FALSE(decodeJson<SystemMetrics>("{\"timestamp\":\"t\",\"hostname\":\"h\""));
    EXPECT_FALSE(decodeJson<SystemMetrics>("{\"timestamp\":\"t\",\"hostname\":\"h\"} x"));
    EXPECT_FALSE(decodeJson<SystemMetrics>(""));
}

TEST(RecordJson, UnsignedCountersKeepTheirFullRange) {
    ProcessNetworkInfo info{.pid = 1,
                            .name = "n",
                            .bytesIn = 18446744073709551615ULL,
                            .bytesOut = 9223372036854775808ULL};
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

TEST(RecordJson, ConfigMissingOneKeyFailsAndLevelMustBeValid) {
    std::string line = encoded(MonitorConfig{});
    const auto erase = [&](const std::string& fragment) {
        std::string copy = line;
        copy.erase(copy.find(fragment), fragment.size());
        return copy;
    };
    auto missing = decodeJson<MonitorConfig>(erase("\"autoStart\":false,"));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().key, "autoStart");

    std::string badLevel = line;
    badLevel.replace(badLevel.find("\"logLevel\":2"), 12, "\"logLevel\":4");
    EXPECT_FALSE(decodeJson<MonitorConfig>(badLevel));
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
