#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "alerts/alert_state_machine.h"
#include "alerts/peak_process_table.h"
#include "platform/clock.h"
#include "platform/dispatcher.h"
#include "platform/notifier.h"
#include "records/alert_event.h"
#include "records/monitor_config.h"
#include "records/system_metrics.h"

namespace ostrel {

// Decides, sample by sample, whether CPU load or memory pressure has stayed past its threshold
// long enough to alert, and if so makes the alert event and posts a desktop notification. The
// two kinds are independent. Nothing is stored or persisted here: the caller decides what to do
// with the events, and a restart begins without cooldowns.
class AlertManager {
  public:
    // `notifier` and `mainQueue` must outlive every handler they run for this object; the
    // application owns all three.
    AlertManager(const Clock& clock, Notifier& notifier, SerialQueue& mainQueue);

    // This sample's alert events: none, one or two, CPU ahead of memory. Serialised with other
    // evaluations, whatever thread calls it.
    std::vector<AlertEvent> checkAndAlert(const SystemMetrics& metrics,
                                          const MonitorConfig& config);

    // Asks for notification rights and logs the answer.
    void requestPermission();
    // Whether notifications may be shown; `completion` runs on the main queue.
    void checkPermissionStatus(std::function<void(bool authorized)> completion);
    // Asks for rights and, if granted, posts the test notification. Goes through no state
    // machine, no cooldown, and makes no event.
    void sendTestAlert();

  private:
    void evaluateCPU(const SystemMetrics& metrics, const MonitorConfig& config, Date now,
                     double cooldown, std::vector<AlertEvent>& events);
    void evaluateMemory(const SystemMetrics& metrics, const MonitorConfig& config, Date now,
                        double cooldown, std::vector<AlertEvent>& events);

    const Clock& clock_;
    Notifier& notifier_;
    SerialQueue& mainQueue_;

    // Held for a whole evaluation, the notification request included, which only queues.
    std::mutex stateLock_;
    AlertStateMachine cpu_;
    AlertStateMachine memory_;
    PeakProcessTable peakCPUProcesses_;
};

}  // namespace ostrel
