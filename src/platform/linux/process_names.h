#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Names of processes, resolved once per process and shared by the process list, the disk
// counters and the socket owners, so the command line of a process is read once in its life.
namespace ostrel::procfs {

class ProcessNameCache {
  public:
    // The full name of process `pid` started at `startTicks`, whose kernel name is
    // `comm`; reads /proc/<pid>/cmdline below `procfd` only when the kernel may have cut the
    // name short, and only the first time.
    std::string nameFor(int procfd, int32_t pid, uint64_t startTicks, std::string_view comm);
    // The name of `pid` as last resolved; reads its stat file when the pid is not known yet.
    // Nothing when the process is gone.
    std::optional<std::string> currentName(int procfd, int32_t pid);
    // Forgets the processes that a complete scan did not find; `pids` sorted.
    void retainOnly(const std::vector<int32_t>& pids);

  private:
    struct Entry {
        uint64_t startTicks = 0;
        std::string name;
    };
    std::mutex lock_;
    std::unordered_map<int32_t, Entry> names_;
};

}  // namespace ostrel::procfs
