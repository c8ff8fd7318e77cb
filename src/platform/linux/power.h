#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/linux/idle_slot.h"
#include "platform/power_source.h"
#include "platform/timed_cache.h"

namespace ostrel {

// The attributes of one entry of /sys/class/power_supply that matter here.
struct PowerSupplyReading {
    std::string type;    // "Battery", "Mains", "USB", "UPS", ...
    std::string scope;   // "Device" for a peripheral's own battery
    std::string status;  // "Charging", "Discharging", "Full", "Not charging", "Unknown"
    std::optional<bool> online;
    std::optional<int64_t> capacityPercent;
    std::optional<int64_t> energyNow, energyFull;
    std::optional<int64_t> chargeNow, chargeFull;
};

// The properties of one supply from its uevent file ("POWER_SUPPLY_STATUS=Charging", ...).
PowerSupplyReading parsePowerSupplyUevent(std::string_view text);

// One description per system battery, in the form the power collector reads: the state says
// "AC Power" when an adapter is online (or the battery is charging or full without an adapter
// entry), "Battery Power" otherwise. Without a battery, an online adapter alone gives one
// description with the state only. Batteries of peripherals (scope "Device") are left out.
std::vector<PowerSourceDescription> describePowerSupplies(
    const std::vector<PowerSupplyReading>& supplies);

// One logind inhibitor as ListInhibitors gives it.
struct Inhibitor {
    std::string what;  // colon-separated: "sleep:idle:shutdown"
    std::string mode;  // "block" or "delay"
};

// Counts of blocking inhibitors as sleep assertions: one that blocks sleep counts as a
// system-sleep assertion, one that blocks only idle as an idle-sleep assertion. Delay
// inhibitors only postpone sleep and do not count.
std::vector<SleepAssertion> sleepAssertionsFromInhibitors(const std::vector<Inhibitor>& inhibitors);

class SystemBusConnection;

// Power supplies from sysfs, found again once a minute and read on each sample; sleep
// assertions from logind's inhibitors on the system bus. A machine without a system bus reports
// no assertions, and the connection is tried again at most every 30 seconds.
class LinuxPowerSource final : public PowerSource {
  public:
    static constexpr auto supplyRediscovery = std::chrono::seconds(60);
    static constexpr auto reconnectDelay = std::chrono::seconds(30);

    LinuxPowerSource(std::string sysRoot, const Clock& clock);
    ~LinuxPowerSource() override;

    std::vector<PowerSourceDescription> powerSources() override;
    tl::expected<std::vector<SleepAssertion>, ReadError> sleepAssertions() override;

  private:
    std::vector<std::string> findSupplyFiles() const;

    const std::string supplyRoot_;
    const Clock& clock_;
    TimedCache<std::vector<std::string>> supplies_;
    IdleSlot<SystemBusConnection> bus_;
    std::mutex busLock_;
    std::optional<Duration> lastBusFailure_;
};

}  // namespace ostrel
