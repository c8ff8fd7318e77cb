#include "popup/popup_format.h"

#include <fmt/format.h>

#include <cmath>
#include <ctime>

namespace ostrel::PopupFormat {

std::string formatMB(double mebibytes) {
    if (mebibytes >= 1024) return fmt::format("{:.1f} GB", mebibytes / 1024);
    return fmt::format("{:.0f} MB", mebibytes);
}

std::string formatUptime(double hours) {
    const auto wholeHours = int64_t(std::floor(hours));
    if (hours >= 24) return fmt::format("{}d {}h", wholeHours / 24, wholeHours % 24);
    return fmt::format("{}h", wholeHours);
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

std::string pidList(const std::vector<int64_t>& pids) {
    if (pids.empty()) return {};
    if (pids.size() == 1) return fmt::format("PID: {}", pids.front());
    constexpr size_t kListed = 5;
    const size_t listed = std::min(pids.size(), kListed);
    return fmt::format("PIDs: {}{}", fmt::join(pids.begin(), pids.begin() + listed, ", "),
                       pids.size() > kListed ? "..." : "");
}

std::string localTimeOfDay(Date date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

}  // namespace ostrel::PopupFormat
