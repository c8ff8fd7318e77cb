#include <gtest/gtest.h>

#include "popup/popup_builder.h"
#include "popup/popup_format.h"

namespace ostrel {
namespace {

using namespace PopupFormat;

TEST(PopupFormat, UptimesAndPidLists) {
    EXPECT_EQ(formatUptime(23.9), "23h");
    EXPECT_EQ(formatUptime(25.5), "1d 1h");
    EXPECT_EQ(pidList({}), "");
    EXPECT_EQ(pidList({7}), "PID: 7");
    EXPECT_EQ(pidList({1, 2, 3, 4, 5, 6}), "PIDs: 1, 2, 3, 4, 5...");
}

class PopupContentTest : public ::testing::Test {
  protected:
    PopupContent build() { return buildPopupContent(inputs, aggregator, timeOfDay); }

    static SystemMetrics metrics() {
        SystemMetrics sample;
        sample.cpu = CPUMetrics{.loadPercent = 3, .userPercent = 30, .systemPercent = 19.9};
        sample.memory = MemoryMetrics{.pressureString = "warning"};
        sample.system = SystemInfo{.uptimeHours = 25.5};
        sample.processes = ProcessMetrics{
            .topCPU =
                std::vector<ProcessMetricInfo>{
                    {.pid = 10, .ppid = 1, .name = "a", .cpuPercent = 7},
                    {.pid = 11, .ppid = 10, .name = "b", .cpuPercent = 5}},
            .topMemory = std::vector<ProcessMetricInfo>{},
        };
        return sample;
    }

