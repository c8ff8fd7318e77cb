#include "records/record_json.h"

#include "records/json_codec.h"

namespace ostrel {
namespace json {

// One table per record: the JSON key of each field, in the order lines are written. A field
// of optional type is optional in JSON; every other field is required. Members that never
// reach JSON (ProcessMetricInfo::user, WatchedProcessMetrics::pids) have no row.

template <>
struct Table<CPUMetrics> {
    using R = CPUMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::loadAverage1m>("load_1m"),
        field<&R::loadAverage5m>("load_5m"),
        field<&R::loadAverage15m>("load_15m"),
        field<&R::cpuCount>("cpu_count"),
        field<&R::loadPercent>("load_percent"),
        field<&R::userPercent>("cpu_user"),
        field<&R::systemPercent>("cpu_sys"),
        field<&R::idlePercent>("cpu_idle"),
        field<&R::thermalThrottle>("thermal_throttle"),
        field<&R::thermalState>("thermal_state"),
        field<&R::thermalLevel>("thermal_level"),
    };
};

template <>
struct Table<MemoryMetrics> {
    using R = MemoryMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::totalMB>("mem_total_mb"),
        field<&R::freeMB>("mem_free_mb"),
        field<&R::activeMB>("mem_active_mb"),
        field<&R::inactiveMB>("mem_inactive_mb"),
        field<&R::wiredMB>("mem_wired_mb"),
        field<&R::compressedMB>("mem_compressed_mb"),
        field<&R::pressureLevel>("memory_pressure_level"),
        field<&R::pressureString>("memory_pressure"),
        field<&R::pageIns>("pageins"),
        field<&R::pageOuts>("pageouts"),
        field<&R::swapIns>("swapins"),
        field<&R::swapOuts>("swapouts"),
        field<&R::swapTotalMB>("swap_total_mb"),
        field<&R::swapUsedMB>("swap_used_mb"),
        field<&R::swapFreeMB>("swap_free_mb"),
    };
};

template <>
struct Table<DiskMetrics> {
    using R = DiskMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::totalGB>("disk_total_gb"),
        field<&R::usedGB>("disk_used_gb"),
        field<&R::freeGB>("disk_free_gb"),
        field<&R::percentUsed>("disk_percent_used"),
        field<&R::readKBPerSec>("disk_kb_read_sec"),
        field<&R::writeKBPerSec>("disk_kb_write_sec"),
        field<&R::transfersPerSec>("disk_transfers_sec"),
    };
};

template <>
struct Table<NetworkMetrics> {
    using R = NetworkMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::interface>("interface"),
        field<&R::packetsIn>("net_packets_in"),
        field<&R::packetsOut>("net_packets_out"),
        field<&R::bytesIn>("net_bytes_in"),
        field<&R::bytesOut>("net_bytes_out"),
        field<&R::errorsIn>("net_errors_in"),
        field<&R::errorsOut>("net_errors_out"),
        field<&R::internetConnected>("internet_connected"),
    };
};

template <>
struct Table<ProcessMetricInfo> {
    using R = ProcessMetricInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pid>("pid"),
        field<&R::ppid>("ppid"),
        field<&R::name>("name"),
        field<&R::cpuPercent>("cpu_percent"),
        field<&R::memoryMB>("memory_mb"),
    };
};

template <>
struct Table<ProcessNetworkInfo> {
    using R = ProcessNetworkInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pid>("pid"),
        field<&R::name>("name"),
        field<&R::bytesIn>("bytes_in"),
        field<&R::bytesOut>("bytes_out"),
    };
};

template <>
struct Table<ProcessDiskInfo> {
    using R = ProcessDiskInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pid>("pid"),
        field<&R::name>("name"),
        field<&R::readBytesPerSec>("read_bytes_per_sec"),
        field<&R::writeBytesPerSec>("write_bytes_per_sec"),
    };
};

template <>
struct Table<ProcessMetrics> {
    using R = ProcessMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::topCPU>("top_cpu_processes"),     field<&R::topMemory>("top_mem_processes"),
        field<&R::topNetwork>("top_net_processes"), field<&R::topDisk>("top_disk_processes"),
        field<&R::processCount>("process_count"),
    };
};

template <>
struct Table<PowerMetrics> {
    using R = PowerMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::onBattery>("on_battery"),
        field<&R::onAC>("on_ac"),
        field<&R::batteryPercent>("battery_percent"),
        field<&R::batteryState>("battery_state"),
        field<&R::preventSleepAssertions>("prevent_sleep_assertions"),
    };
};

template <>
struct Table<GPUProcessInfo> {
    using R = GPUProcessInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pid>("pid"),
        field<&R::name>("name"),
        field<&R::accumulatedGPUTimeNs>("gpu_time_ns"),
    };
};

