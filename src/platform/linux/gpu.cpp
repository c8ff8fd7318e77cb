#include "platform/linux/gpu.h"

#include <dlfcn.h>
#include <systemd/sd-hwdb.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "platform/linux/file_reader.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

std::optional<uint64_t> unsignedAttribute(const std::string& path) {
    const auto text = linux_files::readAttribute(path);
    if (!text) return std::nullopt;
    return text_scan::parseNumber<uint64_t>(*text);
}

std::string linkBaseName(const std::string& path) {
    std::array<char, 256> target;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size() - 1);
    if (length <= 0) return {};
    const std::string_view text(target.data(), static_cast<size_t>(length));
    const size_t slash = text.rfind('/');
    return std::string(slash == std::string_view::npos ? text : text.substr(slash + 1));
}

// "0x1002" as "1002".
std::string hexId(const std::optional<std::string>& attribute) {
    if (!attribute) return "?";
    std::string_view id = *attribute;
    if (id.starts_with("0x")) id.remove_prefix(2);
    return std::string(id);
}

// The PCI database's name for a device, through udev's hardware database.
std::optional<std::string> hardwareDatabaseModel(const std::string& modalias) {
    sd_hwdb* hwdb = nullptr;
    if (sd_hwdb_new(&hwdb) < 0) return std::nullopt;
    const char* model = nullptr;
    std::optional<std::string> result;
    if (sd_hwdb_get(hwdb, modalias.c_str(), "ID_MODEL_FROM_DATABASE", &model) >= 0 && model) {
        result = model;
    }
    sd_hwdb_unref(hwdb);
    return result;
}

}  // namespace

// NVML loaded at run time, so that the program runs without NVIDIA's driver. Only the few
// calls needed, declared as the library's stable C interface defines them.
class NvidiaManagementLibrary {
  public:
    static std::unique_ptr<NvidiaManagementLibrary> load() {
        void* handle = ::dlopen("libnvidia-ml.so.1", RTLD_NOW | RTLD_LOCAL);
        if (!handle) return nullptr;
        auto library =
            std::unique_ptr<NvidiaManagementLibrary>(new NvidiaManagementLibrary(handle));
        if (!library->bind() || library->init_() != 0) return nullptr;
        library->initialized_ = true;
        return library;
    }
    ~NvidiaManagementLibrary() {
        if (initialized_) shutdown_();
        ::dlclose(handle_);
    }

    std::vector<AcceleratorReading> devices() const {
        std::vector<AcceleratorReading> readings;
        unsigned count = 0;
        if (getCount_(&count) != 0) return readings;
        for (unsigned i = 0; i < count; ++i) {
            Device device = nullptr;
            if (getHandle_(i, &device) != 0) continue;
            AcceleratorReading reading;
            std::array<char, 96> name{};
            if (getName_(device, name.data(), name.size()) == 0) reading.model = name.data();
            Utilization utilization;
            if (getUtilization_(device, &utilization) == 0) {
                reading.deviceUtilization = utilization.gpu;
            }
            Memory memory;
            if (getMemory_(device, &memory) == 0) reading.inUseMemoryBytes = memory.used;
            unsigned cores = 0;
            if (getCores_ && getCores_(device, &cores) == 0 && cores > 0) {
                reading.coreCount = cores;
            }
            readings.push_back(std::move(reading));
        }
        return readings;
    }

  private:
    using Device = struct NvmlDevice*;
    struct Utilization {
        unsigned gpu, memory;
    };
    struct Memory {
        unsigned long long total, free, used;
    };

    explicit NvidiaManagementLibrary(void* handle) : handle_(handle) {}

