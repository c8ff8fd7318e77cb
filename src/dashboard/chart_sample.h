#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "records/system_metrics.h"

namespace ostrel {

// The core count a process's CPU share is taken against where no sample tells it.
inline constexpr int64_t kFallbackCpuCores = 8;

// A process row as the dashboard keeps it; an absent figure reads as 0, as every use of it
// takes it.
struct CompactProcess {
    int64_t pid = 0;  // for the tooltips' snapshots
    std::string name;
    double cpuPercent = 0;
    double memoryMB = 0;

    bool operator==(const CompactProcess&) const = default;
};

// One sample as the dashboard holds it for as long as its source is shown: the fields its
// charts, summaries, rankings and tooltips read, and nothing else. A day is tens of thousands of
// samples, so the rest of the record is dropped, process rows shrink to four fields and the
// system facts, constant over a source, are shared between samples.
struct ChartSample {
    struct Cpu {
        int64_t cpuCount = 0;
        std::optional<double> userPercent;
        std::optional<double> systemPercent;
        std::optional<double> idlePercent;
        std::optional<int64_t> thermalLevel;
        std::optional<std::string> thermalState;

        bool operator==(const Cpu&) const = default;
    };
    struct Memory {
        std::optional<double> totalMB;
        std::optional<double> freeMB;
        std::optional<double> activeMB;
        std::optional<double> wiredMB;
        std::optional<double> compressedMB;
        std::optional<double> swapUsedMB;
        std::optional<int64_t> pressureLevel;
        std::optional<std::string> pressureString;

        bool operator==(const Memory&) const = default;
    };
    struct Processes {
        std::optional<std::vector<CompactProcess>> topCPU;
        std::optional<std::vector<CompactProcess>> topMemory;
        std::optional<std::vector<ProcessNetworkInfo>> topNetwork;
        std::optional<std::vector<ProcessDiskInfo>> topDisk;

        bool operator==(const Processes&) const = default;
    };

    std::string timestamp;
    std::string hostname;
    std::optional<Date> date;  // the timestamp parsed once; absent when it does not parse
    std::optional<Cpu> cpu;
    std::optional<Memory> memory;
    std::optional<double> diskReadKBPerSec;
    std::optional<double> diskWriteKBPerSec;
    std::optional<double> diskFreeGB;
    std::optional<int64_t> networkBytesIn;
    std::optional<int64_t> networkBytesOut;
    std::optional<int64_t> gpuDeviceUtilization;
    std::optional<int64_t> gpuRendererUtilization;
    std::optional<int64_t> gpuTilerUtilization;
    std::optional<int64_t> batteryPercent;
    Processes processes;  // lists absent where the sample has no process section
    std::shared_ptr<const SystemInfo> system;

    // Takes the record apart; `sharedSystem`, when equal to the record's system facts, is
    // shared instead of copied.
    static ChartSample from(SystemMetrics&& metrics,
                            const std::shared_ptr<const SystemInfo>& sharedSystem = nullptr);

    bool operator==(const ChartSample& other) const;
};

// Converts records in order, freeing each as it goes, and shares equal system facts.
std::vector<ChartSample> chartSamplesOf(std::vector<SystemMetrics>&& records);

// The samples of a source, shared read-only between the model and its background work, so
// that handing them over copies nothing.
class ChartSamples {
  public:
    ChartSamples() = default;
    explicit ChartSamples(std::vector<ChartSample> samples)
        : samples_(std::make_shared<const std::vector<ChartSample>>(std::move(samples))) {}
    size_t size() const { return samples_ ? samples_->size() : 0; }
    bool empty() const { return size() == 0; }
    const ChartSample& operator[](size_t i) const { return (*samples_)[i]; }
    const ChartSample& front() const { return samples_->front(); }
    const ChartSample& back() const { return samples_->back(); }
    std::vector<ChartSample>::const_iterator begin() const { return all().begin(); }
    std::vector<ChartSample>::const_iterator end() const { return all().end(); }
    const std::vector<ChartSample>& all() const;

  private:
    std::shared_ptr<const std::vector<ChartSample>> samples_;
};

}  // namespace ostrel
