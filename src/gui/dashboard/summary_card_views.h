#pragma once

#include <QFrame>

#include "dashboard/dashboard_summaries.h"
#include "gui/dashboard/dashboard_widgets.h"

namespace ostrel {

// A card of the summary row: icon and title, then two labelled values, then its detail.
class SummaryStatCardView final : public QFrame {
  public:
    explicit SummaryStatCardView(QWidget* parent = nullptr);

    void display(const SummaryStatCard& card);

  private:
    QLabel* icon_;
    QLabel* title_;
    QLabel* primaryLabel_;
    DashboardWidgets::ColorLabel* primaryValue_;
    QLabel* secondaryLabel_;
    DashboardWidgets::ColorLabel* secondaryValue_;
    QLabel* detail_;
};

// The process that used the most CPU, with its CPU and memory.
class TopConsumerCardView final : public QFrame {
  public:
    explicit TopConsumerCardView(QWidget* parent = nullptr);

    void display(const TopConsumerCard& card);

  private:
    QLabel* icon_;
    QLabel* title_;
    QLabel* name_;
    QLabel* cpu_;
    QLabel* memory_;
};

}  // namespace ostrel
