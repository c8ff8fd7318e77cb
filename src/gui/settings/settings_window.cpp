#include "gui/settings/settings_window.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "gui/settings/qt_text.h"
#include "gui/settings/setting_row.h"
#include "gui/settings/settings_panels.h"
#include "gui/settings/status_line_view.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

QLabel* footerLabel(std::string_view text, QWidget* parent) {
    auto* label = new QLabel(qtText(text), parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    QFont small = label->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    label->setFont(small);
    return label;
}

}  // namespace

SettingsWindow::SettingsWindow(SettingsServices services, std::function<void()> openDashboard,
                               QWidget* parent)
    : QWidget(parent, Qt::Window),
      model_(std::move(services)),
      openDashboard_(std::move(openDashboard)) {
    setWindowTitle(QStringLiteral("Ostrel Settings"));
    setObjectName(QStringLiteral("settingsWindow"));
    auto* layout = new QVBoxLayout(this);

    banner_ = new StatusLineView(this);
    banner_->setAutoFillBackground(true);
    banner_->setBackgroundRole(QPalette::AlternateBase);
    banner_->layout()->setContentsMargins(10, 6, 10, 6);
    layout->addWidget(banner_);

    tabs_ = new QTabWidget(this);
    tabs_->setDocumentMode(true);
    for (const SettingsTabInfo& tab : settingsTabs()) {
        tabs_->addTab(makeTab(tab.tab), symbolIcon(tab.icon, palette().color(QPalette::WindowText)),
                      qtText(tab.title));
    }
    layout->addWidget(tabs_, 1);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* done = buttons->addButton(QStringLiteral("Done"), QDialogButtonBox::AcceptRole);
    done->setDefault(true);
    connect(done, &QPushButton::clicked, this, [this] {
        model_.done();
        close();
    });
    layout->addWidget(buttons);

    observation_ = model_.observe([this] { scheduleRefresh(); });
    resize(640, 700);
    refresh();
}

SettingsWindow::~SettingsWindow() = default;

QWidget* SettingsWindow::makeTab(SettingsTab tab) {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    for (const SettingsSection& section : settingsSections(tab)) {
        auto* box = new QGroupBox(qtText(section.heading), page);
        auto* boxLayout = new QVBoxLayout(box);
        for (const SettingControl& control : section.controls) {
            rows_.push_back(new SettingRow(control, model_, box));
            boxLayout->addWidget(rows_.back());
        }
        if (QWidget* panel =
                makeSettingsPanel(section.panel, model_, openDashboard_, refreshers_, box)) {
            boxLayout->addWidget(panel);
        }
        layout->addWidget(box);
        for (const std::string_view footer : section.footers)
            layout->addWidget(footerLabel(footer, page));
        layout->addSpacing(6);
    }
    layout->addStretch(1);

    auto* scroll = new QScrollArea;
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    return scroll;
}

void SettingsWindow::scheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    QTimer::singleShot(0, this, [this] {
        refreshPending_ = false;
        refresh();
    });
}

void SettingsWindow::refresh() {
    banner_->showLine(model_.banner());
    for (SettingRow* row : rows_)
        row->refresh();
    for (const auto& refresher : refreshers_)
        refresher();
}

void SettingsWindow::closeEvent(QCloseEvent* event) {
    // The window manager's close button is "Done" too, so that no edit is lost; a close that the
    // application itself sends on quitting is not, so quitting restarts nothing.
    if (event->spontaneous()) model_.done();
    QWidget::closeEvent(event);
}

void SettingsWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    model_.checkNotificationPermission();
    model_.refreshStorage();
}

}  // namespace ostrel
