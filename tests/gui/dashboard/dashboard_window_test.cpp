// The dashboard window as a person sees it, over realistic history: what each
// phase shows, the figures of the model on screen, the day stepper, a picked
// source of two hosts and a zoom.
#include "gui/dashboard/dashboard_window.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <algorithm>

#include "dashboard/controls_header.h"
#include "dashboard/dashboard_figures.h"
#include "dashboard/dashboard_summaries.h"
#include "gui/dashboard/dashboard_main_area.h"
#include "gui/dashboard/dashboard_scene.h"
#include "gui/dashboard/device_sidebar.h"

namespace ostrel::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::IsSupersetOf;
using ::testing::Not;

class DashboardWindowTest : public DashboardScene {
  protected:
    // Texts of the labels and buttons shown, enabled or not.
    std::vector<std::string> shownTexts() const {
        std::vector<std::string> texts;
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            if (label->isVisibleTo(window.get()) && !label->text().isEmpty())
                texts.push_back(label->text().toStdString());
        }
        for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
            if (button->isVisibleTo(window.get()) && !button->text().isEmpty())
                texts.push_back(button->text().toStdString());
        }
        return texts;
    }

    QAbstractButton* button(const std::string& text) const {
        for (QAbstractButton* candidate : window->findChildren<QAbstractButton*>()) {
            if (candidate->text().toStdString() == text && candidate->isVisibleTo(window.get()))
                return candidate;
        }
        ADD_FAILURE() << "no button " << text;
        return nullptr;
    }

    MainArea::View shownView() const { return window->mainArea()->shownView(); }
};

TEST_F(DashboardWindowTest, OpensOnTheNewestDayWithTheModelsFiguresAndStepsToAnOlderOne) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_EQ(shownView(), MainArea::View::content);
    EXPECT_EQ(window->windowTitle().toStdString(), "Ostrel Dashboard");
    EXPECT_EQ(model->selectedDay(), newestDay());

    const DashboardFigures figures = DashboardFigures::of(*model);
    std::vector<std::string> expected;
    for (const HeroStat& hero : heroStats(figures)) {
        expected.push_back(hero.title);
        expected.push_back(hero.value);
        expected.push_back(hero.detail);
    }
    for (const SummaryStatCard& card : summaryCards(figures)) {
        expected.push_back(card.primary.value);
        expected.push_back(card.secondary.value);
    }
    expected.push_back(topConsumerCard(figures).value().name);
    expected.push_back("ops-laptop-07.corp.example.com");
    expected.push_back("1440 samples");
    const Date now = std::chrono::system_clock::now();
    expected.push_back(formatDayLabel(newestDay(), now));
    EXPECT_THAT(shownTexts(), IsSupersetOf(expected));
    EXPECT_THAT(shownTexts(), Not(Contains("Return to Local Data")));
    EXPECT_TRUE(button("Older")->isEnabled());
    EXPECT_FALSE(button("Newer")->isEnabled());

    // The older day comes in under the charts already shown: no loading view on
    // the way.
    button("Older")->click();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_EQ(shownView(), MainArea::View::content);
    EXPECT_EQ(model->selectedDay(), olderDay());
    EXPECT_THAT(shownTexts(), Contains(formatDayLabel(olderDay(), now)));
    EXPECT_FALSE(button("Older")->isEnabled());
    EXPECT_TRUE(button("Newer")->isEnabled());
}

TEST_F(DashboardWindowTest, WithoutAStoreShowsTheErrorAndRetryLoadsAgain) {
    openWindow(std::nullopt);
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::failure));
    EXPECT_EQ(shownView(), MainArea::View::error);
    EXPECT_THAT(shownTexts(),
                IsSupersetOf({"Error loading metrics", "Metrics storage is not available", "Retry",
                              "No device info"}));

    button("Retry")->click();
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::fetching);
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::failure));
    EXPECT_THAT(shownTexts(), Contains("Metrics storage is not available"));
}

TEST_F(DashboardWindowTest, APickedFileOfTwoHostsOffersTheHostsAndTheWayBack) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    model->loadFromExternalPaths({twoHostFile()});
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_THAT(shownTexts(), AllOf(IsSupersetOf(std::vector<std::string>{
                                        "External", "two-hosts.jsonl", "2 machines",
                                        "Return to Local Data", model->selectedHostname->value()}),
                                    Not(Contains("Older"))));

    // The server, first by name, has half the samples of the laptop.
    EXPECT_THAT(shownTexts(), IsSupersetOf({"build-server-02", "720 samples"}));
    QComboBox* hosts = window->sidebar()->hostSelector();
    ASSERT_EQ(hosts->count(), 2);
    const int laptop = hosts->findText(QStringLiteral("ops-laptop-07.corp.example.com"));
    ASSERT_GE(laptop, 0);
    hosts->activated(laptop);
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_THAT(shownTexts(),
                AllOf(Contains("ops-laptop-07.corp.example.com"), Not(Contains("build-server-02")),
                      Not(Contains("720 samples"))));
    EXPECT_EQ(hosts->currentIndex(), laptop);

    button("Return to Local Data")->click();
    ASSERT_TRUE(waitUntil([&] { return !model->externalSourcePath->has_value(); }, "local data"));
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_THAT(shownTexts(), AllOf(Contains("Device"), Contains("Older"),
                                    Not(Contains("Return to Local Data"))));
}

TEST_F(DashboardWindowTest, AZoomShowsItsRangeUntilCleared) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    zoomIntoTheMorning();
    const auto range = ControlsHeaderState::of(*model, std::chrono::system_clock::now()).zoomRange;
    ASSERT_TRUE(range.has_value());
    EXPECT_THAT(shownTexts(), Contains(*range));

    QAbstractButton* clear = nullptr;
    for (QAbstractButton* candidate : window->findChildren<QAbstractButton*>()) {
        if (candidate->toolTip() == QStringLiteral("Clear zoom")) clear = candidate;
    }
    ASSERT_NE(clear, nullptr);
    clear->click();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    EXPECT_FALSE(model->isZoomActive());
    EXPECT_THAT(shownTexts(), Not(Contains(*range)));
}

}  // namespace
}  // namespace ostrel::testing
