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

std::string encoded(const auto& record) {
    auto line = encodeJson(record);
    EXPECT_TRUE(line) << line.error().message();
    return line ? *line : std::string();
}

// A golden line is written by hand from the record tables: every key of the record, in table
// order. Encoding must give it byte for byte and decoding must give the record back, so a key
// misspelled in the one table that drives both directions is caught.
template <class Record>
void expectGoldenLine(const Record& record, const std::string& golden, const Record& decoded) {
    EXPECT_EQ(encoded(record), golden);
    auto back = decodeJson<Record>(golden);
    ASSERT_TRUE(back) << back.error().message();
    EXPECT_EQ(*back, decoded);
}

// Every section, every field and every list of a sample, with counters at the top of their
// range and a slash to escape.
SystemMetrics everyFieldSample() {
    return SystemMetrics{
        .timestamp = "2026-11-22T11:00:05.123+01:00",
        .hostname = "host-1",
        .cpu = CPUMetrics{.loadAverage1m = 1.25,
                          .loadAverage5m = 0.5,
                          .loadAverage15m = 0.25,
                          .cpuCount = 2,
                          .loadPercent = 62.5,
                          .userPercent = 12.3,
                          .systemPercent = 4.5,
                          .idlePercent = 83.2,
                          .thermalThrottle = false,
                          .thermalState = "nominal",
                          .thermalLevel = 0},
        .memory = MemoryMetrics{.totalMB = 24105.5703125,
                                .freeMB = 20650.4,
                                .activeMB = 612.7,
                                .inactiveMB = 2426.8,
                                .wiredMB = 58.9,
                                .compressedMB = 0,
                                .pressureLevel = 1,
                                .pressureString = "normal",
                                .pageIns = 1234,
                                .pageOuts = 5678,
                                .swapIns = 3,
                                .swapOuts = 4,
                                .swapTotalMB = 8192,
                                .swapUsedMB = 10.5,
                                .swapFreeMB = 8181.5},
        .disk = DiskMetrics{.totalGB = 270.6,
                            .usedGB = 18.5,
                            .freeGB = 84.3,
                            .percentUsed = 18,
                            .readKBPerSec = 12.5,
                            .writeKBPerSec = 256.1,
                            .transfersPerSec = 67.2},
        .network = NetworkMetrics{.interface = "eth0",
                                  .packetsIn = 1000,
                                  .packetsOut = 900,
                                  .bytesIn = 123456789,
                                  .bytesOut = 98765,
                                  .errorsIn = 0,
                                  .errorsOut = 1,
                                  .internetConnected = true},
        .processes =
            ProcessMetrics{
                .topCPU = {{{.pid = 4242,
                             .ppid = 1,
                             .name = "stress-ng",
                             .cpuPercent = 99.5,
                             .memoryMB = 3.2,
                             .user = "alice"}}},
                .topMemory = {{{.pid = 1, .ppid = 0, .name = "systemd", .memoryMB = 12.5}}},
                .topNetwork =
                    {{{.pid = 77, .name = "curl", .bytesIn = kUInt64Max, .bytesOut = 4096}}},
                .topDisk = {{{.pid = 88,
                              .name = "dd",
                              .readBytesPerSec = 0,
                              .writeBytesPerSec = 1048576.5}}},
                .processCount = 87},
        .power = PowerMetrics{.onBattery = false,
                              .onAC = true,
                              .batteryPercent = 80,
                              .batteryState = "charging",
                              .preventSleepAssertions = 2},
        .gpu =
            GPUMetrics{.model = "Virtio GPU",
                       .coreCount = 8,
                       .deviceUtilization = 35,
                       .rendererUtilization = 30,
                       .tilerUtilization = 5,
                       .inUseMemoryBytes = 9223372036854775808ULL,
                       .allocatedMemoryBytes = 1073741824,
                       .topGPU = {{{.pid = 9, .name = "Xorg", .accumulatedGPUTimeNs = 1500000}}}},
        .system = SystemInfo{.uptimeSeconds = 3600,
                             .uptimeHours = 1,
                             .macOSVersion = "6.1.0",
                             .hardwareModel = "KVM/QEMU",
                             .cpuBrand = "AMD EPYC",
                             .consoleUser = "alice",
                             .performanceCores = 2,
                             .efficiencyCores = 0,
                             .gpuCores = 8,
                             .chipDescription = "AMD EPYC, 2 cores"},
    };
}

