#pragma once

#include "platform/clock.h"
#include "records/alert_event.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

namespace ostrel::testing {

// A full sample as a busy laptop produces it: every section, 20 top-CPU and 20 top-memory
// processes, 5 network and 5 disk users,
// figures that vary with `sequence`, stamped with `when` in local time with milliseconds.
SystemMetrics realisticSample(Date when, int sequence);

// A watched-process event for the same moment, stamped in UTC with milliseconds.
WatchedProcessEvent realisticWatchedEvent(Date when, int sequence);

// A CPU alert with five processes in each list.
AlertEvent realisticAlertEvent(Date when);

}  // namespace ostrel::testing
