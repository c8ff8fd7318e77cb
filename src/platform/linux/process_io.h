#pragma once

#include <memory>
#include <string>

#include "platform/linux/process_names.h"
#include "platform/process_source.h"

namespace ostrel {

// Storage bytes per process from /proc/<pid>/io. Other users' processes are unreadable
// without privilege and are left out.
class LinuxProcessDiskSource final : public ProcessDiskSource {
  public:
    LinuxProcessDiskSource(std::string procRoot, std::shared_ptr<procfs::ProcessNameCache> names);
    tl::expected<std::vector<ProcessDiskCounters>, ReadError> readDiskCounters() override;

  private:
    std::string procRoot_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
};

}  // namespace ostrel
