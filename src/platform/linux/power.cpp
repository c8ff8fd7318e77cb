#include "platform/linux/power.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>

#include <array>

#include "platform/linux/file_reader.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

bool containsWord(std::string_view list, std::string_view word) {
    while (!list.empty()) {
        const size_t end = list.find(':');
        if (list.substr(0, end) == word) return true;
        if (end == std::string_view::npos) break;
        list.remove_prefix(end + 1);
    }
    return false;
}

}  // namespace

PowerSupplyReading parsePowerSupplyUevent(std::string_view text) {
    PowerSupplyReading reading;
    const auto number = [](std::string_view value) {
        return text_scan::parseNumber<int64_t>(value);
    };
    std::string_view line;
    while (text_scan::nextLine(text, line)) {
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos || !line.starts_with("POWER_SUPPLY_")) continue;
        const std::string_view key = line.substr(13, equals - 13);
        const std::string_view value = text_scan::trim(line.substr(equals + 1));
        if (key == "TYPE") {
            reading.type = value;
        } else if (key == "SCOPE") {
            reading.scope = value;
        } else if (key == "STATUS") {
            reading.status = value;
        } else if (key == "ONLINE") {
            if (const auto online = number(value)) reading.online = *online != 0;
        } else if (key == "CAPACITY") {
            reading.capacityPercent = number(value);
        } else if (key == "ENERGY_NOW") {
            reading.energyNow = number(value);
        } else if (key == "ENERGY_FULL") {
            reading.energyFull = number(value);
        } else if (key == "CHARGE_NOW") {
            reading.chargeNow = number(value);
        } else if (key == "CHARGE_FULL") {
            reading.chargeFull = number(value);
        }
    }
    return reading;
}

std::vector<PowerSourceDescription> describePowerSupplies(
    const std::vector<PowerSupplyReading>& supplies) {
    std::optional<bool> adapterOnline;
    for (const PowerSupplyReading& supply : supplies) {
        if (supply.type == "Battery" || supply.scope == "Device" || !supply.online) continue;
        adapterOnline = adapterOnline.value_or(false) || *supply.online;
    }
    std::vector<PowerSourceDescription> descriptions;
    for (const PowerSupplyReading& supply : supplies) {
        if (supply.type != "Battery" || supply.scope == "Device") continue;
        PowerSourceDescription description;
        const bool charging = supply.status == "Charging";
        const bool full = supply.status == "Full";
        const bool external =
            adapterOnline.value_or(charging || full || supply.status == "Not charging");
        description.state = external ? "AC Power" : "Battery Power";
        // Energy (µWh) or charge (µAh) counters are finer than the rounded capacity.
        if (supply.energyNow && supply.energyFull) {
            description.currentCapacity = supply.energyNow;
            description.maxCapacity = supply.energyFull;
        } else if (supply.chargeNow && supply.chargeFull) {
            description.currentCapacity = supply.chargeNow;
            description.maxCapacity = supply.chargeFull;
        } else if (supply.capacityPercent) {
            description.currentCapacity = supply.capacityPercent;
            description.maxCapacity = 100;
        }
        if (!supply.status.empty() && supply.status != "Unknown") {
            description.isCharging = charging;
            // A battery held at its charge limit on mains is as charged as it will get.
            description.isCharged = full || (external && supply.status == "Not charging");
        }
        descriptions.push_back(std::move(description));
    }
    if (descriptions.empty() && adapterOnline.value_or(false)) {
        descriptions.push_back({.state = "AC Power"});
    }
    return descriptions;
}

std::vector<SleepAssertion> sleepAssertionsFromInhibitors(
    const std::vector<Inhibitor>& inhibitors) {
    SleepAssertion system{.name = "PreventSystemSleep"};
    SleepAssertion idle{.name = "PreventUserIdleSystemSleep"};
    for (const Inhibitor& inhibitor : inhibitors) {
        if (inhibitor.mode != "block") continue;
        if (containsWord(inhibitor.what, "sleep")) {
            ++system.count;
        } else if (containsWord(inhibitor.what, "idle")) {
            ++idle.count;
        }
    }
    return {system, idle};
}

