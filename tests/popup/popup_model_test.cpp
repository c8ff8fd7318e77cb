#include "popup/popup_model.h"

#include <gtest/gtest.h>

#include "monitor/monitor_fixture.h"

namespace ostrel {
namespace {

class PopupModelTest : public testing::MonitorFixture {
  protected:
    PopupModelTest() {
        build();
        processes->processes = {{.pid = 40, .ppid = 1, .name = "webserver", .user = "u"}};
        model = std::make_unique<PopupModel>(
            *monitor, configManager, dispatcher.mainQueue(), aggregator,
            PopupModel::Actions{.toggleMonitoring = [this] { calls.push_back("toggle"); },
                                .openDashboard = [this] { calls.push_back("dashboard"); },
                                .openSettings = [this] { calls.push_back("settings"); }},
            [](Date) { return std::string("12:00:00"); });
        subscription = model->content.subscribe([this](const PopupContent&) { ++published; });
    }

    void TearDown() override {
        subscription.cancel();
        model.reset();  // before the monitor it observes
        MonitorFixture::TearDown();
    }

    const PopupContent& content() const { return model->content.get(); }

    ConfigurationManager configManager{preferences};
    ProcessAggregator aggregator{makeProcessNameSource()};
    std::vector<std::string> calls;
    std::unique_ptr<PopupModel> model;
    Published<PopupContent>::Subscription subscription;
    int published = 0;
};

TEST_F(PopupModelTest, FollowsTheMonitorOncePerTurnAndForwardsActions) {
    EXPECT_EQ(content().status[0].value.text, "Stopped");
    monitor->start();
    dispatcher.runUntilIdle();
    EXPECT_EQ(content().status[0].value.text, "Running");
    EXPECT_EQ(content().header.statusDot, PopupColor::green);

    // Several changes in one turn of the main queue: one new content, with all of them.
    published = 0;
    monitor->successCount.set(1234);
    monitor->lastError.set("Disk full");
    dispatcher.runUntilIdle();
    EXPECT_EQ(published, 1);
    EXPECT_EQ(content().status[2].value.text, "1234");
    EXPECT_EQ(content().error, "Disk full");

    configManager.config.modify([](MonitorConfig& config) { config.uploadEnabled = true; });
    dispatcher.runUntilIdle();
    EXPECT_TRUE(content().controls.upload);

    model->toggleMonitoring();
    model->openDashboard();
    model->openSettings();
    EXPECT_EQ(calls, (std::vector<std::string>{"toggle", "dashboard", "settings"}));
}

TEST_F(PopupModelTest, SearchPinsAndCollapsesWithoutLeavingResults) {
    model->expandSearch();
    model->setSearchText("web");
    dispatcher.runUntilIdle();
    ASSERT_EQ(content().search.results.size(), 1u);
    EXPECT_EQ(content().search.results[0].name, "webserver");

    model->togglePin("webserver");
    dispatcher.runUntilIdle();
    ASSERT_TRUE(content().watched);
    EXPECT_EQ(content().search.results[0].pin.help, "Unpin webserver");
    model->togglePin("webserver");
    dispatcher.runUntilIdle();
    EXPECT_FALSE(content().watched);

    model->collapseSearch();
    dispatcher.runUntilIdle();
    EXPECT_FALSE(content().search.expanded);
    EXPECT_TRUE(monitor->processSearchResults.get().empty());
}

}  // namespace
}  // namespace ostrel
