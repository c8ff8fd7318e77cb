// Writes pictures of the popup in its main states, light and dark, for a person to look at:
// ostrel_popup_pictures writes to ./popup-pictures, or to OSTREL_PICTURES_DIR.
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>

#include "gui/popup_scene.h"

namespace ostrel::testing {
namespace {

class PopupPictures : public PopupScene, public ::testing::WithParamInterface<bool> {
  protected:
    void save(const std::string& state) {
        const QString folder =
            qEnvironmentVariable("OSTREL_PICTURES_DIR", QStringLiteral("popup-pictures"));
        QDir().mkpath(folder);
        const QString file = folder + "/popup-" + QString::fromStdString(state) +
                             (GetParam() ? "-dark.png" : "-light.png");
        ASSERT_TRUE(panel->grab().save(file));
        std::printf("wrote %s\n", qPrintable(QDir(file).absolutePath()));
    }

    void SetUp() override { usePalette(GetParam()); }
};

TEST_P(PopupPictures, StoppedWithoutADestination) {
    stoppedWithoutADestination();
    open();
    save("stopped-no-destination");
}

TEST_P(PopupPictures, RunningWithGroupsAndPins) {
    runningWithGroupsAndPins();
    open();
    save("running");
}

// Not a picture but a figure: what a new sample costs an open popup, from the published change
// to the rebuilt sections.
TEST_P(PopupPictures, UpdateCostPerSample) {
    runningWithGroupsAndPins();
    open();
    constexpr int kSamples = 50;
    QElapsedTimer timer;
    timer.start();
    for (int sample = 0; sample < kSamples; ++sample) {
        monitor->successCount.set(monitor->successCount.get() + 1);
        SystemMetrics metrics = *monitor->lastMetrics.get();
        metrics.cpu->userPercent = sample;
        monitor->lastMetrics.set(std::move(metrics));
        settle();
    }
    std::printf("popup update per sample: %.2f ms (mean of %d)\n",
                double(timer.nsecsElapsed()) / 1e6 / kSamples, kSamples);
}

TEST_P(PopupPictures, MinimalUI) {
    minimalUI();
    open();
    save("minimal");
}

TEST_P(PopupPictures, SearchWithResults) {
    runningWithGroupsAndPins();
    searchWithResults();
    settle();
    save("search");
}

INSTANTIATE_TEST_SUITE_P(Palettes, PopupPictures, ::testing::Values(false, true),
                         [](const auto& palette) { return palette.param ? "dark" : "light"; });

}  // namespace
}  // namespace ostrel::testing
