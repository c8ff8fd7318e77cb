#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "settings/settings_view_model.h"

namespace ostrel {

using Refreshers = std::vector<std::function<void()>>;

// The part of a section beside its controls: a warning, a status with its buttons, the about
// block. Adds what redraws it from the model to `refreshers`; null where this desktop has
// nothing to show for it.
QWidget* makeSettingsPanel(SettingsPanel panel, SettingsViewModel& model,
                           const std::function<void()>& openDashboard, Refreshers& refreshers,
                           QWidget* parent);

}  // namespace ostrel
