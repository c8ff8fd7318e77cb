#pragma once

#include <QElapsedTimer>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <optional>

#include "app/status_menu.h"
#include "app/user_interface.h"
#include "gui/desktop_windows.h"
#include "gui/popup/popup_panel.h"
#include "gui/qt_main_queue.h"
#include "popup/process_aggregator.h"
#include "records/published.h"

namespace ostrel {

class AppDelegate;

// The tray item: the icon, with a green dot while the monitor runs; a left click toggles the
// popup panel, a right click opens the menu, built afresh from the monitor's state each time.
class TrayItem final : public QObject, public UserInterface {
    Q_OBJECT

  public:
    // Fails where the desktop shows no system tray.
    static tl::expected<std::unique_ptr<UserInterface>, std::string> create(AppDelegate& delegate);

    explicit TrayItem(AppDelegate& delegate);
    ~TrayItem() override;

    void stopEventMonitor() override;
    void openDashboard() override;

  private:
    void statusItemClicked(QSystemTrayIcon::ActivationReason reason);
    void togglePopover();
    void popoverDidClose();
    void showStatusItemMenu();
    void perform(StatusMenuItem::Action action);
    void showMetricsFolder();
    void updateStatusBarIcon(bool isActive);

    AppDelegate& delegate_;
    DesktopWindows windows_;
    QtMainQueue mainQueue_;
    // Outlives each opening of the popup: parent names stay cached between openings.
    ProcessAggregator aggregator_;
    QSystemTrayIcon statusItem_;
    QMenu menu_;
    PopupPanel popover_;
    Published<bool>::Subscription monitoringCancellable_;
    std::optional<bool> shownActive_;
    // When the popup last closed: the outside click that closes it may be the click on the
    // icon itself, which must not open it again at once.
    QElapsedTimer sinceClose_;
};

}  // namespace ostrel