    PopupInputs inputs;
    ProcessAggregator aggregator{makeProcessNameSource("/nonexistent")};
    TimeOfDayFormat timeOfDay = [](Date) { return std::string("10:20:30"); };
};

TEST_F(PopupContentTest, StoppedWithoutADestinationCannotStartAndSaysWhy) {
    inputs.config.storageEnabled = false;
    inputs.config.uploadEnabled = true;
    inputs.config.hecEndpoint = "https://collector";
    const PopupContent content = build();
    EXPECT_FALSE(content.controls.startStop.enabled);
    EXPECT_EQ(content.controls.startStop.title, "Start Collection");
    EXPECT_EQ(content.controls.startStop.help, "Configure storage or upload in Settings first");
    EXPECT_EQ(content.footer.text, "Configure Storage or Upload in Settings to start");
    EXPECT_EQ(content.footer.image, "exclamationmark.triangle.fill");
    EXPECT_EQ(content.header.statusDot, PopupColor::dimmedGrey);
    // No sample yet: no metrics section; no pins: no watched section.
    EXPECT_FALSE(content.metrics);
    EXPECT_FALSE(content.watched);
}

TEST_F(PopupContentTest, RunningWithUploadShowsItsRowsControlsAndFooter) {
    inputs.isRunning = true;
    inputs.successCount = 42;
    inputs.lastCollection = Date{};
    inputs.config.uploadEnabled = true;
    inputs.pendingUploadCount = 3;
    inputs.storageSizeMB = 1.25;
    inputs.totalUploadedCount = 40;
    inputs.lastUploadCount = 10;
    inputs.lastUploadDate = Date{};
    inputs.lastError = "HEC returned 403";
    PopupContent content = build();
    EXPECT_EQ(content.status, (std::vector<StatusRow>{
                                  {"Status:", {"Running"}},
                                  {"Last collection:", {"10:20:30"}},
                                  {"Collected:", {"42", PopupColor::dynamicGreen}},
                                  {"Pending:", {"3 records"}, "(1.2 MB)"},
                                  {"Uploaded:", {"40", PopupColor::blue}, "(10 @ 10:20:30)"},
                              }));
    EXPECT_EQ(content.error, "HEC returned 403");
    EXPECT_EQ(content.controls.startStop.title, "Stop Collection");
    EXPECT_EQ(content.controls.startStop.color, PopupColor::red);
    EXPECT_EQ(content.controls.upload->title, "Upload Now");
    EXPECT_EQ(content.footer.text, "Interval: 2s · Upload: 5m");

    inputs.isUploading = true;
    content = build();
    EXPECT_FALSE(content.controls.upload->enabled);
    EXPECT_TRUE(content.controls.upload->showsProgress);
    EXPECT_EQ(content.controls.upload->title, "Uploading...");
}

TEST_F(PopupContentTest, CardsFollowTheirThresholdsAndKeepTheirCells) {
    EXPECT_EQ(cpuColor(49.9), PopupColor::green);
    EXPECT_EQ(cpuColor(50), PopupColor::yellow);
    EXPECT_EQ(cpuColor(80), PopupColor::red);

    inputs.lastMetrics = metrics();
    auto cards = build().metrics->cards;
    EXPECT_EQ(cards[0]->value, "49%");  // 49.9, truncated, still green
    EXPECT_EQ(cards[0]->color, PopupColor::green);
    EXPECT_EQ(cards[1]->value, "Warning");
    EXPECT_EQ(cards[1]->color, PopupColor::yellow);
    EXPECT_FALSE(cards[2]);  // no power section: an empty cell keeps the others in place
    EXPECT_EQ(cards[3]->value, "1d 1h");

    // Without the user and system split, the load; a power section with neither figure.
    inputs.lastMetrics->cpu->systemPercent.reset();
    inputs.lastMetrics->power = PowerMetrics{};
    inputs.lastMetrics->memory->pressureString.reset();
    cards = build().metrics->cards;
    EXPECT_EQ(cards[0]->value, "3%");
    EXPECT_EQ(cards[1]->value, "N/A");
    EXPECT_EQ(cards[1]->color, PopupColor::secondary);
    EXPECT_EQ(cards[2]->value, "N/A");
}

TEST_F(PopupContentTest, ListsGroupWithPidTooltipsAndPinsStopAtFive) {
    inputs.lastMetrics = metrics();
    inputs.pinnedProcesses = {"a"};
    MetricsSection section = *build().metrics;
    EXPECT_FALSE(section.topMemory);  // an empty list is not shown
    ASSERT_EQ(section.topCPU->rows.size(), 2u);
    EXPECT_EQ(section.topCPU->note, "");
    EXPECT_EQ(section.topCPU->rows[1].pid, "11");
    EXPECT_EQ(section.topCPU->rows[0].pin, (PinButton{"a", true, true, "pin.fill", "Unpin a"}));

    inputs.config.aggregateProcesses = true;
    inputs.pinnedProcesses = {"p1", "p2", "p3", "p4", "p5"};
    section = *build().metrics;
    EXPECT_EQ(section.topCPU->note, "(combined)");
    ASSERT_EQ(section.topCPU->rows.size(), 1u);
    const ProcessRow& group = section.topCPU->rows[0];
    EXPECT_EQ(group.name, "a");
    EXPECT_EQ(group.count, "2");
    EXPECT_EQ(group.value, "12.0%");
    EXPECT_EQ(group.help, "PIDs: 10, 11");
    EXPECT_EQ(group.pin, (PinButton{"a", false, false, "pin", "Pin a (max 5)"}));

    inputs.config.showPIDsInUI = false;
    EXPECT_EQ(build().metrics->topCPU->rows[0].help, "a");
}

TEST_F(PopupContentTest, WatchedRowsShowTheirFiguresAndMinimalUIKeepsThem) {
    inputs.config.minimalUI = true;
    inputs.lastMetrics = metrics();
    inputs.pinnedProcesses = {"web", "gone"};
    inputs.watchedMetrics = {{.pattern = "web",
                              .processCount = 3,
                              .cpuPercent = 1.25,
                              .memoryMB = 2048,
                              .networkBytesIn = 1024,
                              .diskWriteBytesPerSec = 0,
                              .pids = {4, 5, 6}}};
    const PopupContent content = build();
    EXPECT_FALSE(content.metrics);
    ASSERT_TRUE(content.watched);
    const WatchedRow& web = content.watched->rows[0];
    EXPECT_EQ(web.count, "3");
    EXPECT_EQ(web.figures, (std::vector<PopupText>{{"1.2%", PopupColor::blue},
                                                   {"2.0 GB", PopupColor::purple},
                                                   {"1.0 KB", PopupColor::cyan}}));
    EXPECT_EQ(web.help, "PIDs: 4, 5, 6\nClick to unpin web");
    EXPECT_EQ(web.unpin.help, "Unpin web");
    EXPECT_EQ(content.watched->rows[1].noMatch, "No matching processes found");
}

TEST_F(PopupContentTest, SearchListHeightsAndItsPins) {
    EXPECT_FALSE(build().search.expanded);
    EXPECT_EQ(build().search.title, "Find & Pin Process");

    inputs.searchExpanded = true;
    inputs.config.aggregateProcesses = true;
    SearchSection search = build().search;
    EXPECT_EQ(search.groupedNote, "(grouped)");
    EXPECT_EQ(search.maxNote, "Max 5 pinned");
    EXPECT_FALSE(search.showsList);

    inputs.searchText = "zz";
    search = build().search;
    EXPECT_TRUE(search.showsClearButton);
    EXPECT_EQ(search.noResults, "No matching processes");

    inputs.processSearchResults.assign(20, {.name = "x", .cpuPercent = 1, .memoryMB = 2});
    EXPECT_EQ(build().search.listHeight, 180);
    inputs.processSearchResults.resize(3);
    inputs.processSearchResults[1].name = "pinned";
    inputs.pinnedProcesses = {"pinned", "p2", "p3", "p4", "p5"};
    search = build().search;
    EXPECT_EQ(search.listHeight, 66);
    EXPECT_EQ(search.results[0].pin.help, "Maximum pinned reached");
    EXPECT_FALSE(search.results[0].pin.enabled);
    EXPECT_EQ(search.results[1].pin.help, "Unpin pinned");
    EXPECT_EQ(search.results[0].memory, "2 MB");
}

}  // namespace
}  // namespace ostrel