TEST(RecordJson, SampleLineCarriesEveryKeyOfItsTables) {
    const std::string golden =
        R"({"timestamp":"2026-11-22T11:00:05.123+01:00","hostname":"host-1",)"
        R"("cpu":{"load_1m":1.25,"load_5m":0.5,"load_15m":0.25,"cpu_count":2,"load_percent":62.5,)"
        R"("cpu_user":12.3,"cpu_sys":4.5,"cpu_idle":83.2,"thermal_throttle":false,)"
        R"("thermal_state":"nominal","thermal_level":0},)"
        R"("memory":{"mem_total_mb":24105.5703125,"mem_free_mb":20650.4,"mem_active_mb":612.7,)"
        R"("mem_inactive_mb":2426.8,"mem_wired_mb":58.9,"mem_compressed_mb":0,)"
        R"("memory_pressure_level":1,"memory_pressure":"normal","pageins":1234,"pageouts":5678,)"
        R"("swapins":3,"swapouts":4,"swap_total_mb":8192,"swap_used_mb":10.5,)"
        R"("swap_free_mb":8181.5},)"
        R"("disk":{"disk_total_gb":270.6,"disk_used_gb":18.5,"disk_free_gb":84.3,)"
        R"("disk_percent_used":18,"disk_kb_read_sec":12.5,"disk_kb_write_sec":256.1,)"
        R"("disk_transfers_sec":67.2},)"
        R"("network":{"interface":"eth0","net_packets_in":1000,"net_packets_out":900,)"
        R"("net_bytes_in":123456789,"net_bytes_out":98765,"net_errors_in":0,"net_errors_out":1,)"
        R"("internet_connected":true},)"
        R"("processes":{"top_cpu_processes":[{"pid":4242,"ppid":1,"name":"stress-ng",)"
        R"("cpu_percent":99.5,"memory_mb":3.2}],)"
        R"("top_mem_processes":[{"pid":1,"ppid":0,"name":"systemd","memory_mb":12.5}],)"
        R"("top_net_processes":[{"pid":77,"name":"curl","bytes_in":18446744073709551615,)"
        R"("bytes_out":4096}],)"
        R"("top_disk_processes":[{"pid":88,"name":"dd","read_bytes_per_sec":0,)"
        R"("write_bytes_per_sec":1048576.5}],"process_count":87},)"
        R"("power":{"on_battery":false,"on_ac":true,"battery_percent":80,)"
        R"("battery_state":"charging","prevent_sleep_assertions":2},)"
        R"("gpu":{"gpu_model":"Virtio GPU","gpu_core_count":8,"gpu_utilization_percent":35,)"
        R"("gpu_renderer_percent":30,"gpu_tiler_percent":5,)"
        R"("gpu_memory_in_use_bytes":9223372036854775808,)"
        R"("gpu_memory_allocated_bytes":1073741824,)"
        R"("top_gpu_processes":[{"pid":9,"name":"Xorg","gpu_time_ns":1500000}]},)"
        R"("system":{"uptime_seconds":3600,"uptime_hours":1,"macos_version":"6.1.0",)"
        R"("hardware_model":"KVM\/QEMU","cpu_brand":"AMD EPYC","console_user":"alice",)"
        R"("performance_cores":2,"efficiency_cores":0,"gpu_cores":8,)"
        R"("chip_description":"AMD EPYC, 2 cores"}})";
    const SystemMetrics sample = everyFieldSample();
    SystemMetrics decoded = sample;
    decoded.processes->topCPU->front().user.reset();  // held in memory only
    expectGoldenLine(sample, golden, decoded);
}

