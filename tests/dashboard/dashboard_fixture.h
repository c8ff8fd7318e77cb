#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel::testing {

using namespace std::chrono_literals;

// 2026-11-22 10:00 UTC, written as 05:00 in a zone five hours west.
inline const Date kTen = Date(std::chrono::seconds(1795341600));

// A sample at `when`, stamped in the zone five hours west, with CPU and memory figures.
inline SystemMetrics westSample(Date when, double user, const std::string& host = "host-a") {
    const auto local = when - 5h;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(local).time_since_epoch();
    std::time_t t = seconds.count();
    std::tm tm{};
    gmtime_r(&t, &tm);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.000-05:00", &tm);
    SystemMetrics m{.timestamp = text, .hostname = host};
    m.cpu = CPUMetrics{.cpuCount = 4, .userPercent = user, .systemPercent = 5};
    m.memory = MemoryMetrics{.activeMB = 2048, .pressureString = "normal"};
    m.processes = ProcessMetrics{
        .topCPU = std::vector<ProcessMetricInfo>{{.pid = 1, .name = "worker", .cpuPercent = user}}};
    return m;
}

// A model over a store in a temporary folder, on virtual time.
struct DashboardTest : ::testing::Test {
    TempDir dir;
    VirtualDispatcher dispatcher;
    std::shared_ptr<MemoryPreferencesStore> preferences =
        std::make_shared<MemoryPreferencesStore>();
    std::shared_ptr<MetricsStorage> storage = std::make_shared<MetricsStorage>(
        MonitorConfig{}, dir / "data", dispatcher.clock(), dir / "logs");
    std::shared_ptr<DashboardViewModel> model = makeModel(storage);

    std::shared_ptr<DashboardViewModel> makeModel(std::shared_ptr<MetricsStorage> store) {
        return DashboardViewModel::create({&dispatcher, preferences, std::move(store)});
    }

    // Writes records as lines of the named metric file of the store.
    template <class Record>
    void write(const std::string& file, const std::vector<Record>& records) {
        std::filesystem::create_directories(dir / "data/metrics");
        std::ofstream out(dir / "data/metrics" / file, std::ios::app | std::ios::binary);
        for (const Record& record : records)
            out << *encodeJson(record) << '\n';
    }

    // Samples every `step` from `first`, their user share rising by one each.
    static std::vector<SystemMetrics> samples(Date first, int count, Duration step = 2s,
                                              const std::string& host = "host-a") {
        std::vector<SystemMetrics> made;
        for (int i = 0; i < count; ++i)
            made.push_back(westSample(first + i * step, 10 + i, host));
        return made;
    }

    void load() {
        model->loadMetrics();
        dispatcher.runUntilIdle();
    }
};

}  // namespace ostrel::testing
