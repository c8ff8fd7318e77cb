#include "popup/popup_format.h"

#include <fmt/format.h>

#include <cmath>
#include <ctime>

namespace ostrel::PopupFormat {

std::string formatUptime(double hours) {
    const auto wholeHours = int64_t(std::floor(hours));
    if (hours >= 24) return fmt::format("{}d {}h", wholeHours / 24, wholeHours % 24);
    return fmt::format("{}h", wholeHours);
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
