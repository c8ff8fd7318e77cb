#include "gui/dashboard/dashboard_window.h"

#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/controls_header.h"
#include "gui/dashboard/dashboard_main_area.h"
#include "gui/dashboard/device_sidebar.h"

namespace ostrel {

namespace {

QFrame* line(QFrame::Shape shape) {
    auto* divider = new QFrame;
    divider->setFrameShape(shape);
    divider->setFrameShadow(QFrame::Plain);
    divider->setForegroundRole(QPalette::PlaceholderText);
    return divider;
}

}  // namespace

DashboardWindow::DashboardWindow(std::shared_ptr<DashboardViewModel> model, const Clock& clock,
                                 QWidget* parent)
    : QWidget(parent, Qt::Window), model_(std::move(model)) {
    setWindowTitle(QStringLiteral("Ostrel Dashboard"));
    setObjectName(QStringLiteral("dashboardWindow"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    sidebar_ = new DeviceSidebar(*model_);
    row->addWidget(sidebar_);
    row->addWidget(line(QFrame::VLine));
    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    header_ = new ControlsHeader(*model_, clock);
    column->addWidget(header_);
    column->addWidget(line(QFrame::HLine));
    mainArea_ = new DashboardMainArea(*model_);
    column->addWidget(mainArea_, 1);
    row->addLayout(column, 1);

    setMinimumSize(kMinimumSize);
    resize(kContentSize);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(), kContentSize);
        frame.moveCenter(screen->availableGeometry().center());
        move(frame.topLeft());
    }
}

DashboardWindow::~DashboardWindow() {
    // The views observe the model: they go first.
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
}

void DashboardWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (loaded_) return;
    loaded_ = true;
    model_->loadMetrics();
}

}  // namespace ostrel
