#include "records/value_format.h"

#include <fmt/format.h>

namespace ostrel::ValueFormat {

std::string formatMB(double mebibytes) {
    if (mebibytes >= 1024) return fmt::format("{:.1f} GB", mebibytes / 1024);
    return fmt::format("{:.0f} MB", mebibytes);
}

std::string formatBytes(uint64_t bytes) {
    const double kilo = double(bytes) / 1024;
    const double mega = kilo / 1024;
    const double giga = mega / 1024;
    if (giga >= 1) return fmt::format("{:.1f} GB", giga);
    if (mega >= 1) return fmt::format("{:.1f} MB", mega);
    if (kilo >= 1) return fmt::format("{:.1f} KB", kilo);
    return fmt::format("{} B", bytes);
}

std::string formatRate(double bytesPerSecond) {
    const double kilo = bytesPerSecond / 1024;
    const double mega = kilo / 1024;
    if (mega >= 1) return fmt::format("{:.1f} MB/s", mega);
    if (kilo >= 1) return fmt::format("{:.1f} KB/s", kilo);
    if (bytesPerSecond > 0) return fmt::format("{:.0f} B/s", bytesPerSecond);
    return "0 B/s";
}

std::string formatPercent(double percent) {
    return fmt::format("{:.1f}%", percent);
}

}  // namespace ostrel::ValueFormat
