#include "gui/popup/popup_view.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/icons/symbol_icons.h"
#include "gui/popup/popup_palette.h"
#include "gui/popup/popup_search_widget.h"
#include "gui/popup/popup_widgets.h"

namespace ostrel {

using namespace PopupWidgets;

namespace {

QVBoxLayout* tightColumn(QWidget* widget, int spacing) {
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

QHBoxLayout* tightRow(int spacing = 4) {
    auto* layout = new QHBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

QPushButton* button(const PopupButton& model) {
    auto* result = new QPushButton(buttonText(model.title));
    if (!model.image.empty())
        result->setIcon(symbolIcon(model.image, resolvedColor(model.color, result->palette())));
    result->setEnabled(model.enabled);
    result->setToolTip(text(model.help));
    result->setFocusPolicy(Qt::NoFocus);
    return result;
}

}  // namespace

PopupView::PopupView(std::unique_ptr<PopupModel> model, QWidget* parent)
    : QWidget(parent), owned_(std::move(model)), model_(*owned_) {
    column_ = new QVBoxLayout(this);
    column_->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    column_->setSpacing(6);
    search_ = new PopupSearchWidget(model_);
    for (int section = 0; section < sectionCount; ++section) {
        sections_[section] = new QWidget;
        column_->addWidget(sections_[section]);
        // Watched processes and the search form one section, under one divider.
        if (section == watched) column_->addWidget(search_);
        if (section + 1 < sectionCount) {
            dividers_[section] = divider();
            column_->addWidget(dividers_[section]);
        }
    }
    column_->addStretch();
    display(model_.content.get());
    // Told before the content changes, with the new content: shown at once, on the main queue.
    subscription_ =
        model_.content.subscribe([this](const PopupContent& content) { display(content); });
}

PopupView::~PopupView() {
    subscription_.cancel();
}

void PopupView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::PaletteChange || !shown_) return;
    shown_.reset();
    display(model_.content.get());
}

void PopupView::display(const PopupContent& content) {
    const auto changed = [&](auto member) {
        return !shown_ || (*shown_).*member != content.*member;
    };
    if (changed(&PopupContent::header)) replace(header, headerWidget(content.header));
    if (changed(&PopupContent::status) || changed(&PopupContent::error))
        replace(status, statusWidget(content));
    if (changed(&PopupContent::metrics))
        replace(metrics, content.metrics ? metricsWidget(*content.metrics) : nullptr);
    if (changed(&PopupContent::watched))
        replace(watched, content.watched ? watchedWidget(*content.watched) : nullptr);
    search_->display(content.search);
    if (changed(&PopupContent::controls)) replace(controls, controlsWidget(content.controls));
    if (changed(&PopupContent::footer)) replace(footer, footerWidget(content.footer));
    // A section that is gone takes its divider with it.
    dividers_[metrics]->setVisible(content.metrics.has_value());
    shown_ = content;
}

void PopupView::replace(Section section, QWidget* widget) {
    QWidget* old = sections_[section];
    if (!widget) {
        // An absent section: an empty place holder, hidden before it has a parent.
        widget = new QWidget;
        widget->hide();
    }
    column_->replaceWidget(old, widget);
    sections_[section] = widget;
    // Later: a click that caused this change may still be running in the old widget.
    old->hide();
    old->deleteLater();
}

QWidget* PopupView::headerWidget(const PopupHeader& model) {
    auto* widget = new QWidget;
    auto* row = tightRow(6);
    widget->setLayout(row);
    auto* icon = new QLabel;
    icon->setPixmap(QIcon(QStringLiteral(":/icons/ostrel.svg")).pixmap(20, 20));
    row->addWidget(icon);
    row->addWidget(label(model.title, PopupColor::primary, 13, true));
    row->addWidget(dot(model.statusDot));
    row->addStretch();
    QToolButton* settings = iconButton(model.settingsImage, model.settingsHelp);
    connect(settings, &QToolButton::clicked, this, [this] { model_.openSettings(); });
    row->addWidget(settings);
    return widget;
}

QWidget* PopupView::statusWidget(const PopupContent& content) {
    auto* widget = new QWidget;
    auto* layout = tightColumn(widget, 1);
    for (const StatusRow& model : content.status) {
        auto* row = tightRow();
        row->addWidget(label(model.label, PopupColor::secondary, 10));
        row->addWidget(label(model.value.text, model.value.color, 10, true));
        if (!model.detail.empty()) row->addWidget(label(model.detail, PopupColor::secondary, 10));
        row->addStretch();
        layout->addLayout(row);
    }
    if (content.error) {
        QLabel* error = label(*content.error, PopupColor::red, 9);
        error->setWordWrap(true);
        layout->addWidget(error);
    }
    return widget;
}

QWidget* PopupView::metricsWidget(const MetricsSection& section) {
    auto* widget = new QWidget;
    auto* layout = tightColumn(widget, 6);
    layout->addWidget(label(section.heading, PopupColor::primary, 10, true));
    auto* grid = new QGridLayout;
    grid->setSpacing(6);
    for (int cell = 0; cell < 4; ++cell)
        grid->addWidget(metricCard(section.cards[cell]), cell / 2, cell % 2);
    layout->addLayout(grid);
    if (section.topCPU) layout->addWidget(processListWidget(*section.topCPU));
    if (section.topMemory) layout->addWidget(processListWidget(*section.topMemory));
    return widget;
}

QWidget* PopupView::processListWidget(const ProcessList& list) {
    auto* widget = new QWidget;
    auto* layout = tightColumn(widget, 0);
    auto* titleRow = tightRow();
    QLabel* title = label(list.title, PopupColor::secondary, 10, true);
    title->setToolTip(text(list.help));
    titleRow->addWidget(title);
    if (!list.note.empty()) titleRow->addWidget(label(list.note, PopupColor::secondary, 9));
    titleRow->addStretch();
    layout->addLayout(titleRow);
    for (const ProcessRow& row : list.rows)
        layout->addWidget(
            processRow(row, [this](const std::string& key) { model_.togglePin(key); }));
    return widget;
}

QWidget* PopupView::watchedWidget(const WatchedSection& section) {
    auto* widget = new QWidget;
    auto* layout = tightColumn(widget, 4);
    auto* titleRow = tightRow();
    auto* pin = new QLabel;
    pin->setPixmap(symbolIcon(section.headerImage, resolvedColor(PopupColor::orange, palette()))
                       .pixmap(12, 12));
    titleRow->addWidget(pin);
    titleRow->addWidget(label(section.title, PopupColor::primary, 10, true));
    titleRow->addWidget(label(section.note, PopupColor::secondary, 9));
    titleRow->addStretch();
    layout->addLayout(titleRow);

    auto* box = new QFrame;
    tintBackground(box, resolvedColor(PopupColor::orange, palette()), 0.15);
    auto* rows = tightColumn(box, 2);
    rows->setContentsMargins(6, 6, 6, 6);
    for (const WatchedRow& model : section.rows) {
        // A click anywhere on the row unpins.
        auto* row = new ClickableRow([this, key = model.unpin.key] { model_.togglePin(key); });
        row->setToolTip(text(model.help));
        auto* line = tightRow();
        row->setLayout(line);
        line->setContentsMargins(0, 1, 0, 1);
        line->addWidget(
            pinButton(model.unpin, [this](const std::string& key) { model_.togglePin(key); }));
        line->addWidget(label(model.pattern, PopupColor::primary, 10));
        if (!model.count.empty()) line->addWidget(label(model.count, PopupColor::secondary, 9));
        line->addStretch();
        if (!model.noMatch.empty())
            line->addWidget(label(model.noMatch, PopupColor::secondary, 10));
        for (const PopupText& figure : model.figures)
            line->addWidget(label(figure.text, figure.color, 10));
        rows->addWidget(row);
    }
    layout->addWidget(box);
    return widget;
}

QWidget* PopupView::controlsWidget(const ControlsSection& section) {
    auto* widget = new QWidget;
    auto* layout = tightColumn(widget, 6);
    QPushButton* startStop = button(section.startStop);
    connect(startStop, &QPushButton::clicked, this, [this] { model_.toggleMonitoring(); });
    layout->addWidget(startStop);
    if (section.upload) {
        auto* row = tightRow(6);
        if (section.upload->showsProgress) {
            auto* progress = new QProgressBar;
            progress->setRange(0, 0);  // busy, with no measure of how far
            progress->setFixedSize(60, 8);
            progress->setTextVisible(false);
            row->addWidget(progress);
        }
        QPushButton* upload = button(*section.upload);
        connect(upload, &QPushButton::clicked, this, [this] { model_.performUpload(); });
        row->addWidget(upload, 1);
        layout->addLayout(row);
    }
    QPushButton* dashboard = button(section.dashboard);
    connect(dashboard, &QPushButton::clicked, this, [this] { model_.openDashboard(); });
    layout->addWidget(dashboard);
    return widget;
}

QWidget* PopupView::footerWidget(const PopupFooter& model) {
    auto* widget = new QWidget;
    auto* row = tightRow();
    widget->setLayout(row);
    if (!model.image.empty()) {
        auto* warning = new QLabel;
        warning->setPixmap(
            symbolIcon(model.image, resolvedColor(PopupColor::orange, palette())).pixmap(12, 12));
        row->addWidget(warning);
    }
    QLabel* text = label(model.text, PopupColor::secondary, 9);
    text->setWordWrap(true);
    row->addWidget(text, 1);
    return widget;
}

}  // namespace ostrel
