// Writes pictures of the whole dashboard window, light and dark, for a person to look at: one
// real day (as opened, and tall enough for all of its content), the empty state, a picked source
// of two hosts, and a zoom with a pin. ostrel_dashboard_pictures writes to
// ./dashboard-pictures, or to OSTREL_PICTURES_DIR.
#include <QDir>
#include <QScrollArea>

#include "gui/dashboard/dashboard_content.h"
#include "gui/dashboard/dashboard_main_area.h"
#include "gui/dashboard/dashboard_scene.h"
#include "gui/dashboard/dashboard_window.h"
#include "support/temp_dir.h"

namespace ostrel::testing {
namespace {

class DashboardPictures : public DashboardScene, public ::testing::WithParamInterface<bool> {
  protected:
    void SetUp() override { usePalette(GetParam()); }

    void save(const std::string& state) {
        waitUntilIdle();
        const QString folder =
            qEnvironmentVariable("OSTREL_PICTURES_DIR", QStringLiteral("dashboard-pictures"));
        QDir().mkpath(folder);
        const QString file =
            QStringLiteral("%1/dashboard-%2-%3.png")
                .arg(folder, QString::fromStdString(state),
                     GetParam() ? QStringLiteral("dark") : QStringLiteral("light"));
        ASSERT_TRUE(window->grab().save(file));
        std::printf("wrote %s\n", qPrintable(QDir(file).absolutePath()));
    }
};

TEST_P(DashboardPictures, OneDay) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    save("day");
    // As a person scrolling through it would see it all.
    const int contentHeight = window->mainArea()->content()->sizeHint().height();
    window->resize(window->width(), window->height() + std::max(0, contentHeight - 760));
    save("day-full");
}

TEST_P(DashboardPictures, Empty) {
    const TempDir emptyStore;
    openWindow(emptyStore.path());
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::empty));
    save("empty");
}

TEST_P(DashboardPictures, TwoHostSource) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    model->loadFromExternalPaths({twoHostFile()});
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    save("external-two-hosts");
}

TEST_P(DashboardPictures, ZoomWithAPin) {
    openWindow();
    ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    const Date start = zoomIntoTheMorning();
    model->setPinnedDate(start + std::chrono::minutes(47), "cpu");
    save("zoom-pin");
}

INSTANTIATE_TEST_SUITE_P(Palettes, DashboardPictures, ::testing::Values(false, true),
                         [](const auto& palette) { return palette.param ? "dark" : "light"; });

}  // namespace
}  // namespace ostrel::testing
