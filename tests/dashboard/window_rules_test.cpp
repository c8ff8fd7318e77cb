#include <gtest/gtest.h>

#include "dashboard/alert_history.h"
#include "dashboard/controls_header.h"
#include "dashboard/dashboard_summaries.h"
#include "dashboard/device_sidebar.h"
#include "dashboard/main_area.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

using C = DashboardColor;
using namespace std::chrono_literals;

const Date kNoon = Date(std::chrono::seconds(1795348800));  // 2026-11-22 12:00 UTC

TEST(MainArea, PhasesPickTheLoadingEmptyErrorOrContentView) {
    const MainArea first = mainAreaFor(FetchPhase{}, -1, "");
    EXPECT_EQ(first.view, MainArea::View::loading);
    EXPECT_TRUE(first.showsSpinner);
    EXPECT_EQ(first.message, "Loading metrics...");
    const MainArea fetching = mainAreaFor(FetchPhase::fetching(), 0.4, "Reading files");
    EXPECT_FALSE(fetching.showsSpinner);
    EXPECT_EQ(fetching.progress, 0.4);
    EXPECT_EQ(fetching.message, "Reading files");

    EXPECT_EQ(mainAreaFor(FetchPhase::empty(), 0, "").title, "No metrics data");
    const MainArea failed = mainAreaFor(FetchPhase::failure(DashboardError{}), 0, "");
    EXPECT_EQ(failed.view, MainArea::View::error);
    EXPECT_EQ(failed.message, "Metrics storage is not available");
    EXPECT_TRUE(failed.showsRetry);
    // A refresh runs with the samples on screen: the phase stays success and so does the view.
    EXPECT_EQ(mainAreaFor(FetchPhase::success({}), -1, "Refreshing").view, MainArea::View::content);
}

TEST(ControlsHeader, DayLabelsByTheViewersCalendar) {
    const std::string today = Formatters::dailyRotation(kNoon);
    const std::string yesterday = Formatters::dailyRotation(kNoon - 24h);
    EXPECT_EQ(formatDayLabel(std::nullopt, kNoon), "Select Day");
    EXPECT_EQ(formatDayLabel(today, kNoon), "Today");
    EXPECT_EQ(formatDayLabel(yesterday, kNoon), "Yesterday");
    EXPECT_EQ(formatDayLabel("2026-11-19", kNoon + 240h), "Thu, Nov 19");
    EXPECT_EQ(formatDayLabel("2024-02-29", kNoon), "Thu, Feb 29");
    EXPECT_EQ(formatDayLabel("2026-02-30", kNoon), "2026-02-30");
    EXPECT_EQ(formatDayLabel("last week", kNoon), "last week");
}

TEST(DeviceSidebar, UptimeAndHardwareRows) {
    EXPECT_EQ(formatUptime(59), "0m");
    EXPECT_EQ(formatUptime(3660), "1h 1m");
    EXPECT_EQ(formatUptime(90000), "1d 1h");

    EXPECT_FALSE(deviceSidebar({}).hasDeviceInfo);
    CompactMetric metric{.hostname = "box", .cpuCount = 10, .totalMemoryMB = 32768};
    metric.system = SystemInfo{.uptimeHours = 25.5,
                               .macOSVersion = "Debian 12",
                               .cpuBrand = "Ryzen 7",
                               .performanceCores = 4,
                               .efficiencyCores = 6};
    const auto content = deviceSidebar({.latestMetrics = metric,
                                        .sampleCount = 1440,
                                        .externalSourcePath = "/tmp/logs",
                                        .multipleHostnames = {"box", "other"}});
    EXPECT_EQ(content.title, "External");
    EXPECT_EQ(content.machineCount, "2 machines");
    EXPECT_EQ(content.sampleCount, "1440 samples");
    ASSERT_EQ(content.sections.size(), 2u);
    EXPECT_EQ(content.sections[0].rows,
              (std::vector<SidebarInfoRow>{
                  {"Chip", "Ryzen 7"}, {"CPU", "10 cores (4P + 6E)"}, {"Memory", "32 GB"}}));
    EXPECT_EQ(content.sections[1].rows,
              (std::vector<SidebarInfoRow>{{"macOS", "Debian 12"}, {"Uptime", "1d 1h"}}));
}