template <>
struct Table<GPUMetrics> {
    using R = GPUMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::model>("gpu_model"),
        field<&R::coreCount>("gpu_core_count"),
        field<&R::deviceUtilization>("gpu_utilization_percent"),
        field<&R::rendererUtilization>("gpu_renderer_percent"),
        field<&R::tilerUtilization>("gpu_tiler_percent"),
        field<&R::inUseMemoryBytes>("gpu_memory_in_use_bytes"),
        field<&R::allocatedMemoryBytes>("gpu_memory_allocated_bytes"),
        field<&R::topGPU>("top_gpu_processes"),
    };
};

template <>
struct Table<SystemInfo> {
    using R = SystemInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::uptimeSeconds>("uptime_seconds"),
        field<&R::uptimeHours>("uptime_hours"),
        field<&R::macOSVersion>("macos_version"),
        field<&R::hardwareModel>("hardware_model"),
        field<&R::cpuBrand>("cpu_brand"),
        field<&R::consoleUser>("console_user"),
        field<&R::performanceCores>("performance_cores"),
        field<&R::efficiencyCores>("efficiency_cores"),
        field<&R::gpuCores>("gpu_cores"),
        field<&R::chipDescription>("chip_description"),
    };
};

template <>
struct Table<SystemMetrics> {
    using R = SystemMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::timestamp>("timestamp"),
        field<&R::hostname>("hostname"),
        field<&R::cpu>("cpu"),
        field<&R::memory>("memory"),
        field<&R::disk>("disk"),
        field<&R::network>("network"),
        field<&R::processes>("processes"),
        field<&R::power>("power"),
        field<&R::gpu>("gpu"),
        field<&R::system>("system"),
    };
};

template <>
struct Table<WatchedProcessMetrics> {
    using R = WatchedProcessMetrics;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pattern>("process_pattern"),
        field<&R::processCount>("process_count"),
        field<&R::cpuPercent>("cpu_percent"),
        field<&R::memoryMB>("memory_mb"),
        field<&R::networkBytesIn>("network_bytes_in"),
        field<&R::networkBytesOut>("network_bytes_out"),
        field<&R::diskReadBytesPerSec>("disk_read_bytes_per_sec"),
        field<&R::diskWriteBytesPerSec>("disk_write_bytes_per_sec"),
    };
};

template <>
struct Table<WatchedProcessEvent> {
    using R = WatchedProcessEvent;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::eventType>("event_type"),
        field<&R::timestamp>("timestamp"),
        field<&R::hostname>("hostname"),
        field<&R::watched>("watched"),
    };
};

template <>
struct Table<AlertProcessInfo> {
    using R = AlertProcessInfo;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::pid>("pid"),
        field<&R::name>("name"),
        field<&R::cpuPercent>("cpuPercent"),
        field<&R::memoryMB>("memoryMB"),
    };
};

template <>
struct Table<AlertDetails> {
    using R = AlertDetails;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::type>("type"),
        field<&R::message>("message"),
        field<&R::value>("value"),
        field<&R::threshold>("threshold"),
        field<&R::topCPUProcesses>("topCPUProcesses"),
        field<&R::topMemoryProcesses>("topMemoryProcesses"),
    };
};

template <>
struct Table<AlertEvent> {
    using R = AlertEvent;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::timestamp>("timestamp"),
        field<&R::hostname>("hostname"),
        field<&R::eventType>("eventType"),
        field<&R::alert>("alert"),
    };
};

template <>
struct Table<MonitorConfig> {
    using R = MonitorConfig;
    static constexpr FieldCodec<R> fields[] = {
        field<&R::intervalSeconds>("intervalSeconds"),
        field<&R::autoStart>("autoStart"),
        field<&R::captureDurationMinutes>("captureDurationMinutes"),
        field<&R::headlessMode>("headlessMode"),
        field<&R::minimalUI>("minimalUI"),
        field<&R::logLevel>("logLevel"),
        field<&R::collectCPU>("collectCPU"),
        field<&R::collectMemory>("collectMemory"),
        field<&R::collectDisk>("collectDisk"),
        field<&R::collectNetwork>("collectNetwork"),
        field<&R::collectProcesses>("collectProcesses"),
        field<&R::aggregateProcesses>("aggregateProcesses"),
        field<&R::showPIDsInUI>("showPIDsInUI"),
        field<&R::collectPower>("collectPower"),
        field<&R::collectGPU>("collectGPU"),
        field<&R::collectSystem>("collectSystem"),
        field<&R::storageEnabled>("storageEnabled"),
        field<&R::maxStorageMB>("maxStorageMB"),
        field<&R::retentionDays>("retentionDays"),
        field<&R::rotationPolicy>("rotationPolicy"),
        field<&R::uploadEnabled>("uploadEnabled"),
        field<&R::hecEndpoint>("hecEndpoint"),
        field<&R::hecToken>("hecToken"),
        field<&R::splunkIndex>("splunkIndex"),
        field<&R::sourcetype>("sourcetype"),
        field<&R::verifySSL>("verifySSL"),
        field<&R::uploadIntervalMinutes>("uploadIntervalMinutes"),
        field<&R::alertsEnabled>("alertsEnabled"),
        field<&R::alertInBackground>("alertInBackground"),
        field<&R::alertCPUThreshold>("alertCPUThreshold"),
        field<&R::alertSustainedSeconds>("alertSustainedSeconds"),
        field<&R::alertMemoryPressureLevel>("alertMemoryPressureLevel"),
        field<&R::alertMemorySustainedSeconds>("alertMemorySustainedSeconds"),
        field<&R::alertCooldownMinutes>("alertCooldownMinutes"),
        field<&R::alertShowNotification>("alertShowNotification"),
        field<&R::alertLogEvents>("alertLogEvents"),
        field<&R::alertCPUNotificationTitle>("alertCPUNotificationTitle"),
        field<&R::alertCPUNotificationBody>("alertCPUNotificationBody"),
        field<&R::alertMemoryNotificationTitle>("alertMemoryNotificationTitle"),
        field<&R::alertMemoryNotificationBody>("alertMemoryNotificationBody"),
        field<&R::watchedProcesses>("watchedProcesses"),
    };
};

