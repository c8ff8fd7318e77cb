#include "popup/popup_model.h"

#include <algorithm>

#include "popup/popup_builder.h"

namespace ostrel {

PopupModel::PopupModel(PerformanceMonitor& monitor, ConfigurationManager& configManager,
                       SerialQueue& mainQueue, ProcessAggregator& aggregator, Actions actions,
                       TimeOfDayFormat timeOfDay)
    : monitor_(monitor),
      configManager_(configManager),
      mainQueue_(mainQueue),
      aggregator_(aggregator),
      actions_(std::move(actions)),
      timeOfDay_(std::move(timeOfDay)),
      self_(std::make_shared<PopupModel*>(this)) {
    const auto follow = [this](auto& field) {
        using Subscription = typename std::remove_reference_t<decltype(field)>::Subscription;
        subscriptions_.push_back(std::make_shared<Subscription>(
            field.subscribe([this](const auto&) { scheduleRefresh(); })));
    };
    follow(monitor.isRunning);
    follow(monitor.lastCollection);
    follow(monitor.lastMetrics);
    follow(monitor.successCount);
    follow(monitor.lastError);
    follow(monitor.storageSizeMB);
    follow(monitor.pendingUploadCount);
    follow(monitor.lastUploadDate);
    follow(monitor.lastUploadCount);
    follow(monitor.totalUploadedCount);
    follow(monitor.isUploading);
    follow(monitor.pinnedProcesses);
    follow(monitor.watchedMetrics);
    follow(monitor.processSearchResults);
    follow(configManager.config);
    content.set(buildPopupContent(inputs(), aggregator_, timeOfDay_));
}

PopupModel::~PopupModel() {
    subscriptions_.clear();
    // A search left behind would keep the monitor's results alive for the next opening.
    if (!searchText_.empty()) monitor_.searchProcesses("");
}

PopupInputs PopupModel::inputs() const {
    const PerformanceMonitor& monitor = monitor_;
    return {
        .isRunning = monitor.isRunning.get(),
        .lastCollection = monitor.lastCollection.get(),
        .lastMetrics = monitor.lastMetrics.get(),
        .successCount = monitor.successCount.get(),
        .lastError = monitor.lastError.get(),
        .storageSizeMB = monitor.storageSizeMB.get(),
        .pendingUploadCount = monitor.pendingUploadCount.get(),
        .lastUploadDate = monitor.lastUploadDate.get(),
        .lastUploadCount = monitor.lastUploadCount.get(),
        .totalUploadedCount = monitor.totalUploadedCount.get(),
        .isUploading = monitor.isUploading.get(),
        .pinnedProcesses = monitor.pinnedProcesses.get(),
        .watchedMetrics = monitor.watchedMetrics.get(),
        .processSearchResults = monitor.processSearchResults.get(),
        .config = configManager_.config.get(),
        .searchText = searchText_,
        .searchExpanded = searchExpanded_,
    };
}

void PopupModel::scheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    mainQueue_.async([weak = std::weak_ptr<PopupModel*>(self_)] {
        if (const auto self = weak.lock()) (*self)->refresh();
    });
}

void PopupModel::refresh() {
    refreshPending_ = false;
    PopupContent next = buildPopupContent(inputs(), aggregator_, timeOfDay_);
    if (next != content.get()) content.set(std::move(next));
}

void PopupModel::performUpload() {
    monitor_.configure(configManager_.config.get());
    monitor_.uploadNow();
}

void PopupModel::togglePin(const std::string& name) {
    if (monitor_.isPinned(name)) {
        monitor_.unpinProcess(name);
    } else {
        monitor_.pinProcess(name);
    }
}

void PopupModel::expandSearch() {
    searchExpanded_ = true;
    scheduleRefresh();
}

void PopupModel::collapseSearch() {
    searchExpanded_ = false;
    setSearchText("");
}

void PopupModel::setSearchText(const std::string& text) {
    if (text == searchText_) return scheduleRefresh();
    searchText_ = text;
    monitor_.searchProcesses(text);
    scheduleRefresh();
}

}  // namespace ostrel
