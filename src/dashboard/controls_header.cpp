#include "dashboard/controls_header.h"

#include <charconv>
#include <chrono>
#include <string_view>

#include "dashboard/dashboard_dates.h"
#include "dashboard/dashboard_view_model.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

using namespace std::chrono;

std::optional<year_month_day> parseDay(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const auto number = [&](size_t at, size_t length) -> std::optional<int> {
        int value = 0;
        const char* end = text.data() + at + length;
        const auto [stop, error] = std::from_chars(text.data() + at, end, value);
        if (error != std::errc() || stop != end) return std::nullopt;
        return value;
    };
    const auto year = number(0, 4), month = number(5, 2), day = number(8, 2);
    if (!year || !month || !day) return std::nullopt;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(unsigned(*month)),
                              std::chrono::day(unsigned(*day))};
    if (!date.ok()) return std::nullopt;
    return date;
}

}  // namespace

const char* const kNormalizeCPUHelp =
    "Raw: Per-core CPU — a process using 4 cores shows 400%. Matches Activity Monitor and ps.\n"
    "\n"
    "Normalized: Fraction of total system CPU (0-100%). A process using 4 of 10 cores shows 40%.";

std::string formatDayLabel(const std::optional<std::string>& day, Date now) {
    if (!day) return "Select Day";
    const auto date = parseDay(*day);
    if (!date) return *day;
    const auto today = parseDay(Formatters::dailyRotation(now));
    if (today && *date == *today) return "Today";
    if (today && sys_days(*date) == sys_days(*today) - days(1)) return "Yesterday";

    static constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    // The day's own calendar fields, read at its start in a zone of no offset.
    return std::string(kWeekdays[weekday(sys_days(*date)).c_encoding()]) + ", " +
           formatDate(sys_days(*date), "MMM d", SourceTimeZone{0, "UTC"});
}

ControlsHeaderState ControlsHeaderState::of(const DashboardViewModel& model, Date now) {
    const bool external = model.externalSourcePath->has_value();
    ControlsHeaderState state{.showsReturnToLocalData = external,
                              .showsDayStepper = !external,
                              .canGoOlder = model.canNavigateDay(+1),
                              .canGoNewer = model.canNavigateDay(-1),
                              .dayLabel = formatDayLabel(model.selectedDay(), now)};
    for (const std::string& day : model.availableDays.get())
        state.dayMenu.push_back({day, formatDayLabel(day, now), model.selectedDay() == day});
    if (model.isZoomActive())
        state.zoomRange = formatZoomRange(*model.zoomStartDate(), *model.zoomEndDate());
    return state;
}

}  // namespace ostrel
