#pragma once

#include <QWidget>

#include "settings/settings_view_model.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

namespace ostrel {

// One control of the settings window: its label, the info button with the help text, the lock
// that shows when the key is forced, and the control itself. It shows what the model says and
// sends the user's changes back; it decides nothing.
class SettingRow final : public QWidget {
    Q_OBJECT

  public:
    SettingRow(const SettingControl& control, SettingsViewModel& model, QWidget* parent = nullptr);

    void refresh();

  private:
    QWidget* makeControl();

    const SettingControl& control_;
    SettingsViewModel& model_;
    QLabel* label_ = nullptr;
    QLabel* lock_ = nullptr;
    QCheckBox* toggle_ = nullptr;
    QComboBox* picker_ = nullptr;
    QLineEdit* text_ = nullptr;
    QToolButton* stepDown_ = nullptr;
    QToolButton* stepUp_ = nullptr;
};

// The "info.circle" button: a click shows the help text beside it, a second click hides it.
QToolButton* makeInfoButton(const QString& text, QWidget* parent);

}  // namespace ostrel
