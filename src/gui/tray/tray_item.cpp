#include "gui/tray/tray_item.h"

#include <QCursor>
#include <QDesktopServices>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>

#include "app/app_delegate.h"
#include "gui/icons/symbol_icons.h"
#include "logging/logger.h"
#include "platform/app_paths.h"
#include "popup/popup_format.h"
#include "records/constants.h"

namespace ostrel {
namespace {

constexpr auto ui = Logger::Category::ui;

// The icon is drawn in points of a 22-point tray slot, at three pixels a point, so that the
// tray scales it down sharply.
constexpr int kIconPoints = 22;
constexpr int kPixelsPerPoint = 3;

// The icon, with the running dot when `isActive`; none when the icon resource is missing.
std::optional<QPixmap> statusBarImage(bool isActive) {
    QSvgRenderer renderer(QStringLiteral(":/icons/ostrel.svg"));
    if (!renderer.isValid()) return std::nullopt;
    QPixmap image(kIconPoints * kPixelsPerPoint, kIconPoints * kPixelsPerPoint);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(kPixelsPerPoint, kPixelsPerPoint);
    renderer.render(&painter, QRectF(0, 0, kIconPoints, kIconPoints));
    if (isActive) {
        // A 6-point dot one point in from the right and bottom edges.
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0x34, 0xc7, 0x59));
        painter.drawEllipse(QRectF(kIconPoints - 7, kIconPoints - 7, 6, 6));
    }
    return image;
}

}  // namespace

tl::expected<std::unique_ptr<UserInterface>, std::string> TrayItem::create(AppDelegate& delegate) {
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return tl::unexpected(std::string("the desktop shows no system tray"));
    return std::make_unique<TrayItem>(delegate);
}

TrayItem::TrayItem(AppDelegate& delegate)
    : delegate_(delegate),
      windows_(delegate),
      aggregator_(makeProcessNameSource()),
      popover_([this] {
          return std::make_unique<PopupModel>(
              delegate_.monitor(), delegate_.configManager(), mainQueue_, aggregator_,
              PopupModel::Actions{
                  .toggleMonitoring = [this] { delegate_.toggleMonitoring(); },
                  .openDashboard = [this] { windows_.openDashboard(); },
                  .openSettings = [this] { windows_.openSettings(); },
              },
              PopupFormat::localTimeOfDay);
      }) {
    statusItem_.setToolTip(QStringLiteral("Ostrel"));
    statusItem_.setContextMenu(&menu_);
    connect(&statusItem_, &QSystemTrayIcon::activated, this, &TrayItem::statusItemClicked);
    connect(&menu_, &QMenu::aboutToShow, this, &TrayItem::showStatusItemMenu);
    connect(&popover_, &PopupPanel::closed, this, &TrayItem::popoverDidClose);

    PerformanceMonitor& monitor = delegate_.monitor();
    // Published values announce themselves before they change, so the icon follows one turn
    // of the event loop later, when the value stands.
    monitoringCancellable_ = monitor.isRunning.subscribe([this](bool running) {
        QMetaObject::invokeMethod(
            this,
            [this, running] {
                if (shownActive_ == running) return;
                shownActive_ = running;
                updateStatusBarIcon(running);
            },
            Qt::QueuedConnection);
    });
    shownActive_ = monitor.isRunning.get();
    updateStatusBarIcon(*shownActive_);
    statusItem_.show();
}

TrayItem::~TrayItem() {
    monitoringCancellable_.cancel();
    // Closing now would reach the monitor from popoverDidClose; the owner stops it itself.
    disconnect(&popover_, nullptr, this, nullptr);
}

void TrayItem::updateStatusBarIcon(bool isActive) {
    if (const auto image = statusBarImage(isActive)) statusItem_.setIcon(QIcon(*image));
}

void TrayItem::statusItemClicked(QSystemTrayIcon::ActivationReason reason) {
    // A right click opens the context menu by itself; every other click toggles the popup.
    if (reason == QSystemTrayIcon::Context) return;
    togglePopover();
}

void TrayItem::togglePopover() {
    if (popover_.isVisible()) {
        popover_.close();
        return;
    }
    if (sinceClose_.isValid() && sinceClose_.elapsed() < 250) return;
    QRect anchor = statusItem_.geometry();
    if (!anchor.isValid()) anchor = QRect(QCursor::pos(), QSize(1, 1));
    popover_.showBelow(anchor);

    PerformanceMonitor& monitor = delegate_.monitor();
    monitor.setPopupOpen(true);
    // A running monitor feeds the popup from its samples; a stopped one needs the refresh.
    if (!monitor.isRunning.get()) monitor.startUITimer();
}

void TrayItem::popoverDidClose() {
    sinceClose_.start();
    delegate_.monitor().stopPopupRefresh();
}

void TrayItem::stopEventMonitor() {
    if (popover_.isVisible()) popover_.close();
}

void TrayItem::showStatusItemMenu() {
    stopEventMonitor();
    menu_.clear();
    const bool running = delegate_.monitor().isRunning.get();
    for (const StatusMenuItem& item : statusMenuItems(running, delegate_.hasValidDestination())) {
        if (item.action == StatusMenuItem::Action::separator) {
            menu_.addSeparator();
            continue;
        }
        QAction* action =
            menu_.addAction(symbolIcon(item.icon), QString::fromStdString(item.title));
        action->setEnabled(item.enabled);
        connect(action, &QAction::triggered, this, [this, which = item.action] { perform(which); });
    }
}

void TrayItem::perform(StatusMenuItem::Action action) {
    using Action = StatusMenuItem::Action;
    switch (action) {
        case Action::toggleMonitoring:
            return delegate_.toggleMonitoring();
        case Action::openDashboard:
            return openDashboard();
        case Action::openSettings:
            return windows_.openSettings();
        case Action::showMetricsFolder:
            return showMetricsFolder();
        case Action::quitApp:
            return delegate_.quitApp();
        case Action::separator:
            return;
    }
}

void TrayItem::openDashboard() {
    windows_.openDashboard();
}

void TrayItem::showMetricsFolder() {
    // Always the default place, whatever the settings say.
    const auto folder = paths::applicationSupport() / Constants::Storage::metricsFolder;
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder.string()))))
        Logger::warning("Cannot open the metrics folder " + folder.string(), ui);
}

}  // namespace ostrel