// A line is one object: after trailing blanks it must end where the object ends.
bool endsWithObject(std::string_view text) {
    const auto last = text.find_last_not_of(" \t\r\n");
    return last != std::string_view::npos && text[last] == '}';
}

}  // namespace json

std::string JsonError::message() const {
    const std::string suffix = key.empty() ? "" : " \"" + key + "\"";
    switch (kind) {
        case Kind::invalidJson:
            return "invalid JSON" + suffix;
        case Kind::wrongType:
            return "wrong type for key" + suffix;
        case Kind::missingKey:
            return "missing key" + suffix;
        case Kind::nonFiniteNumber:
            return "a number is not finite" + suffix;
    }
    return "invalid JSON";
}

template <class Record>
tl::expected<void, JsonError> appendJson(std::string& out, const Record& record) {
    const size_t mark = out.size();
    JsonWriter writer(out);
    if (!json::writeObject(writer, record)) {
        out.resize(mark);
        return tl::unexpected(JsonError{JsonError::Kind::nonFiniteNumber, {}});
    }
    return {};
}

template <class Record>
tl::expected<Record, JsonError> decodeJson(std::string_view text) {
    // One parser and one padded copy per thread: simdjson reads past the end of its input.
    thread_local simdjson::ondemand::parser parser;
    thread_local std::string padded;
    const auto invalid = [] { return tl::unexpected(JsonError{JsonError::Kind::invalidJson, {}}); };
    if (!json::endsWithObject(text)) return invalid();

    padded.assign(text);
    padded.resize(text.size() + simdjson::SIMDJSON_PADDING);
    simdjson::ondemand::document document;
    if (parser.iterate(padded.data(), text.size(), padded.size()).get(document)) return invalid();
    simdjson::ondemand::object object;
    if (auto error = document.get_object().get(object)) {
        return tl::unexpected(JsonError{error == simdjson::INCORRECT_TYPE
                                            ? JsonError::Kind::wrongType
                                            : JsonError::Kind::invalidJson,
                                        {}});
    }
    Record record{};
    if (auto failure = json::readObject(object, record)) {
        return tl::unexpected(JsonError{failure->kind, std::string(failure->key)});
    }
    return record;
}

#define OSTREL_JSON_RECORD(Record)                                                          \
    template tl::expected<void, JsonError> appendJson<Record>(std::string&, const Record&); \
    template tl::expected<Record, JsonError> decodeJson<Record>(std::string_view);

OSTREL_JSON_RECORD(SystemMetrics)
OSTREL_JSON_RECORD(CPUMetrics)
OSTREL_JSON_RECORD(MemoryMetrics)
OSTREL_JSON_RECORD(DiskMetrics)
OSTREL_JSON_RECORD(NetworkMetrics)
OSTREL_JSON_RECORD(ProcessMetrics)
OSTREL_JSON_RECORD(ProcessMetricInfo)
OSTREL_JSON_RECORD(ProcessNetworkInfo)
OSTREL_JSON_RECORD(ProcessDiskInfo)
OSTREL_JSON_RECORD(PowerMetrics)
OSTREL_JSON_RECORD(GPUMetrics)
OSTREL_JSON_RECORD(SystemInfo)
OSTREL_JSON_RECORD(WatchedProcessEvent)
OSTREL_JSON_RECORD(WatchedProcessMetrics)
OSTREL_JSON_RECORD(AlertEvent)
OSTREL_JSON_RECORD(AlertDetails)
OSTREL_JSON_RECORD(MonitorConfig)

}  // namespace ostrel
