#include "gui/settings/settings_panels.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/settings/qt_text.h"
#include "gui/settings/status_line_view.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

QPushButton* addButton(QHBoxLayout* row, const QString& title,
                       const std::function<void()>& action) {
    auto* button = new QPushButton(title);
    QObject::connect(button, &QPushButton::clicked, button, action);
    row->addWidget(button);
    return button;
}

// A warning that shows while the model has one.
QWidget* warningPanel(std::function<std::optional<StatusLine>()> warning, Refreshers& refreshers,
                      QWidget* parent) {
    auto* view = new StatusLineView(parent);
    refreshers.push_back([view, warning] { view->showLine(warning()); });
    return view;
}

QWidget* storageStatus(SettingsViewModel& model, Refreshers& refreshers, QWidget* parent) {
    auto* panel = new QWidget(parent);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* form = new QFormLayout;
    std::vector<QLabel*> values;
    for (const LabelledValue& row : model.storageStatus()) {
        values.push_back(new QLabel(panel));
        values.back()->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form->addRow(QString::fromStdString(row.label), values.back());
    }
    layout->addLayout(form);
    auto* note = new QLabel(panel);
    note->setWordWrap(true);
    note->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(note);

    auto* buttons = new QHBoxLayout;
    addButton(buttons, QStringLiteral("Refresh"), [&model] { model.refreshStorage(); });
    addButton(buttons, QStringLiteral("Clear All Data"), [&model, panel] {
        QMessageBox ask(QMessageBox::Warning, QStringLiteral("Clear All Data"),
                        qtText(SettingsViewModel::kClearConfirmation), QMessageBox::NoButton,
                        panel);
        QPushButton* clear =
            ask.addButton(QStringLiteral("Clear All Data"), QMessageBox::DestructiveRole);
        ask.addButton(QMessageBox::Cancel);
        ask.setDefaultButton(QMessageBox::Cancel);
        ask.exec();
        if (ask.clickedButton() == clear) model.clearAllData();
    });
    buttons->addStretch(1);
    layout->addLayout(buttons);

    refreshers.push_back([&model, values, note] {
        const auto rows = model.storageStatus();
        for (size_t i = 0; i < rows.size() && i < values.size(); ++i)
            values[i]->setText(QString::fromStdString(rows[i].value));
        note->setText(QString::fromStdString(model.storageNote()));
    });
    return panel;
}

QWidget* connectionStatus(SettingsViewModel& model, Refreshers& refreshers, QWidget* parent) {
    auto* panel = new QWidget(parent);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* state = new StatusLineView(panel);
    layout->addWidget(state);
    auto* buttons = new QHBoxLayout;
    QPushButton* test =
        addButton(buttons, QStringLiteral("Test Connection"), [&model] { model.testConnection(); });
    QPushButton* upload =
        addButton(buttons, QStringLiteral("Upload Now"), [&model] { model.uploadNow(); });
    upload->setIcon(
        symbolIcon("icloud.and.arrow.up", panel->palette().color(QPalette::WindowText)));
    buttons->addStretch(1);
    layout->addLayout(buttons);
    refreshers.push_back([&model, state, test, upload] {
        state->showLine(model.connectionState());
        test->setEnabled(model.canTestConnection());
        upload->setText(QString::fromStdString(model.uploadNowTitle()));
        upload->setEnabled(model.canUploadNow());
    });
    return panel;
}

QWidget* notificationStatus(SettingsViewModel& model, Refreshers& refreshers, QWidget* parent) {
    auto* panel = new QWidget(parent);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    // At most two lines: the state and, when notifications are off, where to turn them on.
    // This desktop has no settings page that a program can open at that place, so there is no
    // button for it.
    std::vector<StatusLineView*> lines{new StatusLineView(panel), new StatusLineView(panel)};
    for (auto* line : lines)
        layout->addWidget(line);
    auto* buttons = new QHBoxLayout;
    addButton(buttons, QStringLiteral("Send Test Alert"), [&model] { model.sendTestAlert(); });
    buttons->addStretch(1);
    layout->addLayout(buttons);
    refreshers.push_back([&model, lines] {
        const auto status = model.notificationStatus();
        for (size_t i = 0; i < lines.size(); ++i) {
            lines[i]->showLine(i < status.size() ? std::optional(status[i]) : std::nullopt);
        }
    });
    return panel;
}

QWidget* aboutPanel(SettingsViewModel& model, const std::function<void()>& openDashboard,
                    QWidget* parent) {
    const AboutFacts facts = model.about();
    auto* panel = new QWidget(parent);
    auto* layout = new QVBoxLayout(panel);
    auto* icon = new QLabel(panel);
    icon->setPixmap(QIcon(QStringLiteral(":/icons/ostrel.svg")).pixmap(64, 64));
    icon->setAlignment(Qt::AlignHCenter);
    layout->addWidget(icon);
    auto* name = new QLabel(QString::fromStdString(facts.productName), panel);
    QFont large = name->font();
    large.setPointSizeF(large.pointSizeF() * 1.6);
    large.setBold(true);
    name->setFont(large);
    name->setAlignment(Qt::AlignHCenter);
    layout->addWidget(name);
    for (const std::string& line : {facts.subtitle, facts.version}) {
        auto* label = new QLabel(QString::fromStdString(line), panel);
        label->setAlignment(Qt::AlignHCenter);
        label->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(label);
    }
    auto* dashboard = new QPushButton(
        symbolIcon("chart.xyaxis.line", panel->palette().color(QPalette::WindowText)),
        QStringLiteral("Open Dashboard"), panel);
    QObject::connect(dashboard, &QPushButton::clicked, panel, openDashboard);
    layout->addWidget(dashboard, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    auto* system = new QFormLayout;
    for (const LabelledValue& row : facts.system) {
        auto* value = new QLabel(QString::fromStdString(row.value), panel);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        system->addRow(QString::fromStdString(row.label), value);
    }
    layout->addLayout(system);
    auto* managed = new StatusLineView(panel);
    managed->showLine(facts.managed);
    layout->addWidget(managed);
    return panel;
}

}  // namespace

QWidget* makeSettingsPanel(SettingsPanel panel, SettingsViewModel& model,
                           const std::function<void()>& openDashboard, Refreshers& refreshers,
                           QWidget* parent) {
    switch (panel) {
        case SettingsPanel::none:
            return nullptr;
        case SettingsPanel::storageStatus:
            return storageStatus(model, refreshers, parent);
        case SettingsPanel::uploadNotConfigured:
            return warningPanel([&model] { return model.uploadNotConfigured(); }, refreshers,
                                parent);
        case SettingsPanel::connectionStatus:
            return connectionStatus(model, refreshers, parent);
        case SettingsPanel::alertStorageWarning:
            return warningPanel([&model] { return model.alertStorageWarning(); }, refreshers,
                                parent);
        case SettingsPanel::notificationStatus:
            return notificationStatus(model, refreshers, parent);
        case SettingsPanel::about:
            return aboutPanel(model, openDashboard, parent);
    }
    return nullptr;
}

}  // namespace ostrel