TEST(RecordJson, WatchedProcessLineCarriesEveryKeyOfItsTables) {
    const WatchedProcessEvent event{.timestamp = "2026-11-22T10:00:05.123Z",
                                    .hostname = "host-1",
                                    .watched = {.pattern = "ostrel",
                                                .processCount = 2,
                                                .cpuPercent = 1.5,
                                                .memoryMB = 40.2,
                                                .networkBytesIn = kUInt64Max,
                                                .networkBytesOut = 7,
                                                .diskReadBytesPerSec = 0.5,
                                                .diskWriteBytesPerSec = 2048,
                                                .pids = {1, 2}}};
    WatchedProcessEvent decoded = event;
    decoded.watched.pids.clear();  // held in memory only
    expectGoldenLine(
        event,
        R"({"event_type":"watched_process","timestamp":"2026-11-22T10:00:05.123Z",)"
        R"("hostname":"host-1","watched":{"process_pattern":"ostrel","process_count":2,)"
        R"("cpu_percent":1.5,"memory_mb":40.2,"network_bytes_in":18446744073709551615,)"
        R"("network_bytes_out":7,"disk_read_bytes_per_sec":0.5,"disk_write_bytes_per_sec":2048}})",
        decoded);
}

TEST(RecordJson, AlertLineCarriesEveryKeyOfItsTables) {
    const AlertEvent alert{
        .timestamp = Date(1795341605s),
        .hostname = "host-1",
        .alert = {.type = "cpu_high",
                  .message = "CPU usage is 95.0%",
                  .value = "95.0%",
                  .threshold = "90%",
                  .topCPUProcesses =
                      {{{.pid = 4242, .name = "stress-ng", .cpuPercent = 99.5, .memoryMB = 3.2}}},
                  .topMemoryProcesses = {{{.pid = 1, .name = "systemd", .memoryMB = 12.5}}}}};
    expectGoldenLine(
        alert,
        R"({"timestamp":"2026-11-22T10:00:05Z","hostname":"host-1","eventType":"alert",)"
        R"("alert":{"type":"cpu_high","message":"CPU usage is 95.0%","value":"95.0%",)"
        R"("threshold":"90%","topCPUProcesses":[{"pid":4242,"name":"stress-ng",)"
        R"("cpuPercent":99.5,"memoryMB":3.2}],)"
        R"("topMemoryProcesses":[{"pid":1,"name":"systemd","memoryMB":12.5}]}})",
        alert);

    // The settings record reads back as itself.
    MonitorConfig config;
    config.watchedProcesses = {"Slack", "zoom.us"};
    config.logLevel = LogLevel::debug;
    auto back = decodeJson<MonitorConfig>(encoded(config));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, config);
}

TEST(RecordJson, ALineWithOnlyTheRequiredKeysComesBackAsItselfAndEmptyListsStay) {
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
        SystemMetrics sample = everyFieldSample();
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
    EXPECT_FALSE(decodeJson<ProcessNetworkInfo>(
        "{\"pid\":1,\"name\":\"n\",\"bytes_in\":-1,\"bytes_out\":0}"));
    std::string config = encoded(MonitorConfig{});
    config.replace(config.find("\"logLevel\":2"), 12, "\"logLevel\":4");
    EXPECT_FALSE(decodeJson<MonitorConfig>(config));

    // Not an object, cut short, trailing text: invalid.
    for (const char* bad : {"[1,2]", "{\"timestamp\":\"t\",\"hostname\":\"h\"",
                            "{\"timestamp\":\"t\",\"hostname\":\"h\"} x", ""}) {
        EXPECT_FALSE(decodeJson<SystemMetrics>(bad)) << bad;
    }
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
    EXPECT_FALSE(isEventLine(encoded(everyFieldSample())));
    // The key test needs the quotes: a process named event_type is still a sample.
    SystemMetrics sample{.timestamp = "t", .hostname = "eventType event_type"};
    EXPECT_FALSE(isEventLine(encoded(sample)));
}

}  // namespace
}  // namespace ostrel
