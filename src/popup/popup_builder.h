#pragma once

#include "popup/popup_content.h"
#include "popup/popup_inputs.h"
#include "popup/process_aggregator.h"

namespace ostrel {

// Every text, colour, visibility and enabled state of the popup for one moment. Grouped lists
// go through `aggregator`, whose cache of parent names outlives one popup.
PopupContent buildPopupContent(const PopupInputs& inputs, ProcessAggregator& aggregator,
                               const TimeOfDayFormat& timeOfDay);

// The colour of a CPU figure: green below 50, yellow below 80, red from there.
PopupColor cpuColor(double percent);

}  // namespace ostrel