    template <class Function>
    bool bindOne(Function& function, const char* name) {
        function = reinterpret_cast<Function>(::dlsym(handle_, name));
        return function != nullptr;
    }
    bool bind() {
        bindOne(getCores_, "nvmlDeviceGetNumGpuCores");  // newer drivers only
        return bindOne(init_, "nvmlInit_v2") && bindOne(shutdown_, "nvmlShutdown") &&
               bindOne(getCount_, "nvmlDeviceGetCount_v2") &&
               bindOne(getHandle_, "nvmlDeviceGetHandleByIndex_v2") &&
               bindOne(getName_, "nvmlDeviceGetName") &&
               bindOne(getUtilization_, "nvmlDeviceGetUtilizationRates") &&
               bindOne(getMemory_, "nvmlDeviceGetMemoryInfo");
    }

    void* handle_;
    bool initialized_ = false;
    int (*init_)() = nullptr;
    int (*shutdown_)() = nullptr;
    int (*getCount_)(unsigned*) = nullptr;
    int (*getHandle_)(unsigned, Device*) = nullptr;
    int (*getName_)(Device, char*, unsigned) = nullptr;
    int (*getUtilization_)(Device, Utilization*) = nullptr;
    int (*getMemory_)(Device, Memory*) = nullptr;
    int (*getCores_)(Device, unsigned*) = nullptr;
};

LinuxGpuSource::LinuxGpuSource(std::string sysRoot, bool loadNvidiaLibrary)
    : drmRoot_(sysRoot + "/class/drm"),
      nvml_(loadNvidiaLibrary ? NvidiaManagementLibrary::load() : nullptr) {
    if (!nvml_) return;
    for (const AcceleratorReading& reading : nvml_->devices()) {
        if (reading.coreCount) {
            coreCount_ = reading.coreCount;
            break;
        }
    }
}

LinuxGpuSource::~LinuxGpuSource() = default;

std::string LinuxGpuSource::modelOf(const std::string& deviceDir, const std::string& driver) {
    {
        std::lock_guard lock(modelsLock_);
        if (const auto found = models_.find(deviceDir); found != models_.end()) {
            return found->second;
        }
    }
    auto model = linux_files::readAttribute(deviceDir + "product_name");
    if (!model) {
        if (const auto modalias = linux_files::readAttribute(deviceDir + "modalias")) {
            model = hardwareDatabaseModel(*modalias);
        }
    }
    // Without a name, the driver and the PCI ids still tell the device apart.
    const std::string name =
        model.value_or(driver + " " + hexId(linux_files::readAttribute(deviceDir + "vendor")) +
                       ":" + hexId(linux_files::readAttribute(deviceDir + "device")));
    std::lock_guard lock(modelsLock_);
    models_.emplace(deviceDir, name);
    return name;
}

AcceleratorReading LinuxGpuSource::readCard(const std::string& deviceDir) {
    AcceleratorReading reading;
    const std::string driver = linkBaseName(deviceDir + "driver");
    reading.model = modelOf(deviceDir, driver.empty() ? "gpu" : driver);
    if (const auto busy = unsignedAttribute(deviceDir + "gpu_busy_percent")) {
        reading.deviceUtilization = static_cast<int64_t>(std::min<uint64_t>(*busy, INT64_MAX));
    }
    reading.inUseMemoryBytes = unsignedAttribute(deviceDir + "mem_info_vram_used");
    return reading;
}

tl::expected<std::vector<AcceleratorReading>, ReadError> LinuxGpuSource::accelerators() {
    std::vector<AcceleratorReading> readings;
    // Card folders: "card0", not the connectors "card0-DP-1".
    for (const std::string& card : linux_files::numberedEntries(drmRoot_, "card")) {
        const std::string deviceDir = drmRoot_ + "/" + card + "/device/";
        if (!linux_files::exists(deviceDir)) continue;
        if (nvml_ && linkBaseName(deviceDir + "driver") == "nvidia") continue;
        readings.push_back(readCard(deviceDir));
    }
    if (nvml_) {
        for (AcceleratorReading& reading : nvml_->devices())
            readings.push_back(std::move(reading));
    }
    return readings;
}

std::optional<int64_t> LinuxGpuSource::coreCount() {
    return coreCount_;
}

}  // namespace ostrel
