#include <QAbstractButton>
#include <QLineEdit>
#include <algorithm>

#include "gui/popup_scene.h"

namespace ostrel::testing {
namespace {

using Texts = std::vector<std::string>;

bool shows(const Texts& texts, const std::string& text) {
    return std::ranges::find(texts, text) != texts.end();
}

class PopupPanelTest : public PopupScene {};

TEST_F(PopupPanelTest, StoppedWithoutADestinationOffersNoStartAndSaysWhy) {
    stoppedWithoutADestination();
    open();
    const Texts texts = visibleTexts();
    EXPECT_TRUE(shows(texts, "Stopped"));
    EXPECT_TRUE(shows(texts, "Configure Storage or Upload in Settings to start"));
    EXPECT_FALSE(shows(texts, "Last collection:"));
    EXPECT_FALSE(button("Start Collection")->isEnabled());
    EXPECT_TRUE(button("Upload Now")->isEnabled());
    EXPECT_TRUE(button("Open Dashboard")->isEnabled());
}

TEST_F(PopupPanelTest, RunningShowsCardsGroupsAndPinsAndFollowsChanges) {
    runningWithGroupsAndPins();
    open();
    Texts texts = visibleTexts();
    for (const char* text : {"Running", "Current Metrics", "62%", "Normal", "76%", "2d 2h",
                             "Top CPU", "(combined)", "32.1%", "Watched Processes", "firefox",
                             "No matching processes found", "Interval: 2s · Upload: 5m"})
        EXPECT_TRUE(shows(texts, text)) << text;
    EXPECT_TRUE(button("Stop Collection")->isEnabled());

    // A published change reaches the open panel without reopening it.
    monitor->isUploading.set(true);
    settle();
    EXPECT_TRUE(shows(visibleTexts(), "Uploading..."));
    EXPECT_FALSE(button("Uploading...")->isEnabled());

    // Minimal: the metrics go, the watched processes stay.
    configManager.config.modify([](MonitorConfig& config) { config.minimalUI = true; });
    settle();
    texts = visibleTexts();
    EXPECT_FALSE(shows(texts, "Current Metrics"));
    EXPECT_TRUE(shows(texts, "Watched Processes"));
}

TEST_F(PopupPanelTest, SearchTypedInTheFieldListsMatchesThatCanBePinned) {
    open();
    button("Find & Pin Process")->click();
    settle();
    QLineEdit* field = panel->findChild<QLineEdit*>();
    ASSERT_TRUE(field && field->isVisible());
    EXPECT_EQ(field->placeholderText().toStdString(), "Search running processes...");
    processes->processes = {{.pid = 600, .ppid = 1, .name = "containerd", .user = "root"}};
    field->setText("contai");
    emit field->textEdited(field->text());
    settle();
    EXPECT_TRUE(shows(visibleTexts(), "containerd"));
    EXPECT_EQ(field->text().toStdString(), "contai");

    // The last pin slot goes to it; after that, the row is pinned.
    for (const char* name : {"a", "b", "c", "d"})
        monitor->pinProcess(name);
    settle();
    const auto pins = panel->findChildren<QAbstractButton*>();
    const auto pin = std::ranges::find_if(pins, [](QAbstractButton* button) {
        return button->toolTip() == "Pin containerd" && button->isVisible();
    });
    ASSERT_NE(pin, pins.end());
    (*pin)->click();
    settle();
    EXPECT_TRUE(monitor->isPinned("containerd"));
}

}  // namespace
}  // namespace ostrel::testing
