#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ostrel {

// Figures on the metric files for the status displays and the size check. Both "pending"
// figures cover the metric files, not the upload queue.
struct StorageHealth {
    // Total bytes over 1100, the typical size of one line: an estimate that reads no file.
    int64_t pendingRecords = 0;
    double pendingSizeMB = 0;
    std::optional<std::string> oldestRecordTimestamp;
    std::optional<std::string> newestRecordTimestamp;
    int64_t totalFilesCount = 0;
    std::optional<std::string> lastWriteTimestamp;
    std::string storageDirectory;

    bool operator==(const StorageHealth&) const = default;
};

}  // namespace ostrel
