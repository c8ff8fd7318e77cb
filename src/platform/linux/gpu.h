#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/gpu_source.h"

namespace ostrel {

class NvidiaManagementLibrary;

// Graphics devices from the DRM class in sysfs (busy percentage and VRAM where the driver
// exports them, as amdgpu does), then NVIDIA devices through NVML when its library is
// installed. NVIDIA cards are read through NVML only, since their DRM entries carry no figures.
class LinuxGpuSource final : public GpuSource {
  public:
    // `loadNvidiaLibrary` false keeps NVML out, for tests on fake trees.
    explicit LinuxGpuSource(std::string sysRoot, bool loadNvidiaLibrary = true);
    ~LinuxGpuSource() override;

    tl::expected<std::vector<AcceleratorReading>, ReadError> accelerators() override;
    std::optional<int64_t> coreCount() override;

  private:
    AcceleratorReading readCard(const std::string& deviceDir);
    std::string modelOf(const std::string& deviceDir, const std::string& driver);

    const std::string drmRoot_;
    std::unique_ptr<NvidiaManagementLibrary> nvml_;
    // Core counts do not change while the machine runs.
    std::optional<int64_t> coreCount_;
    // Model names by device folder: resolving one may consult the hardware database.
    std::mutex modelsLock_;
    std::map<std::string, std::string> models_;
};

}  // namespace ostrel
