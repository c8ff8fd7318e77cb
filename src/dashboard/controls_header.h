#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"

namespace ostrel {

class DashboardViewModel;

struct DayMenuItem {
    std::string day;         // "yyyy-MM-dd", what selecting it assigns
    std::string label;       // formatDayLabel of it
    bool isCurrent = false;  // carries the "checkmark"

    bool operator==(const DayMenuItem&) const = default;
};

// What the header shows besides its fixed buttons.
struct ControlsHeaderState {
    bool showsReturnToLocalData = false;  // with picked files
    bool showsDayStepper = false;         // with the local store
    bool canGoOlder = false;
    bool canGoNewer = false;
    std::string dayLabel;
    std::vector<DayMenuItem> dayMenu;      // newest first
    std::optional<std::string> zoomRange;  // while a zoom is active, with its clear button

    static ControlsHeaderState of(const DashboardViewModel& model, Date now);
};

// The Normalized toggle's help text.
extern const char* const kNormalizeCPUHelp;

// A day of the local store for the day menu: "Select Day" when none, "Today", "Yesterday" by
// the viewer's calendar at `now`, else "Sat, Nov 21". Text that is no "yyyy-MM-dd" day shows as
// it is.
std::string formatDayLabel(const std::optional<std::string>& day, Date now);

}  // namespace ostrel
