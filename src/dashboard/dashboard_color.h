#pragma once

namespace ostrel {

// Colour names; the window resolves them against the desktop's light or dark palette.
enum class DashboardColor {
    primary,
    secondary,
    accent,
    gray,
    green,
    yellow,
    orange,
    red,
    blue,
    purple,
    cyan,
};

}  // namespace ostrel