// An open connection to the system bus.
class SystemBusConnection {
  public:
    static std::unique_ptr<SystemBusConnection> open() {
        sd_bus* bus = nullptr;
        if (sd_bus_open_system(&bus) < 0) return nullptr;
        return std::unique_ptr<SystemBusConnection>(new SystemBusConnection(bus));
    }
    ~SystemBusConnection() { sd_bus_flush_close_unref(bus_); }

    // False when the call failed; the connection should then be dropped.
    bool listInhibitors(std::vector<Inhibitor>& inhibitors) {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        bool ok = sd_bus_call_method(bus_, "org.freedesktop.login1", "/org/freedesktop/login1",
                                     "org.freedesktop.login1.Manager", "ListInhibitors", &error,
                                     &reply, "") >= 0 &&
                  readInhibitors(reply, inhibitors);
        sd_bus_message_unref(reply);
        sd_bus_error_free(&error);
        return ok;
    }

  private:
    explicit SystemBusConnection(sd_bus* bus) : bus_(bus) {}

    static bool readInhibitors(sd_bus_message* reply, std::vector<Inhibitor>& inhibitors) {
        if (sd_bus_message_enter_container(reply, 'a', "(ssssuu)") < 0) return false;
        const char *what, *who, *why, *mode;
        uint32_t uid, pid;
        int read;
        while ((read = sd_bus_message_read(reply, "(ssssuu)", &what, &who, &why, &mode, &uid,
                                           &pid)) > 0) {
            inhibitors.push_back({what, mode});
        }
        return read == 0 && sd_bus_message_exit_container(reply) >= 0;
    }

    sd_bus* bus_;
};

LinuxPowerSource::LinuxPowerSource(std::string sysRoot, const Clock& clock)
    : supplyRoot_(sysRoot + "/class/power_supply"),
      clock_(clock),
      supplies_(clock, supplyRediscovery) {}

LinuxPowerSource::~LinuxPowerSource() = default;

std::vector<std::string> LinuxPowerSource::findSupplyFiles() const {
    std::vector<std::string> files;
    for (const std::string& supply : linux_files::entryNames(supplyRoot_)) {
        files.push_back(supplyRoot_ + "/" + supply + "/uevent");
    }
    return files;
}

std::vector<PowerSourceDescription> LinuxPowerSource::powerSources() {
    const auto files = supplies_.get([this] { return findSupplyFiles(); });
    if (files->empty()) return {};
    std::vector<PowerSupplyReading> supplies;
    supplies.reserve(files->size());
    for (const std::string& file : *files) {
        // One file per supply carries every property; a supply that went away is skipped.
        std::array<char, 2048> buffer;
        if (const auto text = procfs::readFileAt(AT_FDCWD, file.c_str(), buffer)) {
            supplies.push_back(parsePowerSupplyUevent(*text));
        }
    }
    return describePowerSupplies(supplies);
}

tl::expected<std::vector<SleepAssertion>, ReadError> LinuxPowerSource::sleepAssertions() {
    auto connection = bus_.take();
    if (!connection) {
        {
            std::lock_guard lock(busLock_);
            if (lastBusFailure_ && clock_.monotonic() - *lastBusFailure_ < reconnectDelay) {
                return tl::unexpected(ReadError::unsupported);
            }
        }
        connection = SystemBusConnection::open();
    }
    std::vector<Inhibitor> inhibitors;
    if (!connection || !connection->listInhibitors(inhibitors)) {
        // No bus, a broken connection or a bus without logind: try afresh after the delay.
        std::lock_guard lock(busLock_);
        lastBusFailure_ = clock_.monotonic();
        return tl::unexpected(ReadError::unsupported);
    }
    bus_.giveBack(connection);
    return sleepAssertionsFromInhibitors(inhibitors);
}

}  // namespace ostrel
