// Writes pictures of the popup in its main states, light and dark, for a person to look at:
// ostrel_popup_pictures writes to ./popup-pictures, or to OSTREL_PICTURES_DIR.
#include <QDir>
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
                         [](const auto& info) { return info.param ? "dark" : "light"; });

}  // namespace
}  // namespace ostrel::testing
