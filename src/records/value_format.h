#pragma once

#include <cstdint>
#include <string>

// Sizes, rates and shares as the windows show them. Sizes in MB are mebibytes; "GB", "MB" and "KB"
// of bytes and rates are powers of 1024.
namespace ostrel::ValueFormat {

// "1023 MB", "1.0 GB" from 1024 on.
std::string formatMB(double mebibytes);
// "512 B", "1.5 KB", "2.0 MB", "1.1 GB".
std::string formatBytes(uint64_t bytes);
// "0 B/s", "512 B/s", "1.5 KB/s", "2.0 MB/s".
std::string formatRate(double bytesPerSecond);
// A CPU share, "%.1f%%": "12.5%".
std::string formatPercent(double percent);

}  // namespace ostrel::ValueFormat
