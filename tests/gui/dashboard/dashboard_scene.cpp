#include "gui/dashboard/dashboard_scene.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <fstream>

#include "gui/qt_main_queue.h"
#include "gui/test_application.h"
#include "records/formatters.h"
#include "storage/metrics_storage.h"
#include "support/memory_preferences_store.h"
#include "support/realistic_day.h"
#include "support/temp_dir.h"

namespace ostrel::testing {
namespace {

constexpr auto kDeadline = std::chrono::seconds(60);
constexpr int kSamplesPerDay = 1440;

// The history every scene of the process reads, written on first use.
struct History {
    TempDir folder;
    Date newest = localMidnight(std::chrono::system_clock::now(), 1);
    Date older = localMidnight(std::chrono::system_clock::now(), 2);
    std::filesystem::path store = folder / "store";
    std::filesystem::path twoHosts = folder / "two-hosts.jsonl";

    History() {
        writeRealisticDay({.midnight = older, .samples = kSamplesPerDay}, store);
        writeRealisticDay({.midnight = newest, .samples = kSamplesPerDay}, store);
        std::ofstream picked(twoHosts, std::ios::binary);
        const TempDir scratch;
        writeRealisticDay({.midnight = older, .samples = kSamplesPerDay}, scratch / "a", &picked);
        writeRealisticDay(
            {.midnight = older, .samples = kSamplesPerDay / 2, .hostname = "build-server-02"},
            scratch / "b", &picked);
    }

    static const History& get() {
        static const History history;
        return history;
    }
};

std::string dayOf(Date midnight) {
    return Formatters::dailyRotation(midnight);
}

const char* phaseName(FetchPhase::Kind kind) {
    switch (kind) {
        case FetchPhase::Kind::success:
            return "success";
        case FetchPhase::Kind::failure:
            return "failure";
        case FetchPhase::Kind::initial:
            return "initial";
        case FetchPhase::Kind::fetching:
            return "fetching";
        case FetchPhase::Kind::empty:
            return "empty";
    }
    return "?";
}

}  // namespace

DashboardScene::DashboardScene() {
    startTestApplication();
    History::get();
    dispatcher = makeThreadDispatcher(std::make_unique<QtMainQueue>());
}

DashboardScene::~DashboardScene() {
    window.reset();
    model.reset();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

DashboardViewModel& DashboardScene::makeModel(
    const std::optional<std::filesystem::path>& storeFolder) {
    std::shared_ptr<MetricsStorage> storage;
    if (storeFolder) storage = std::make_shared<MetricsStorage>(MonitorConfig{}, *storeFolder);
    model = DashboardViewModel::create(
        {dispatcher.get(), std::make_shared<MemoryPreferencesStore>(), std::move(storage)});
    return *model;
}

DashboardWindow& DashboardScene::openWindow(
    const std::optional<std::filesystem::path>& storeFolder) {
    window.reset();
    makeModel(storeFolder);
    window = std::make_unique<DashboardWindow>(model, dispatcher->clock());
    window->show();
    return *window;
}

Date DashboardScene::zoomIntoTheMorning() {
    const Date start = model->cached().timeRangeStartDate.value() + std::chrono::hours(9);
    model->setZoom(start, start + std::chrono::hours(2));
    EXPECT_TRUE(model->isZoomActive());
    waitUntilIdle();
    return start;
}

bool DashboardScene::waitUntil(const std::function<bool()>& done, const std::string& what) {
    // The background work posts its results from other threads: wake up to look now and then.
    QTimer tick;
    tick.start(5);
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "gave up waiting for " << what << " after " << kDeadline.count()
                          << " s";
            return false;
        }
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    QApplication::processEvents();
    return true;
}

bool DashboardScene::waitUntilIdle() {
    return waitUntil(
        [this] {
            const auto phase = model->fetchPhase->kind;
            return phase != FetchPhase::Kind::initial && phase != FetchPhase::Kind::fetching &&
                   !model->isRebuilding.get() && !model->isZoomRebuilding.get();
        },
        "the dashboard to finish loading");
}

bool DashboardScene::waitForPhase(FetchPhase::Kind kind) {
    if (!waitUntilIdle()) return false;
    if (model->fetchPhase->kind == kind) return true;
    ADD_FAILURE() << "the load ended in phase " << phaseName(model->fetchPhase->kind) << ", not "
                  << phaseName(kind);
    return false;
}

std::filesystem::path DashboardScene::historyStore() {
    return History::get().store;
}

std::string DashboardScene::newestDay() {
    return dayOf(History::get().newest);
}

std::string DashboardScene::olderDay() {
    return dayOf(History::get().older);
}

std::filesystem::path DashboardScene::twoHostFile() {
    return History::get().twoHosts;
}

void DashboardScene::usePalette(bool dark) {
    useTestPalette(dark);
}

}  // namespace ostrel::testing