TEST(DashboardSummaries, HeroStripColoursAndSparklines) {
    DashboardFigures figures;
    for (int i = 0; i < 61; ++i)
        figures.cpuUsage.push_back({.value = double(i)});
    figures.memoryUsed = {{.value = 3}};
    figures.avgCpuUsage = 50;
    figures.peakCpuUsage = std::pair{93.25, kNoon};
    figures.peakMemoryPressure = "Warning";
    auto hero = heroStats(figures);
    EXPECT_EQ(hero[0].value, "50%");
    EXPECT_EQ(hero[0].color, C::green);  // 50 itself is still green
    EXPECT_EQ(hero[0].detail, "Peak 93.2%");
    EXPECT_EQ(hero[0].sparkline.size(), 60u);
    EXPECT_EQ(hero[0].sparkline.front(), 1);
    EXPECT_EQ(hero[1].sparkline, std::vector<double>{3});
    EXPECT_EQ(hero[1].value, "--");  // no memory figures: a dash, not a zero
    EXPECT_EQ(hero[2].color, C::yellow);
    EXPECT_EQ(hero[2].detail, "Peak: --");

    figures.avgCpuUsage = 80.5;
    figures.sourceTimezone = SourceTimeZone{0, "UTC"};
    figures.avgSwapUsedMB = 512;
    EXPECT_EQ(heroStats(figures)[0].color, C::red);
    EXPECT_EQ(heroStats(figures)[2].detail, "Peak: 512 MB");
    const auto cards = summaryCards(figures);
    EXPECT_EQ(cards[0].secondary, (SummaryValue{"Peak @ 12:00:00 PM", "93.2%", C::red}));
    EXPECT_EQ(cards[3].primary.value, "0 B");
    EXPECT_FALSE(topConsumerCard(figures));
}

TEST(AlertHistory, OneCardOpenAtATimeWithTheTypesLabel) {
    AlertHistory history;
    AlertEvent high{.timestamp = kNoon, .alert = {.type = "cpu_threshold", .value = "95%"}};
    high.alert.threshold = "80%";
    high.alert.topCPUProcesses = std::vector<AlertProcessInfo>{{7, "build", 95.0, std::nullopt}};
    const AlertEvent own{.timestamp = kNoon, .alert = {.type = "cpu_high", .message = "CPU"}};
    history.setAlerts({high, own});

    auto cards = history.cards(SourceTimeZone{0, "UTC"});
    EXPECT_EQ(cards[0].label, "High CPU");
    EXPECT_EQ(cards[0].color, C::orange);
    EXPECT_EQ(cards[0].time, "Nov 22, 12:00:00 PM");
    EXPECT_EQ(cards[1].label, "Alert");  // the type this system writes is not in the table
    EXPECT_EQ(cards[1].color, C::blue);
    EXPECT_FALSE(cards[0].isExpanded);
    EXPECT_TRUE(cards[0].topCPUProcesses.empty());

    history.toggle(cards[0].id);
    cards = history.cards(std::nullopt);
    EXPECT_EQ(cards[0].chevron, "chevron.up");
    EXPECT_EQ(cards[0].threshold, "80%");
    EXPECT_EQ(cards[0].topCPUProcesses, (std::vector<AlertProcessRow>{{7, "build", "95.0%"}}));
    history.toggle(cards[1].id);  // opening the second closes the first
    cards = history.cards(std::nullopt);
    EXPECT_FALSE(cards[0].isExpanded);
    EXPECT_TRUE(cards[1].isExpanded);
    history.toggle(cards[1].id);
    EXPECT_FALSE(history.expandedAlertId());
    EXPECT_EQ(alertTypeStyle("memory_pressure_critical"),
              (AlertTypeStyle{"Memory Critical", C::red, "memorychip"}));
}

}  // namespace
}  // namespace ostrel
