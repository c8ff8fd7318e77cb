#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_window.h"
#include "platform/dispatcher.h"

namespace ostrel::testing {

// A dashboard model over a store of realistic history, on Qt's event loop as its main queue with
// real background work, as the application runs it. The store holds two days, yesterday and the
// day before, of 1,440 samples each (one a minute) with watched-process events and an alert an
// hour; a picked file holds a day of two hosts. Written once per test process. Shared by the
// window's test, the sections' tests and the programs that write pictures.
class DashboardScene : public ::testing::Test {
  protected:
    DashboardScene();
    // Releases the window, then the model, before the dispatcher their work returns to.
    ~DashboardScene() override;

    // The model over the store in `storeFolder`, the written history unless told; without a
    // store (nullopt) every local load fails. Nothing is loaded yet: call loadMetrics, or open a
    // window that does.
    DashboardViewModel& makeModel(
        const std::optional<std::filesystem::path>& storeFolder = historyStore());

    // A dashboard window over a fresh model (see makeModel), shown, which starts its load.
    DashboardWindow& openWindow(
        const std::optional<std::filesystem::path>& storeFolder = historyStore());

    // Zooms the loaded day to 09:00-11:00 and waits for the zoom's series; returns 09:00.
    Date zoomIntoTheMorning();

    // Serves the event loop until the model's phase is `kind` and no rebuild runs; a failure of
    // the test, naming the phase reached, after a generous deadline. True when reached.
    bool waitForPhase(FetchPhase::Kind kind);
    // Serves the event loop until `done` holds; a failure naming `what` after the deadline.
    bool waitUntil(const std::function<bool()>& done, const std::string& what);
    // Serves the event loop until no load, rebuild or zoom rebuild runs.
    bool waitUntilIdle();

    // The folder of the store of written history.
    static std::filesystem::path historyStore();
    // "yyyy-MM-dd" of the store's newest day and of the day before it.
    static std::string newestDay();
    static std::string olderDay();
    // The picked file of two hosts, "ops-laptop-07.corp.example.com" and "build-server-02".
    static std::filesystem::path twoHostFile();

    // Light or dark, as a desktop theme would set it.
    static void usePalette(bool dark);

    std::unique_ptr<MainLoopDispatcher> dispatcher;
    std::shared_ptr<DashboardViewModel> model;
    std::unique_ptr<DashboardWindow> window;
};

}  // namespace ostrel::testing
