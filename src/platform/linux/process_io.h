#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/linux/proc_files.h"
#include "platform/linux/process_names.h"
#include "platform/process_source.h"

namespace ostrel {

// Storage bytes per process from /proc/<pid>/io, each file kept open from read to read (see
// LinuxProcessSource). Other users' processes are unreadable without privilege and are left
// out.
class LinuxProcessDiskSource final : public ProcessDiskSource {
  public:
    LinuxProcessDiskSource(std::string procRoot, std::shared_ptr<procfs::ProcessNameCache> names);
    tl::expected<std::vector<ProcessDiskCounters>, ReadError> readDiskCounters(
        const std::vector<int32_t>& pids) override;

  private:
    procfs::KeptDirectory root_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    std::mutex handlesLock_;
    procfs::ProcFileHandles handles_;
};

}  // namespace ostrel
