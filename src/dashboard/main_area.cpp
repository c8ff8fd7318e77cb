#include "dashboard/main_area.h"

#include <algorithm>

namespace ostrel {

MainArea mainAreaFor(const FetchPhase& phase, double loadProgress,
                     const std::string& loadPhaseLabel) {
    switch (phase.kind) {
        case FetchPhase::Kind::initial:
        case FetchPhase::Kind::fetching:
            return {.view = MainArea::View::loading,
                    .icon = "chart.line.uptrend.xyaxis",
                    .message = loadPhaseLabel.empty() ? "Loading metrics..." : loadPhaseLabel,
                    .showsSpinner = loadProgress < 0,
                    .progress = std::clamp(loadProgress, 0.0, 1.0)};
        case FetchPhase::Kind::empty:
            return {.view = MainArea::View::empty,
                    .icon = "chart.bar.xaxis",
                    .title = "No metrics data",
                    .message = "Start monitoring to collect metrics"};
        case FetchPhase::Kind::failure:
            return {.view = MainArea::View::error,
                    .icon = "exclamationmark.triangle",
                    .title = "Error loading metrics",
                    .message = phase.error ? phase.error->errorDescription() : std::string(),
                    .showsRetry = true};
        case FetchPhase::Kind::success:
            break;
    }
    return {.view = MainArea::View::content};
}

}  // namespace ostrel
