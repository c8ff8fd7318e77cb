#pragma once

#include <QApplication>
#include <QVBoxLayout>
#include <QWidget>
#include <vector>

#include "gui/dashboard/charts/chart_card.h"
#include "gui/dashboard/charts/dashboard_chart_view.h"
#include "gui/dashboard/charts/dashboard_charts_section.h"
#include "gui/dashboard/charts/process_analysis_charts.h"

namespace ostrel::testing {

// The system charts above the selected process's charts, in one column at the window's width,
// shown offscreen: what the charts' test and benchmark drive with the pointer and the model.
struct ChartSections {
    QWidget window;
    DashboardChartsSection* system;
    ProcessAnalysisCharts* process;
    std::vector<DashboardChartView*> charts;  // the system charts, then the process's

    explicit ChartSections(DashboardViewModel& model)
        : system(new DashboardChartsSection(model)), process(new ProcessAnalysisCharts(model)) {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(system);
        layout->addWidget(process);
        window.resize(1300, 1400);
        window.show();
        QApplication::processEvents();
        for (const auto* cards : {&system->cards(), &process->cards()})
            for (ChartCard* card : *cards)
                charts.push_back(card->chart());
    }
};

}  // namespace ostrel::testing
