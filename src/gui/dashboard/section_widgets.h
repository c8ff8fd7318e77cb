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

// The widget's palette in its active colours, whatever its state: while the model rebuilds, the
// window dims its content as a whole, and a section that refreshes then must not take the
// disabled colours for good.
QPalette activeColours(const QWidget* widget);

// Sets a label's text colour, resolved by the caller on the view's palette: a label's own
// palette still holds the colour it was given before a switch between light and dark.
void setTextColor(QLabel* label, const QColor& color);

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
