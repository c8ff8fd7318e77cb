#pragma once

#include "popup/popup_content.h"
#include "popup/popup_inputs.h"
#include "popup/process_aggregator.h"

// The popup's process rows: the top lists, the watched processes and the search, each row with
// its pin button. Pins follow the monitor's limit of five.
namespace ostrel::PopupProcessRows {

ProcessList processList(const PopupInputs& inputs, ProcessAggregator& aggregator, std::string title,
                        std::string help, const std::vector<ProcessMetricInfo>& processes,
                        ProcessValueType type);
WatchedSection watchedSection(const PopupInputs& inputs);
SearchSection searchSection(const PopupInputs& inputs);

// 18 points a result and 12 more, at most 180.
int searchListHeight(size_t results);

}  // namespace ostrel::PopupProcessRows
