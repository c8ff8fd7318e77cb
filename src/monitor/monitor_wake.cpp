// After a wake: one sample at once, then an upload as soon as, and only if, the network and
// the endpoint answer. Also the endpoint test of the settings window.
#include <fmt/format.h>

#include "logging/logger.h"
#include "monitor/monitor_core.h"
#include "monitor/network_config.h"
#include "monitor/performance_monitor.h"
#include "records/constants.h"
#include "upload/splunk_hec_client.h"

namespace ostrel {
namespace {

constexpr auto network = Logger::Category::network;

}  // namespace

void PerformanceMonitor::setupWakeNotification() {
    wakeObserver_ = observeWake_(dispatcher_, [weak = weak_from_this()] {
        if (auto self = weak.lock()) self->handleSystemWake();
    });
}

void PerformanceMonitor::handleSystemWake() {
    if (!isRunning.get()) return;
    Logger::info("System woke from sleep - collecting metrics", Logger::Category::collection);
    collectAndStore();
    if (core_->configCopy().uploadEnabled && !isUploading.get()) waitForNetworkAndUpload();
}

double PerformanceMonitor::networkWaitTimeout() const {
    return NetworkConfig::networkWaitTimeout(powerSources_ ? powerSources_->powerSources()
                                                           : std::vector<PowerSourceDescription>{});
}

bool PerformanceMonitor::endWakeWait(uint64_t id) {
    const auto found = std::find_if(wakeWaits_.begin(), wakeWaits_.end(),
                                    [id](const auto& wait) { return wait->id == id; });
    // The other end came first.
    if (found == wakeWaits_.end()) return false;
    (*found)->path->cancel();
    wakeWaits_.erase(found);
    return true;
}

void PerformanceMonitor::waitForNetworkAndUpload() {
    // Each wake waits on its own; two wakes close together run side by side.
    auto wait = std::make_unique<WakeWait>();
    wait->id = ++lastWakeWaitId_;
    wait->queue =
        dispatcher_.makeSerialQueue(std::string(Constants::bundleIdentifier) + ".networkMonitor");
    wait->path = makePathMonitor_();
    const double timeout = networkWaitTimeout();
    const uint64_t id = wait->id;
    SerialQueue& main = dispatcher_.mainQueue();

    wait->timeout = dispatcher_.makeTimer(
        main,
        {.firstDeadline =
             std::chrono::duration_cast<Duration>(std::chrono::duration<double>(timeout))},
        [weak = weak_from_this(), storage = core_->storage, id, timeout] {
            auto self = weak.lock();
            if (!self || !self->endWakeWait(id)) return;
            Logger::warning(fmt::format("Network unavailable after wake (timeout: {}s)",
                                        static_cast<int64_t>(timeout)),
                            network);
            storage->logAudit("upload_skipped", {{"reason", "network_timeout_after_wake"}});
        });
    // Only a usable path ends the wait; other states wait for the next change. Both ends are
    // decided on the main queue, so exactly one of them acts.
    NetworkPathMonitor& path = *wait->path;
    SerialQueue& pathQueue = *wait->queue;
    wakeWaits_.push_back(std::move(wait));
    path.start(pathQueue, [weak = weak_from_this(), &main, id](bool satisfied) {
        if (!satisfied) return;
        main.async([weak, id] {
            auto self = weak.lock();
            if (self && self->endWakeWait(id)) self->verifyEndpointAndUpload();
        });
    });
}

void PerformanceMonitor::verifyEndpointAndUpload() {
    if (!hecClient_) return;
    dispatcher_.detach([client = hecClient_, weak = weak_from_this(), storage = core_->storage,
                        &main = dispatcher_.mainQueue()] {
        auto tested = client->testConnection();
        main.async([weak, storage, tested = std::move(tested)] {
            if (tested) {
                if (auto self = weak.lock()) self->performUpload();
                return;
            }
            // The files stay for the next timer cycle.
            const std::string description = failureDescription(tested.error());
            Logger::warning("HEC unreachable after wake: " + description, network);
            storage->logAudit("upload_skipped",
                              {{"reason", "hec_unreachable_after_wake"}, {"error", description}});
        });
    });
}

void PerformanceMonitor::testConnection() {
    connectionStatus.set(ConnectionStatus::testing());
    if (!core_->configCopy().uploadEnabled) {
        connectionStatus.set(ConnectionStatus::failed("Upload not enabled"));
        return;
    }
    if (!hecClient_) {
        connectionStatus.set(ConnectionStatus::failed("HEC not configured"));
        return;
    }
    // The client as it is now; a later configure does not change this test's answer.
    dispatcher_.detach(
        [client = hecClient_, weak = weak_from_this(), &main = dispatcher_.mainQueue()] {
            auto tested = client->testConnection();
            main.async([weak, tested = std::move(tested)] {
                auto self = weak.lock();
                if (!self) return;
                self->connectionStatus.set(
                    tested ? ConnectionStatus::connected()
                           : ConnectionStatus::failed(connectionTestText(tested.error())));
            });
        });
}

}  // namespace ostrel
