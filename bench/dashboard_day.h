#pragma once

// The realistic day the dashboard's benchmarks open: 43,200 samples (one every 2 seconds) in 24
// hourly files, with a watched process at every sample and an alert an hour, and the same day as
// one picked file.
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/realistic_day.h"

namespace ostrel {

constexpr int kSamplesPerDay = 43200;

// 2026-11-22 00:00 in this machine's zone, so that the day is one day of the store.
const Date kMidnight = [] {
    std::tm tm{.tm_mday = 22, .tm_mon = 10, .tm_year = 126, .tm_isdst = -1};
    return std::chrono::system_clock::from_time_t(std::mktime(&tm));
}();

// The day, written once per process and removed at its end: hourly files under
// `local`/metrics as the store names them, and all lines in one file, `external`.
struct Day {
    std::filesystem::path folder, local, external;
    uint64_t bytes = 0;

    explicit Day(std::filesystem::path base)
        : folder(std::move(base)), local(folder / "local"), external(folder / "external.jsonl") {
        std::filesystem::remove_all(folder);
        write();
    }
    ~Day() { std::filesystem::remove_all(folder); }

    // Under OSTREL_BENCH_DIR or /tmp, in a folder of this process: benchmarks running side by
    // side must not remove each other's day.
    static const Day& get() {
        const char* base = std::getenv("OSTREL_BENCH_DIR");
        static const Day day(std::filesystem::path(base ? base : "/tmp") /
                             ("ostrel-bench-dash-" + std::to_string(::getpid())));
        return day;
    }

    void write() {
        std::ofstream all(external, std::ios::binary);
        bytes = testing::writeRealisticDay({.midnight = kMidnight, .samples = kSamplesPerDay},
                                           local, &all);
    }
};

}  // namespace ostrel
