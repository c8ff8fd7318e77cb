#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_figures.h"

namespace ostrel {

// A big figure at the top of the dashboard, with a small line of its series.
struct HeroStat {
    std::string title;
    std::string value;
    DashboardColor color = DashboardColor::primary;
    std::vector<double> sparkline;
    std::string detail;
    std::string helpText;

    bool operator==(const HeroStat&) const = default;
};

// The values a sparkline draws: the series, or its last 60 points when longer.
std::vector<double> sparklineOf(const ChartSeries& series);

// CPU usage, memory and memory pressure.
std::array<HeroStat, 3> heroStats(const DashboardFigures& figures);

struct SummaryValue {
    std::string label;
    std::string value;
    DashboardColor color = DashboardColor::primary;

    bool operator==(const SummaryValue&) const = default;
};

struct SummaryStatCard {
    std::string icon;
    DashboardColor iconColor = DashboardColor::primary;
    std::string title;
    SummaryValue primary;
    SummaryValue secondary;
    std::optional<std::string> detail;

    bool operator==(const SummaryStatCard&) const = default;
};

struct TopConsumerCard {
    std::string title = "TOP CONSUMER";
    std::string icon = "star.fill";
    std::string name;
    std::string cpu;
    std::string memory;

    bool operator==(const TopConsumerCard&) const = default;
};

// CPU, memory, events and network.
std::array<SummaryStatCard, 4> summaryCards(const DashboardFigures& figures);
// Absent when no process was listed.
std::optional<TopConsumerCard> topConsumerCard(const DashboardFigures& figures);

}  // namespace ostrel
