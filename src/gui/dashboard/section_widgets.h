#pragma once

#include <QColor>
#include <QHBoxLayout>
#include <QLabel>
#include <QString>
#include <string_view>

// What the analysis and alert sections add to the dashboard's shared building blocks.
namespace ostrel::SectionWidgets {

// `color` at `opacity` as a style sheet value: "rgba(255, 149, 0, 0.1)".
QString styleColor(const QColor& color, double opacity = 1);

// A heading: a symbol and a bold title, added to `row`; shown (again, for new colours) by
// showHeading.
struct Heading {
    QLabel* icon;
    QLabel* title;
};
Heading addHeading(QHBoxLayout* row);
void showHeading(const Heading& heading, std::string_view symbol, const QColor& iconColor,
                 std::string_view title);

}  // namespace ostrel::SectionWidgets
