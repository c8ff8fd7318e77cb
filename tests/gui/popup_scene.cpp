#include "gui/popup_scene.h"

#include <QAbstractButton>
#include <QLabel>
#include <algorithm>

#include "gui/test_application.h"

namespace ostrel::testing {
namespace {

// A button's text as shown: "&&" is one ampersand.
QString shownText(const QAbstractButton* button) {
    return button->text().replace(QStringLiteral("&&"), QStringLiteral("&"));
}

ProcessMetricInfo process(int64_t pid, int64_t ppid, const char* name, double cpu, double memory) {
    return {.pid = pid, .ppid = ppid, .name = name, .cpuPercent = cpu, .memoryMB = memory};
}

}  // namespace

PopupScene::PopupScene() {
    startTestApplication();
    build();
}

void PopupScene::TearDown() {
    panel.reset();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    MonitorFixture::TearDown();
}

void PopupScene::configure(const PreferenceDictionary& settings) {
    for (const auto& [key, value] : settings)
        preferences->set(key, value);
    configManager.load();
    monitor->configure(configManager.config.get());
}

void PopupScene::stoppedWithoutADestination() {
    configure({{"storageEnabled", false}, {"uploadEnabled", true}, {"hecEndpoint", "https://hec"}});
}

void PopupScene::runningWithGroupsAndPins() {
    configure({{"aggregateProcesses", true},
               {"uploadEnabled", true},
               {"hecEndpoint", "https://hec"},
               {"hecToken", "t"}});
    monitor->start();
    monitor->pinProcess("firefox");
    monitor->pinProcess("postgres");
    settle();
    SystemMetrics sample;
    sample.cpu = CPUMetrics{.loadPercent = 63, .userPercent = 41.2, .systemPercent = 21.7};
    sample.memory = MemoryMetrics{.pressureString = "normal"};
    sample.power = PowerMetrics{.onAC = true, .batteryPercent = 76};
    sample.system = SystemInfo{.uptimeHours = 50.2};
    sample.processes = ProcessMetrics{
        .topCPU =
            std::vector{process(100, 1, "firefox", 18.4, 812),
                        process(101, 100, "Isolated Web Co", 9.6, 402),
                        process(102, 100, "Isolated Web Co", 4.1, 388),
                        process(200, 1, "code", 7.5, 640), process(201, 200, "code", 2.2, 310),
                        process(300, 1, "Xorg", 3.1, 120)},
        .topMemory =
            std::vector{process(100, 1, "firefox", 18.4, 812), process(200, 1, "code", 7.5, 640),
                        process(101, 100, "Isolated Web Co", 9.6, 402),
                        process(400, 1, "postgres", 0.3, 1536)},
    };
    monitor->lastMetrics.set(sample);
    monitor->successCount.set(1284);
    monitor->pendingUploadCount.set(37);
    monitor->storageSizeMB.set(14.62);
    monitor->totalUploadedCount.set(1247);
    monitor->lastUploadCount.set(150);
    monitor->lastUploadDate.set(dispatcher.clock().now());
    monitor->watchedMetrics.set({{.pattern = "firefox",
                                  .processCount = 3,
                                  .cpuPercent = 32.1,
                                  .memoryMB = 1602,
                                  .networkBytesIn = 5'400'000,
                                  .networkBytesOut = 310'000,
                                  .diskReadBytesPerSec = 0,
                                  .diskWriteBytesPerSec = 84'000,
                                  .pids = {100, 101, 102}}});
}

void PopupScene::minimalUI() {
    runningWithGroupsAndPins();
    configure({{"minimalUI", true}});
}

void PopupScene::searchWithResults() {
    const auto reading = [](int32_t pid, int32_t ppid, const char* name, const char* user,
                            uint64_t megabytes, double cpuPercent) {
        return ProcessReading{.pid = pid,
                              .ppid = ppid,
                              .name = name,
                              .user = user,
                              .residentBytes = megabytes << 20,
                              .cpuPercent = cpuPercent};
    };
    processes->processes = {
        reading(200, 1, "code", "ann", 640, 7.5), reading(201, 200, "code", "ann", 310, 2.2),
        reading(500, 1, "colord", "colord", 12, 0), reading(600, 1, "containerd", "root", 48, 0.4)};
    model().expandSearch();
    model().setSearchText("co");
}

PopupPanel& PopupScene::open() {
    if (!panel) {
        panel = std::make_unique<PopupPanel>([this] {
            return std::make_unique<PopupModel>(*monitor, configManager, dispatcher.mainQueue(),
                                                aggregator,
                                                PopupModel::Actions{[] {}, [] {}, [] {}},
                                                [](Date) { return std::string("14:05:09"); });
        });
        panel->show();
    }
    settle();
    return *panel;
}

void PopupScene::settle() {
    dispatcher.runUntilIdle();
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

std::vector<std::string> PopupScene::visibleTexts() {
    std::vector<std::pair<int, std::string>> placed;
    const auto add = [&](QWidget* widget, const QString& text) {
        if (text.isEmpty() || !widget->isVisibleTo(panel.get())) return;
        placed.emplace_back(widget->mapTo(panel.get(), QPoint(0, 0)).y(), text.toStdString());
    };
    for (QLabel* label : panel->findChildren<QLabel*>())
        add(label, label->text());
    for (QAbstractButton* button : panel->findChildren<QAbstractButton*>())
        add(button, shownText(button));
    std::ranges::stable_sort(placed, {}, &std::pair<int, std::string>::first);
    std::vector<std::string> texts;
    for (auto& entry : placed)
        texts.push_back(std::move(entry.second));
    return texts;
}

QAbstractButton* PopupScene::button(const std::string& text) {
    for (QAbstractButton* candidate : panel->findChildren<QAbstractButton*>()) {
        if (shownText(candidate).toStdString() == text && candidate->isVisibleTo(panel.get()))
            return candidate;
    }
    ADD_FAILURE() << "no button " << text;
    return nullptr;
}

void PopupScene::usePalette(bool dark) {
    useTestPalette(dark);
}

}  // namespace ostrel::testing
