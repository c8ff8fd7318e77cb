#include "platform/linux/power.h"

#include <dirent.h>
#include <systemd/sd-bus.h>

#include <algorithm>

#include "platform/linux/file_reader.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

std::optional<int64_t> numberAttribute(const std::string& path) {
    const auto text = linux_files::readAttribute(path);
    if (!text) return std::nullopt;
    return text_scan::parseNumber<int64_t>(*text);
}

bool containsWord(std::string_view list, std::string_view word) {
    while (!list.empty()) {
        const size_t end = list.find(':');
        if (list.substr(0, end) == word) return true;
        if (end == std::string_view::npos) break;
        list.remove_prefix(end + 1);
    }
    return false;
}

PowerSupplyReading readSupply(const std::string& base) {
    PowerSupplyReading reading;
    reading.type = linux_files::readAttribute(base + "type").value_or("");
    reading.scope = linux_files::readAttribute(base + "scope").value_or("");
    reading.status = linux_files::readAttribute(base + "status").value_or("");
    if (const auto online = numberAttribute(base + "online")) reading.online = *online != 0;
    reading.capacityPercent = numberAttribute(base + "capacity");
    reading.energyNow = numberAttribute(base + "energy_now");
    reading.energyFull = numberAttribute(base + "energy_full");
    reading.chargeNow = numberAttribute(base + "charge_now");
    reading.chargeFull = numberAttribute(base + "charge_full");
    return reading;
}

}  // namespace

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
    : supplyRoot_(sysRoot + "/class/power_supply"), clock_(clock) {}

LinuxPowerSource::~LinuxPowerSource() = default;

std::vector<PowerSourceDescription> LinuxPowerSource::powerSources() {
    std::vector<PowerSupplyReading> supplies;
    DIR* dir = ::opendir(supplyRoot_.c_str());
    if (!dir) return {};
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        supplies.push_back(readSupply(supplyRoot_ + "/" + name + "/"));
    return describePowerSupplies(supplies);
}

std::unique_ptr<SystemBusConnection> LinuxPowerSource::takeConnection() {
    {
        std::lock_guard lock(connectionLock_);
        if (idleConnection_) return std::move(idleConnection_);
        if (lastFailure_ && clock_.monotonic() - *lastFailure_ < reconnectDelay) return nullptr;
    }
    auto connection = SystemBusConnection::open();
    if (!connection) {
        std::lock_guard lock(connectionLock_);
        lastFailure_ = clock_.monotonic();
    }
    return connection;
}

void LinuxPowerSource::giveBack(std::unique_ptr<SystemBusConnection> connection) {
    std::lock_guard lock(connectionLock_);
    if (!idleConnection_) idleConnection_ = std::move(connection);
}

tl::expected<std::vector<SleepAssertion>, ReadError> LinuxPowerSource::sleepAssertions() {
    auto connection = takeConnection();
    if (!connection) return tl::unexpected(ReadError::unsupported);
    std::vector<Inhibitor> inhibitors;
    if (!connection->listInhibitors(inhibitors)) {
        // A broken connection or a bus without logind: start afresh after the delay.
        std::lock_guard lock(connectionLock_);
        lastFailure_ = clock_.monotonic();
        return tl::unexpected(ReadError::unsupported);
    }
    giveBack(std::move(connection));
    return sleepAssertionsFromInhibitors(inhibitors);
}

}  // namespace ostrel
