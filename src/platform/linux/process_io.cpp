#include "platform/linux/process_io.h"

#include <algorithm>
#include <optional>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel {

LinuxProcessDiskSource::LinuxProcessDiskSource(std::string procRoot,
                                               std::shared_ptr<procfs::ProcessNameCache> names)
    : root_(std::move(procRoot)), names_(std::move(names)), handles_("io", procfs::handleBudget()) {
    if (!names_) names_ = std::make_shared<procfs::ProcessNameCache>();
}

tl::expected<std::vector<ProcessDiskCounters>, ReadError> LinuxProcessDiskSource::readDiskCounters(
    const std::vector<int32_t>& pids) {
    const auto procfd = root_.get();
    if (!procfd) return tl::unexpected(procfd.error());
    const int proc = *procfd;
    // Two reads at once: the second does without the kept descriptors.
    std::unique_lock ownHandles(handlesLock_, std::try_to_lock);

    std::vector<ProcessDiskCounters> counters;
    std::optional<ReadError> firstFailure;
    bool anyRead = false;
    char buffer[512];
    for (const int32_t pid : pids) {
        bool reopened = false;
        const auto text =
            ownHandles.owns_lock()
                ? handles_.read(proc, pid, buffer, reopened)
                : procfs::readFileAt(proc, procfs::PidPath(pid, "io").c_str(), buffer);
        const auto io = text ? procfs::parseProcIo(*text) : std::nullopt;
        if (!io) {
            if (!firstFailure) firstFailure = text ? ReadError::parse : text.error();
            continue;
        }
        anyRead = true;
        // Naming costs a read for a process not listed yet; idle processes are not named.
        if (io->readBytes == 0 && io->writeBytes == 0) continue;
        auto name = names_->currentName(proc, pid);
        if (!name) continue;
        counters.push_back({.pid = pid,
                            .name = std::move(*name),
                            .bytesRead = io->readBytes,
                            .bytesWritten = io->writeBytes});
    }
    if (ownHandles.owns_lock()) handles_.retainOnly(pids);
    // Not one process readable: the kernel keeps no I/O accounting, or nothing here is ours.
    if (!anyRead && firstFailure) return tl::unexpected(*firstFailure);
    return counters;
}

}  // namespace ostrel
