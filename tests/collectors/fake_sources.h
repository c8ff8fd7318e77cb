#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/collection_sources.h"

// Sources that return whatever the test sets, and count how often they were read.
namespace ostrel::testing {

struct FakeCpuSource : CpuSource {
    int64_t processors = 8;
    std::optional<LoadAverages> loads = LoadAverages{1, 1, 1};
    tl::expected<CpuTicks, ReadError> ticks = CpuTicks{};
    std::optional<int> thermal = 0;
    int tickReads = 0;

    int64_t processorCount() override { return processors; }
    std::optional<LoadAverages> loadAverages() override { return loads; }
    tl::expected<CpuTicks, ReadError> readTicks() override {
        ++tickReads;
        return ticks;
    }
    std::optional<int> thermalState() override { return thermal; }
};

struct FakeMemorySource : MemorySource {
    MemorySnapshot snapshot;
    MemorySnapshot read() override { return snapshot; }
};

struct FakeDiskSource : DiskSource {
    DiskCapacity space;
    std::optional<DiskIOCounters> counters = DiskIOCounters{};
    int counterReads = 0;

    DiskCapacity capacity() override { return space; }
    std::optional<DiskIOCounters> ioCounters() override {
        ++counterReads;
        return counters;
    }
};

struct FakeNetworkSource : NetworkSource {
    std::optional<std::string> route;
    tl::expected<std::vector<LinkEntry>, ReadError> entries = std::vector<LinkEntry>{};

    std::optional<std::string> defaultRouteInterface() override { return route; }
    tl::expected<std::optional<LinkEntry>, ReadError> link(const std::string& name) override {
        if (!entries) return tl::unexpected(entries.error());
        for (const LinkEntry& entry : *entries) {
            if (entry.name == name) return entry;
        }
        return std::nullopt;
    }
    tl::expected<std::vector<LinkEntry>, ReadError> links() override { return entries; }
};

struct FakePowerSource : PowerSource {
    std::vector<PowerSourceDescription> sources;
    tl::expected<std::vector<SleepAssertion>, ReadError> assertions = std::vector<SleepAssertion>{};

    std::vector<PowerSourceDescription> powerSources() override { return sources; }
    tl::expected<std::vector<SleepAssertion>, ReadError> sleepAssertions() override {
        return assertions;
    }
};

struct FakeGpuSource : GpuSource {
    tl::expected<std::vector<AcceleratorReading>, ReadError> devices =
        std::vector<AcceleratorReading>{};
    std::optional<int64_t> cores;
    int reads = 0;

    tl::expected<std::vector<AcceleratorReading>, ReadError> accelerators() override {
        ++reads;
        return devices;
    }
    std::optional<int64_t> coreCount() override { return cores; }
};

struct FakeSystemInfoSource : SystemInfoSource {
    std::string host = "test-host";
    std::optional<int64_t> boot;
    std::optional<OsVersion> version;
    std::optional<std::string> model, brand, user;
    std::optional<int64_t> performance, efficiency;

    std::string hostName() override { return host; }
    std::optional<int64_t> bootTimeSeconds() override { return boot; }
    std::optional<OsVersion> osVersion() override { return version; }
    std::optional<std::string> hardwareModel() override { return model; }
    std::optional<std::string> cpuBrand() override { return brand; }
    std::optional<std::string> consoleUser() override { return user; }
    std::optional<int64_t> performanceCores() override { return performance; }
    std::optional<int64_t> efficiencyCores() override { return efficiency; }
};

}  // namespace ostrel::testing
