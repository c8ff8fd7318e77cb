#include "gui/dashboard/device_sidebar.h"

#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "dashboard/dashboard_view_model.h"
#include "dashboard/device_sidebar.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace DashboardWidgets;

namespace {

constexpr int kWidth = 260;

QWidget* sectionsWidget(const std::vector<SidebarSection>& sections) {
    auto* widget = new QWidget;
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    for (const SidebarSection& section : sections) {
        column->addSpacing(8);
        column->addWidget(label(section.title, DashboardColor::secondary, 0.9, true));
        auto* rows = new QFormLayout;
        rows->setContentsMargins(0, 0, 0, 0);
        rows->setLabelAlignment(Qt::AlignLeft);
        for (const SidebarInfoRow& row : section.rows) {
            QLabel* value = label(row.value);
            value->setWordWrap(true);
            value->setTextInteractionFlags(Qt::TextSelectableByMouse);
            rows->addRow(label(row.label, DashboardColor::secondary), value);
        }
        column->addLayout(rows);
    }
    return widget;
}

}  // namespace

DeviceSidebar::DeviceSidebar(DashboardViewModel& model, QWidget* parent)
    : QWidget(parent), model_(model), refresh_(this, [this] { refresh(); }) {
    setFixedWidth(kWidth);
    column_ = new QVBoxLayout(this);
    column_->setContentsMargins(16, 16, 16, 16);
    column_->setSpacing(6);
    noDeviceInfo_ = label("No device info", DashboardColor::secondary);
    column_->addWidget(noDeviceInfo_);

    device_ = new QWidget;
    auto* device = new QVBoxLayout(device_);
    device->setContentsMargins(0, 0, 0, 0);
    device->setSpacing(6);
    auto* header = new QHBoxLayout;
    header->setSpacing(8);
    icon_ = new QLabel;
    icon_->setFixedSize(20, 20);
    title_ = label("", DashboardColor::primary, 1.2, true);
    header->addWidget(icon_);
    header->addWidget(title_);
    header->addStretch();
    device->addLayout(header);
    sourcePath_ = label("", DashboardColor::secondary, 0.9);
    sourcePath_->setWordWrap(true);
    device->addWidget(sourcePath_);
    machineCount_ = label("", DashboardColor::accent, 0.95, true);
    device->addWidget(machineCount_);
    hosts_ = new QComboBox;
    connect(hosts_, &QComboBox::activated, this,
            [this](int index) { model_.selectHostname(hosts_->itemText(index).toStdString()); });
    device->addWidget(hosts_);
    hostname_ = label("", DashboardColor::primary, 1.0, true);
    hostname_->setWordWrap(true);
    hostname_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    device->addWidget(hostname_);
    sampleCount_ = label("", DashboardColor::secondary);
    device->addWidget(sampleCount_);
    timeRange_ = label("", DashboardColor::secondary);
    timeRange_->setWordWrap(true);
    device->addWidget(timeRange_);
    column_->addWidget(device_);
    sections_ = new QWidget;
    column_->addWidget(sections_);
    column_->addStretch(1);

    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.externalSourcePath);
    refresh_.watch(model_.multipleHostnamesDetected);
    refresh_.watch(model_.selectedHostname);
    refresh();
}

void DeviceSidebar::refresh() {
    const DeviceSidebarContent content = deviceSidebar({
        .latestMetrics = model_.latestMetrics(),
        .sampleCount = model_.cached().sampleCount,
        .timeRange = model_.cachedTimeRangeString(),
        .externalSourcePath = model_.externalSourcePath.get(),
        .multipleHostnames = model_.multipleHostnamesDetected.get(),
    });
    noDeviceInfo_->setVisible(!content.hasDeviceInfo);
    device_->setVisible(content.hasDeviceInfo);
    sections_->setVisible(content.hasDeviceInfo);
    if (!content.hasDeviceInfo) return;

    icon_->setPixmap(
        symbolIcon(content.icon, resolvedColor(DashboardColor::accent, palette())).pixmap(20, 20));
    title_->setText(qtText(content.title));
    sourcePath_->setVisible(content.externalSourcePath.has_value());
    sourcePath_->setText(qtText(content.externalSourcePath.value_or("")));
    machineCount_->setVisible(content.machineCount.has_value());
    machineCount_->setText(qtText(content.machineCount.value_or("")));
    hosts_->setVisible(content.machineCount.has_value());
    // Filled again only when the hosts change, so that an open list stays open.
    QStringList hosts;
    for (const std::string& host : model_.multipleHostnamesDetected.get())
        hosts.append(qtText(host));
    QStringList listed;
    for (int i = 0; i < hosts_->count(); ++i)
        listed.append(hosts_->itemText(i));
    if (listed != hosts) {
        hosts_->clear();
        hosts_->addItems(hosts);
    }
    if (const auto& selected = model_.selectedHostname.get())
        hosts_->setCurrentText(qtText(*selected));
    hostname_->setText(qtText(content.hostname));
    sampleCount_->setText(qtText(content.sampleCount));
    timeRange_->setText(qtText(content.timeRange));

    QWidget* sections = sectionsWidget(content.sections);
    column_->replaceWidget(sections_, sections);
    sections_->hide();
    sections_->deleteLater();
    sections_ = sections;
}

void DeviceSidebar::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) refresh_.schedule();
}

}  // namespace ostrel
