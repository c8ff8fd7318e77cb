#include "gui/dashboard/analysis/analytics_section.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "dashboard/analytics_tables.h"
#include "gui/dashboard/analysis/compact_network_table.h"
#include "gui/dashboard/analysis/compact_process_table.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

AnalyticsSection::AnalyticsSection(DashboardViewModel& model, QWidget* parent)
    : DashboardSection(model, parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* title = new QLabel(qtText(kAnalyticsTitle));
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.15);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);

    cpu_ = new CompactProcessTable([this](ProcessFilterMode filter, ProcessSortMode sort) {
        const auto cores = model_.normalizeCPU.get()
                               ? std::optional(model_.normalizationCoreCount())
                               : std::nullopt;
        return topCPUTable(model_.zoomFilteredTopCPUProcesses(), filter, sort, cores);
    });
    memory_ = new CompactProcessTable([this](ProcessFilterMode filter, ProcessSortMode sort) {
        return topMemoryTable(model_.zoomFilteredTopMemoryProcesses(), filter, sort);
    });
    network_ = new CompactNetworkTable;
    auto* tables = new QHBoxLayout;
    tables->setSpacing(12);
    for (QWidget* table : std::initializer_list<QWidget*>{cpu_, memory_, network_})
        tables->addWidget(table, 1, Qt::AlignTop);
    layout->addLayout(tables);

    // The shown lists change with every load and zoom, which the model announces as one change.
    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.normalizeCPU);
    refresh();
}

void AnalyticsSection::refresh() {
    cpu_->refresh();
    memory_->refresh();
    const auto& latest = model_.latestMetrics();
    network_->display(topNetworkTable(
        latest && latest->topNetwork ? *latest->topNetwork : std::vector<ProcessNetworkInfo>{}));
}

}  // namespace ostrel
