#include "gui/settings/setting_row.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QToolTip>

#include "gui/settings/qt_text.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

QToolButton* makeStepButton(const QString& text, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setAutoRepeat(true);
    button->setFixedWidth(28);
    return button;
}

}  // namespace

QToolButton* makeInfoButton(const QString& text, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setIcon(symbolIcon("info.circle", parent->palette().color(QPalette::PlaceholderText)));
    button->setAutoRaise(true);
    button->setToolTip(text);
    button->setAccessibleName(QStringLiteral("Info"));
    QObject::connect(button, &QToolButton::clicked, button, [button, text] {
        if (QToolTip::isVisible() && QToolTip::text() == text) {
            QToolTip::hideText();
        } else {
            QToolTip::showText(button->mapToGlobal(QPoint(0, button->height())), text, button);
        }
    });
    return button;
}

SettingRow::SettingRow(const SettingControl& control, SettingsViewModel& model, QWidget* parent)
    : QWidget(parent), control_(control), model_(model) {
    setObjectName(qtText(control.key));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 2, 0, 2);
    label_ = new QLabel(qtText(control.label), this);
    layout->addWidget(label_);
    if (!control.help.empty()) layout->addWidget(makeInfoButton(qtText(control.help), this));
    lock_ = new QLabel(this);
    lock_->setObjectName(QStringLiteral("lock"));
    lock_->setPixmap(
        symbolIcon("lock.fill", palette().color(QPalette::PlaceholderText)).pixmap(14, 14));
    lock_->setToolTip(qtText(kLockHelpText));
    lock_->setAccessibleName(qtText(kLockHelpText));
    layout->addWidget(lock_);
    layout->addStretch(1);
    QWidget* input = makeControl();
    input->setObjectName(QStringLiteral("control"));
    layout->addWidget(input);
    refresh();
}

QWidget* SettingRow::makeControl() {
    const std::string key(control_.key);
    switch (control_.kind) {
        case ControlKind::toggle:
            toggle_ = new QCheckBox(this);
            toggle_->setAccessibleName(qtText(control_.label));
            connect(toggle_, &QCheckBox::clicked, this,
                    [this, key](bool on) { model_.change(key, on); });
            return toggle_;
        case ControlKind::picker:
            picker_ = new QComboBox(this);
            picker_->setMinimumWidth(180);
            for (const PickerOption& option : control_.options)
                picker_->addItem(QString::fromStdString(option.label));
            connect(picker_, &QComboBox::activated, this, [this, key](int index) {
                model_.selectOption(key, static_cast<size_t>(index));
            });
            return picker_;
        case ControlKind::stepper: {
            auto* buttons = new QWidget(this);
            auto* layout = new QHBoxLayout(buttons);
            layout->setContentsMargins(0, 0, 0, 0);
            layout->setSpacing(0);
            stepDown_ = makeStepButton(QStringLiteral("−"), buttons);
            stepUp_ = makeStepButton(QStringLiteral("+"), buttons);
            layout->addWidget(stepDown_);
            layout->addWidget(stepUp_);
            connect(stepDown_, &QToolButton::clicked, this, [this, key] { model_.step(key, -1); });
            connect(stepUp_, &QToolButton::clicked, this, [this, key] { model_.step(key, +1); });
            return buttons;
        }
        case ControlKind::textField:
        case ControlKind::secureField:
            text_ = new QLineEdit(this);
            text_->setMinimumWidth(300);
            text_->setPlaceholderText(qtText(control_.placeholder));
            text_->setAccessibleName(qtText(control_.label));
            if (control_.kind == ControlKind::secureField) text_->setEchoMode(QLineEdit::Password);
            // Every keystroke reaches the settings; the store gets them with "Done".
            connect(text_, &QLineEdit::textEdited, this,
                    [this, key](const QString& text) { model_.change(key, text.toStdString()); });
            return text_;
    }
    return nullptr;
}

void SettingRow::refresh() {
    const ControlState state = model_.state(control_);
    lock_->setVisible(state.locked);
    if (toggle_) {
        toggle_->setChecked(std::get<bool>(state.value));
        toggle_->setEnabled(!state.locked);
    }
    if (picker_) {
        picker_->setCurrentIndex(state.selectedOption ? static_cast<int>(*state.selectedOption)
                                                      : -1);
        picker_->setEnabled(!state.locked);
    }
    if (text_) {
        const auto value = QString::fromStdString(std::get<std::string>(state.value));
        // Setting the same text again would move the cursor of a user who is typing.
        if (text_->text() != value) {
            text_->setText(value);
            // A long endpoint reads best from its scheme and host.
            if (!text_->hasFocus()) text_->setCursorPosition(0);
        }
        text_->setEnabled(!state.locked);
    }
    if (stepUp_) {
        label_->setText(QString::fromStdString(state.valueText));
        stepUp_->setEnabled(state.canStepUp);
        stepDown_->setEnabled(state.canStepDown);
    }
}

}  // namespace ostrel
