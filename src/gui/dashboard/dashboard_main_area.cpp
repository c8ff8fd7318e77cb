#include "gui/dashboard/dashboard_main_area.h"

#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_content.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

namespace {

constexpr int kStatusIconSize = 48;
constexpr int kProgressSteps = 1000;

}  // namespace

DashboardMainArea::DashboardMainArea(DashboardViewModel& model, QWidget* parent)
    : QStackedWidget(parent), model_(model), refresh_(this, [this] { refresh(); }) {
    statusPage_ = makeStatusPage();
    addWidget(statusPage_);
    content_ = new DashboardContent(model_);
    scroll_ = new QScrollArea;
    scroll_->setWidget(content_);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    addWidget(scroll_);

    refresh_.watch(model_.fetchPhase);
    refresh_.watch(model_.loadProgress);
    refresh_.watch(model_.loadPhaseLabel);
    shown_.view = MainArea::View::loading;
    refresh();
}

QWidget* DashboardMainArea::makeStatusPage() {
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setSpacing(12);
    column->addStretch(1);
    statusIcon_ = new QLabel;
    statusIcon_->setFixedSize(kStatusIconSize, kStatusIconSize);
    column->addWidget(statusIcon_, 0, Qt::AlignHCenter);
    statusTitle_ = DashboardWidgets::label("", DashboardColor::primary, 1.4, true);
    column->addWidget(statusTitle_, 0, Qt::AlignHCenter);
    progress_ = new QProgressBar;
    progress_->setTextVisible(false);
    progress_->setFixedWidth(280);
    column->addWidget(progress_, 0, Qt::AlignHCenter);
    statusMessage_ = DashboardWidgets::label("", DashboardColor::secondary);
    statusMessage_->setAlignment(Qt::AlignHCenter);
    // Wide enough for a message on one line; a long error wraps.
    statusMessage_->setWordWrap(true);
    statusMessage_->setMinimumWidth(480);
    statusMessage_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(statusMessage_, 0, Qt::AlignHCenter);
    retry_ = new QPushButton(QStringLiteral("Retry"));
    connect(retry_, &QPushButton::clicked, this, [this] { model_.loadMetrics(); });
    column->addWidget(retry_, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return page;
}

void DashboardMainArea::refresh() {
    shown_ = mainAreaFor(model_.fetchPhase.get(), model_.loadProgress.get(),
                         model_.loadPhaseLabel.get());
    if (shown_.view == MainArea::View::content) {
        setCurrentWidget(scroll_);
        return;
    }
    const bool loading = shown_.view == MainArea::View::loading;
    const DashboardColor tint =
        shown_.view == MainArea::View::error ? DashboardColor::orange : DashboardColor::secondary;
    statusIcon_->setPixmap(symbolIcon(shown_.icon, resolvedColor(tint, palette()))
                               .pixmap(kStatusIconSize, kStatusIconSize));
    statusTitle_->setText(qtText(shown_.title));
    statusTitle_->setVisible(!shown_.title.empty());
    statusMessage_->setText(qtText(shown_.message));
    progress_->setVisible(loading);
    // A range of nothing is Qt's busy indicator.
    progress_->setRange(0, shown_.showsSpinner ? 0 : kProgressSteps);
    if (!shown_.showsSpinner) progress_->setValue(int(shown_.progress * kProgressSteps));
    retry_->setVisible(shown_.showsRetry);
    setCurrentWidget(statusPage_);
}

void DashboardMainArea::changeEvent(QEvent* event) {
    QStackedWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) refresh_.schedule();
}

}  // namespace ostrel
