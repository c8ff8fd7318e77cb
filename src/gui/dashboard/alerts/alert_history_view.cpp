#include "gui/dashboard/alerts/alert_history_view.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "gui/dashboard/alerts/alert_card_view.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/section_widgets.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace SectionWidgets;
using DashboardWidgets::ColorLabel;

AlertHistoryView::AlertHistoryView(DashboardViewModel& model, QWidget* parent)
    : DashboardSection(model, parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* headingRow = new QHBoxLayout;
    headingRow->setSpacing(4);
    heading_ = addHeading(headingRow);
    headingRow->addSpacing(4);
    count_ = new ColorLabel(DashboardColor::secondary);
    headingRow->addWidget(count_);
    headingRow->addStretch();
    layout->addLayout(headingRow);

    empty_ = new QWidget;
    auto* emptyLayout = new QVBoxLayout(empty_);
    emptyLayout->setContentsMargins(0, 16, 0, 16);
    emptyLayout->setSpacing(2);
    emptyTitle_ = new QLabel;
    emptyDetail_ = new ColorLabel(DashboardColor::secondary);
    for (QLabel* label : {emptyTitle_, emptyDetail_}) {
        label->setAlignment(Qt::AlignCenter);
        emptyLayout->addWidget(label);
    }
    layout->addWidget(empty_);
    cardsBox_ = new QWidget;
    cardsLayout_ = new QVBoxLayout(cardsBox_);
    cardsLayout_->setContentsMargins(0, 0, 0, 0);
    cardsLayout_->setSpacing(6);
    layout->addWidget(cardsBox_);

    alerts_ = model_.alertEvents.subscribe([this](const auto&) {
        alertsChanged_ = true;
        refresh_.schedule();
    });
    refresh_.watch(model_.sourceTimezone);
    refresh();
}

void AlertHistoryView::changeEvent(QEvent* event) {
    DashboardSection::changeEvent(event);
    // Every card again, in the new colours.
    if (event->type() == QEvent::PaletteChange) shownCards_.clear();
}

void AlertHistoryView::refresh() {
    // A new day's alerts close any open card; a change of zone only rewrites the times.
    if (alertsChanged_) history_.setAlerts(model_.alertEvents.get());
    alertsChanged_ = false;
    const AlertHistoryHeader header = history_.header();
    showHeading(heading_, header.icon, resolvedColor(DashboardColor::primary, this), header.title);
    count_->setText(qtText(header.count));
    emptyTitle_->setText(qtText(header.emptyTitle));
    emptyDetail_->setText(qtText(header.emptyDetail));
    empty_->setVisible(history_.isEmpty());
    cardsBox_->setVisible(!history_.isEmpty());
    showCards();
}

void AlertHistoryView::toggle(const std::string& alertId) {
    history_.toggle(alertId);
    showCards();
}

void AlertHistoryView::showCards() {
    std::vector<AlertCard> cards = history_.cards(model_.sourceTimezone.get());
    for (size_t i = 0; i < cards.size(); ++i) {
        if (i < shownCards_.size() && shownCards_[i] == cards[i]) continue;
        auto* card = new AlertCardView(
            cards[i], [this, id = cards[i].id] { toggle(id); }, cardsBox_);
        if (i < cards_.size()) {
            cardsLayout_->replaceWidget(cards_[i], card);
            // Later: the click that opened this card may still be running in the old one.
            cards_[i]->hide();
            cards_[i]->deleteLater();
            cards_[i] = card;
        } else {
            cardsLayout_->addWidget(card);
            cards_.push_back(card);
        }
    }
    while (cards_.size() > cards.size()) {
        cards_.back()->hide();
        cards_.back()->deleteLater();
        cards_.pop_back();
    }
    shownCards_ = std::move(cards);
}

}  // namespace ostrel
