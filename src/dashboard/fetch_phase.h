#pragma once

#include <optional>
#include <string>

#include "dashboard/chart_sample.h"

namespace ostrel {

// Why a dashboard load failed.
struct DashboardError {
    enum class Kind { loadFailed, storageNotAvailable };
    Kind kind = Kind::storageNotAvailable;
    std::string detail;  // loadFailed only

    std::string errorDescription() const {
        if (kind == Kind::loadFailed) return "Failed to load metrics: " + detail;
        return "Metrics storage is not available";
    }
    bool operator==(const DashboardError&) const = default;
};

// Where the current source's load stands; the window picks its main area by it.
struct FetchPhase {
    enum class Kind {
        success,   // data is on screen
        failure,   // a load failed
        initial,   // nothing asked for yet
        fetching,  // a first load runs
        empty,     // the source holds no sample
    };
    Kind kind = Kind::initial;
    ChartSamples samples;                 // success: the loaded samples
    std::optional<DashboardError> error;  // failure: why

    static FetchPhase success(ChartSamples loaded) {
        return {Kind::success, std::move(loaded), {}};
    }
    static FetchPhase failure(DashboardError why) { return {Kind::failure, {}, std::move(why)}; }
    static FetchPhase fetching() { return {Kind::fetching, {}, {}}; }
    static FetchPhase empty() { return {Kind::empty, {}, {}}; }
};

}  // namespace ostrel
