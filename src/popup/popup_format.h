#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/clock.h"

// The popup's number formats. Sizes in MB are mebibytes; "GB", "MB" and "KB" of bytes and
// rates are powers of 1024.
namespace ostrel::PopupFormat {

// "1023 MB", "1.0 GB" from 1024 on.
std::string formatMB(double mebibytes);
// "23h"; from 24 hours on "1d 1h".
std::string formatUptime(double hours);
// "512 B", "1.5 KB", "2.0 MB", "1.1 GB".
std::string formatBytes(uint64_t bytes);
// "0 B/s", "512 B/s", "1.5 KB/s", "2.0 MB/s".
std::string formatRate(double bytesPerSecond);
// A CPU share, "%.1f%%": "12.5%".
std::string formatPercent(double percent);

// "PID: 7", or "PIDs: 1, 2, 3, 4, 5..." with at most 5 listed; empty for no pids.
std::string pidList(const std::vector<int64_t>& pids);

// "14:05:09" in the user's zone.
std::string localTimeOfDay(Date date);

}  // namespace ostrel::PopupFormat
