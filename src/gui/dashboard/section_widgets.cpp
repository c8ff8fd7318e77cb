#include "gui/dashboard/section_widgets.h"

#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel::SectionWidgets {

QString styleColor(const QColor& color, double opacity) {
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alphaF() * opacity);
}

Heading addHeading(QHBoxLayout* row) {
    Heading heading{new QLabel, new QLabel};
    heading.title->setTextFormat(Qt::PlainText);
    QFont font = heading.title->font();
    font.setBold(true);
    heading.title->setFont(font);
    row->addWidget(heading.icon);
    row->addSpacing(2);
    row->addWidget(heading.title);
    return heading;
}

void showHeading(const Heading& heading, std::string_view symbol, const QColor& iconColor,
                 std::string_view title) {
    heading.icon->setPixmap(symbolIcon(symbol, iconColor).pixmap(14, 14));
    heading.title->setText(qtText(title));
}

}  // namespace ostrel::SectionWidgets
