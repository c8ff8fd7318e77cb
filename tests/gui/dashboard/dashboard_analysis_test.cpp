// The analytics tables, the process selection bar and the alert history over one loaded day, as
// a person clicks them.
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <memory>

#include "gui/dashboard/alerts/alert_card_view.h"
#include "gui/dashboard/alerts/alert_history_view.h"
#include "gui/dashboard/analysis/analytics_section.h"
#include "gui/dashboard/analysis/compact_process_table.h"
#include "gui/dashboard/analysis/compact_table_view.h"
#include "gui/dashboard/analysis/process_pill_pop_over.h"
#include "gui/dashboard/analysis/process_pill_selector.h"
#include "gui/dashboard/analysis/process_selection_bar.h"
#include "gui/dashboard/dashboard_scene.h"

namespace ostrel::testing {
namespace {

using namespace std::chrono_literals;

constexpr int kPeakColumn = 3;
constexpr int kImpactColumn = 5;

void click(QWidget* widget, QPoint at) {
    const QPointF local(at);
    const QPointF global(widget->mapToGlobal(at));
    QMouseEvent press(QEvent::MouseButtonPress, local, global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, local, global, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(widget, &release);
}

void click(QWidget* widget) {
    click(widget, widget->rect().center());
}

// Lets pending refreshes run and replaced widgets go.
void settle() {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QStringList column(const QAbstractItemModel& table, int index) {
    QStringList cells;
    for (int row = 0; row < table.rowCount(); ++row)
        cells << table.index(row, index).data().toString();
    return cells;
}

class DashboardAnalysis : public DashboardScene {
  protected:
    void SetUp() override {
        makeModel();
        model->loadMetrics();
        ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
    }

    // Shows `view` the way the window holds it; it goes before the model it observes.
    template <class View>
    View* show(View* view) {
        shown_.reset(view);
        view->resize(1300, 600);
        view->show();
        settle();
        return view;
    }

  private:
    std::unique_ptr<QWidget> shown_;
};

TEST_F(DashboardAnalysis, AHeaderClickSortsATableAChipFiltersItAndTheOptionNormalisesIt) {
    auto* section = show(new AnalyticsSection(*model));
    auto* cpu = section->findChildren<CompactProcessTable*>().front();
    auto* view = cpu->findChild<CompactTableView*>();
    const QAbstractItemModel& rows = *view->model();
    ASSERT_EQ(rows.rowCount(), 10);
    EXPECT_TRUE(rows.headerData(2, Qt::Horizontal, Qt::DecorationRole).isValid());  // "Avg"

    QHeaderView* header = view->horizontalHeader();
    click(header->viewport(),
          {header->sectionViewportPosition(kPeakColumn) + 10, header->height() / 2});
    EXPECT_FALSE(rows.headerData(2, Qt::Horizontal, Qt::DecorationRole).isValid());
    EXPECT_TRUE(rows.headerData(kPeakColumn, Qt::Horizontal, Qt::DecorationRole).isValid());
    std::vector<double> peaks;
    for (QString cell : column(rows, kPeakColumn))
        peaks.push_back(cell.chopped(1).toDouble());  // "12.34%"
    EXPECT_TRUE(std::ranges::is_sorted(peaks, std::greater<>())) << peaks.front();

    // The option divides the CPU cells by the machine's cores.
    ASSERT_GT(model->normalizationCoreCount(), 1);
    const double perCore = column(rows, kPeakColumn).front().chopped(1).toDouble();
    model->normalizeCPU.set(true);
    settle();
    EXPECT_NEAR(column(rows, kPeakColumn).front().chopped(1).toDouble(),
                perCore / double(model->normalizationCoreCount()), 0.01);
    model->normalizeCPU.set(false);
    settle();

    const auto chip = [&](const QString& label) {
        for (auto* button : cpu->findChildren<QPushButton*>())
            if (button->text() == label) return button;
        ADD_FAILURE() << "no chip " << label.toStdString();
        return static_cast<QPushButton*>(nullptr);
    };
    chip("Sustained")->click();
    const QStringList impacts = column(rows, kImpactColumn);
    ASSERT_FALSE(impacts.isEmpty());
    EXPECT_EQ(impacts.count("Sustained"), impacts.size());

    // In a few minutes of samples every process is in a third of them or more: no spike.
    const Date start = model->zoomFilteredSeries().cpuUsage.front().date;
    model->setZoom(start, start + 150s);
    ASSERT_TRUE(waitUntilIdle());
    settle();
    chip("Spike")->click();
    EXPECT_EQ(rows.rowCount(), 0);
    EXPECT_EQ(view->emptyText(), "No Spike processes");
    chip("All")->click();
    EXPECT_GT(rows.rowCount(), 0);
    EXPECT_TRUE(view->emptyText().isEmpty());
}

TEST_F(DashboardAnalysis, ThePillPicksAProcessAndTheClearButtonsDropIt) {
    auto* bar = show(new ProcessSelectionBar(*model));
    const std::vector<std::string> patterns = model->availableProcessPatterns();
    ASSERT_FALSE(patterns.empty());
    const auto text = [bar](const QString& wanted) {
        for (auto* label : bar->findChildren<QLabel*>())
            if (label->isVisible() && label->text() == wanted) return true;
        return false;
    };
    EXPECT_TRUE(text(QString("%1 pinned processes tracked").arg(patterns.size())));
    EXPECT_TRUE(text("Select process"));

    const auto open = [bar] {
        click(bar->findChild<ProcessPillSelector*>());
        auto* popOver = qobject_cast<ProcessPillPopOverView*>(QApplication::activePopupWidget());
        EXPECT_TRUE(popOver);
        return popOver;
    };
    ProcessPillPopOverView* popOver = open();
    ASSERT_TRUE(popOver);
    auto* list = popOver->findChild<QListWidget*>();
    ASSERT_EQ(list->count(), static_cast<int>(patterns.size()));
    if (patterns.size() >= 6) {
        popOver->findChild<QLineEdit*>()->setText("no such process");
        EXPECT_EQ(list->count(), 0);
        popOver->findChild<QLineEdit*>()->clear();
    }
    click(list->viewport(), list->visualItemRect(list->item(0)).center());
    EXPECT_EQ(model->selectedProcess.get(), patterns[0]);
    EXPECT_FALSE(QApplication::activePopupWidget());
    settle();
    EXPECT_TRUE(text(QString::fromStdString(patterns[0])));

    // The pop-over's entry clears it, as does the bar's button.
    popOver = open();
    ASSERT_TRUE(popOver);
    for (auto* button : popOver->findChildren<QPushButton*>())
        if (button->text() == "Clear Selection") button->click();
    EXPECT_FALSE(model->selectedProcess.get());
    settle();
    model->selectProcess(patterns[0]);
    settle();
    QPushButton* clear = nullptr;
    for (auto* button : bar->findChildren<QPushButton*>())
        if (button->isVisible() && button->text() == "Clear selection") clear = button;
    ASSERT_TRUE(clear);
    clear->click();
    EXPECT_FALSE(model->selectedProcess.get());
    settle();
    EXPECT_FALSE(clear->isVisible());
}

TEST_F(DashboardAnalysis, OpeningASecondAlertCardClosesTheFirst) {
    auto* history = show(new AlertHistoryView(*model));
    const auto cards = [history] {
        auto found = history->findChildren<AlertCardView*>();
        std::ranges::sort(found, {}, [](const QWidget* card) { return card->y(); });
        return found;
    };
    ASSERT_EQ(cards().size(), model->alertEvents->size());
    ASSERT_GE(cards().size(), 2);
    click(cards()[0]);
    settle();
    EXPECT_TRUE(cards()[0]->isExpanded());
    click(cards()[1]);
    settle();
    EXPECT_FALSE(cards()[0]->isExpanded());
    EXPECT_TRUE(cards()[1]->isExpanded());
    click(cards()[1]);
    settle();
    EXPECT_TRUE(std::ranges::none_of(cards(), &AlertCardView::isExpanded));
}

// The fault this guards: a label, sign, chip or card that keeps its light colours after the
// desktop turns dark while the window is open.
TEST_F(DashboardAnalysis, AfterASwitchToDarkTheSectionsLookAsIfOpenedInDark) {
    const auto showSections = [this] {
        auto* sections = new QWidget;
        auto* layout = new QVBoxLayout(sections);
        layout->addWidget(new ProcessSelectionBar(*model));
        layout->addWidget(new AnalyticsSection(*model));
        auto* history = new AlertHistoryView(*model);
        layout->addWidget(history);
        show(sections);
        // An open card shows the most colours.
        click(history->findChildren<AlertCardView*>().first());
        settle();
        return sections;
    };
    usePalette(false);
    QWidget* switched = showSections();
    usePalette(true);
    // One turn brings the widgets the new palette, the next runs the refreshes it scheduled, the
    // last shows the alert cards they replaced.
    for (int turn = 0; turn < 3; ++turn)
        settle();
    const QImage afterSwitch = switched->grab().toImage();
    const QImage openedInDark = showSections()->grab().toImage();
    usePalette(false);
    EXPECT_EQ(afterSwitch, openedInDark);
}

}  // namespace
}  // namespace ostrel::testing
