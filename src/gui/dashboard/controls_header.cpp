#include "gui/dashboard/controls_header.h"

#include <QCheckBox>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>

#include "dashboard/controls_header.h"
#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

namespace {

QHBoxLayout* tightRow(QWidget* widget) {
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    return row;
}

std::vector<std::filesystem::path> pathsOf(const QStringList& names) {
    std::vector<std::filesystem::path> paths;
    for (const QString& name : names)
        paths.emplace_back(name.toStdString());
    return paths;
}

}  // namespace

ControlsHeader::ControlsHeader(DashboardViewModel& model, const Clock& clock, QWidget* parent)
    : QWidget(parent), model_(model), clock_(clock), refresh_(this, [this] { refresh(); }) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 10, 16, 10);
    row->setSpacing(8);

    refreshButton_ = new QPushButton(QStringLiteral("Refresh"));
    connect(refreshButton_, &QPushButton::clicked, this, [this] { model_.loadMetrics(); });
    row->addWidget(refreshButton_);

    openExternal_ = new QToolButton;
    openExternal_->setText(QStringLiteral("Open external logs"));
    openExternal_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    openExternal_->setPopupMode(QToolButton::InstantPopup);
    auto* openMenu = new QMenu(openExternal_);
    openFilesAction_ =
        openMenu->addAction(QStringLiteral("Open Files..."), this, [this] { openFiles(); });
    openMenu->addAction(QStringLiteral("Open Directory..."), this, [this] { openDirectory(); });
    openExternal_->setMenu(openMenu);
    row->addWidget(openExternal_);

    returnToLocal_ = new QPushButton(QStringLiteral("Return to Local Data"));
    connect(returnToLocal_, &QPushButton::clicked, this, [this] { model_.clearExternalData(); });
    row->addWidget(returnToLocal_);

    dayStepper_ = new QWidget;
    auto* stepper = tightRow(dayStepper_);
    older_ = new QPushButton(QStringLiteral("Older"));
    connect(older_, &QPushButton::clicked, this, [this] { model_.navigateDay(+1); });
    dayMenuButton_ = new QToolButton;
    dayMenuButton_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    dayMenuButton_->setPopupMode(QToolButton::InstantPopup);
    dayMenu_ = new QMenu(dayMenuButton_);
    dayMenuButton_->setMenu(dayMenu_);
    newer_ = new QPushButton(QStringLiteral("Newer"));
    connect(newer_, &QPushButton::clicked, this, [this] { model_.navigateDay(-1); });
    stepper->addWidget(older_);
    stepper->addWidget(dayMenuButton_);
    stepper->addWidget(newer_);
    row->addWidget(dayStepper_);
    row->addStretch(1);

    zoom_ = new QWidget;
    auto* zoom = tightRow(zoom_);
    zoomRange_ = DashboardWidgets::label("", DashboardColor::accent, 1.0, true);
    clearZoom_ = new QToolButton;
    clearZoom_->setAutoRaise(true);
    clearZoom_->setToolTip(QStringLiteral("Clear zoom"));
    connect(clearZoom_, &QToolButton::clicked, this, [this] { model_.clearZoom(); });
    zoom->addWidget(zoomRange_);
    zoom->addWidget(clearZoom_);
    row->addWidget(zoom_);
    row->addSpacing(12);

    row->addWidget(DashboardWidgets::label("CPU %", DashboardColor::secondary));
    normalized_ = new QCheckBox(QStringLiteral("Normalized"));
    normalized_->setToolTip(qtText(kNormalizeCPUHelp));
    connect(normalized_, &QCheckBox::toggled, this,
            [this](bool on) { model_.normalizeCPU.set(on); });
    row->addWidget(normalized_);

    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.availableDays);
    refresh_.watch(model_.externalSourcePath);
    refresh_.watch(model_.normalizeCPU);
    refresh_.watch(model_.fetchPhase);
    refresh_.watch(model_.isRebuilding);
    applyIcons();
    refresh();
}

void ControlsHeader::openFiles() {
    // Only ".jsonl" files are read, so only they are offered.
    const QStringList files =
        QFileDialog::getOpenFileNames(this, QStringLiteral("Select Metrics Files"), QString(),
                                      QStringLiteral("Metric logs (*.jsonl)"));
    if (!files.isEmpty()) model_.loadFromExternalPaths(pathsOf(files));
}

void ControlsHeader::openDirectory() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Select Metrics Directory"));
    if (!folder.isEmpty()) model_.loadFromExternalPaths(pathsOf({folder}));
}

void ControlsHeader::applyIcons() {
    const QColor tint = resolvedColor(DashboardColor::primary, palette());
    refreshButton_->setIcon(symbolIcon("arrow.clockwise", tint));
    openExternal_->setIcon(symbolIcon("folder.badge.plus", tint));
    openFilesAction_->setIcon(symbolIcon("doc.on.doc", tint));
    returnToLocal_->setIcon(symbolIcon("externaldrive", tint));
    older_->setIcon(symbolIcon("chevron.left", tint));
    dayMenuButton_->setIcon(symbolIcon("calendar", tint));
    newer_->setIcon(symbolIcon("chevron.right", tint));
    clearZoom_->setIcon(
        symbolIcon("xmark.circle.fill", resolvedColor(DashboardColor::secondary, palette())));
}

void ControlsHeader::refresh() {
    const ControlsHeaderState state = ControlsHeaderState::of(model_, clock_.now());
    returnToLocal_->setVisible(state.showsReturnToLocalData);
    dayStepper_->setVisible(state.showsDayStepper);
    older_->setEnabled(state.canGoOlder);
    newer_->setEnabled(state.canGoNewer);
    dayMenuButton_->setText(qtText(state.dayLabel));
    dayMenu_->clear();
    const QIcon check = symbolIcon("checkmark", resolvedColor(DashboardColor::primary, palette()));
    for (const DayMenuItem& item : state.dayMenu) {
        QAction* action = dayMenu_->addAction(
            qtText(item.label), this, [this, day = item.day] { model_.setSelectedDay(day); });
        if (item.isCurrent) action->setIcon(check);
    }
    dayMenuButton_->setEnabled(!state.dayMenu.empty());
    zoom_->setVisible(state.zoomRange.has_value());
    zoomRange_->setText(qtText(state.zoomRange.value_or("")));
    // Set without a signal, so that showing the stored choice does not store it again.
    const QSignalBlocker quiet(normalized_);
    normalized_->setChecked(model_.normalizeCPU.get());
}

void ControlsHeader::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyIcons();
        refresh_.schedule();
    }
}

}  // namespace ostrel
