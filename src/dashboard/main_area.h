#pragma once

#include <string>

#include "dashboard/fetch_phase.h"

namespace ostrel {

// What the window's main area shows for a load's phase, with its texts.
struct MainArea {
    enum class View { loading, empty, error, content };
    View view = View::loading;
    std::string icon;
    std::string title;
    std::string message;
    bool showsSpinner = false;  // loading without a known fraction
    double progress = 0;        // loading with one: 0 to 1
    bool showsRetry = false;

    bool operator==(const MainArea&) const = default;
};

// `loadProgress` below 0 means no fraction is known; an empty `loadPhaseLabel` reads
// "Loading metrics...".
MainArea mainAreaFor(const FetchPhase& phase, double loadProgress,
                     const std::string& loadPhaseLabel);

}  // namespace ostrel
