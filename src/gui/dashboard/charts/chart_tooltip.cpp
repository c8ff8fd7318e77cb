#include "gui/dashboard/charts/chart_tooltip.h"

#include <QFontMetricsF>
#include <QHash>
#include <QPainter>
#include <QPixmap>
#include <algorithm>

#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {
namespace {

constexpr double kPadding = 6;
constexpr double kColumnGap = 10;
constexpr double kSectionGap = 4;
constexpr double kIconSize = 12;
constexpr double kGapFromLine = 8;

// Tinting draws a new image: done once per symbol and colour, not on every pin move.
QPixmap symbolPixmap(const char* symbol, const QColor& tint) {
    static QHash<QString, QPixmap> cache;
    const QString key = QLatin1String(symbol) + tint.name(QColor::HexArgb);
    auto found = cache.find(key);
    if (found == cache.end())
        found = cache.insert(key, symbolIcon(symbol, tint).pixmap(int(kIconSize * 2)));
    return *found;
}

std::vector<TooltipRow> processRows(const std::vector<TooltipProcess>& processes,
                                    const QPalette& palette) {
    const QColor primary = resolvedColor(DashboardColor::primary, palette);
    const QColor secondary = resolvedColor(DashboardColor::secondary, palette);
    std::vector<TooltipRow> rows;
    for (const TooltipProcess& p : processes) {
        rows.push_back({{QString::number(p.pid), secondary},
                        {qtText(p.name), primary},
                        {qtText(p.cpu), primary},
                        {qtText(p.memory), secondary}});
    }
    return rows;
}

// The widest cell of each column over a section's rows.
std::vector<double> columnWidths(const std::vector<TooltipRow>& rows, const QFontMetricsF& plain,
                                 const QFontMetricsF& bold) {
    std::vector<double> widths;
    for (const TooltipRow& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (size_t i = 0; i < row.size(); ++i) {
            const auto& metrics = row[i].bold ? bold : plain;
            widths[i] = std::max(widths[i], metrics.horizontalAdvance(row[i].text));
        }
    }
    return widths;
}

double sum(const std::vector<double>& widths) {
    double total = 0;
    for (const double width : widths)
        total += width;
    return total + kColumnGap * double(std::max<size_t>(widths.size(), 1) - 1);
}

}  // namespace

TooltipContent tooltipContent(const CPUTooltip& tooltip, const QPalette& palette) {
    TooltipContent content{.time = qtText(tooltip.time), .isLinked = tooltip.isLinked};
    content.sections.push_back(
        {{{qtText(tooltip.total), resolvedColor(tooltip.totalColor, palette), true}}});
    if (tooltip.processes.empty()) {
        content.sections.push_back({{{QStringLiteral("No process data"),
                                      resolvedColor(DashboardColor::secondary, palette)}}});
    } else {
        content.sections.push_back(processRows(tooltip.processes, palette));
    }
    return content;
}

TooltipContent tooltipContent(const LineTooltip& tooltip, const QPalette& palette) {
    TooltipContent content{.time = qtText(tooltip.time), .isLinked = tooltip.isLinked};
    const QColor primary = resolvedColor(DashboardColor::primary, palette);
    std::vector<TooltipRow> values;
    for (const LineTooltipRow& row : tooltip.rows)
        values.push_back({{qtText(row.label), resolvedColor(row.color, palette)},
                          {qtText(row.value), primary, true}});
    content.sections.push_back(std::move(values));

    std::vector<TooltipRow> processes;
    const QColor secondary = resolvedColor(DashboardColor::secondary, palette);
    for (const NetworkTooltipProcess& p : tooltip.networkProcesses) {
        processes.push_back({{QString::number(p.pid), secondary},
                             {qtText(p.name), primary},
                             {qtText(p.bytesIn), resolvedColor(DashboardColor::blue, palette)},
                             {qtText(p.bytesOut), resolvedColor(DashboardColor::cyan, palette)}});
    }
    for (const DiskTooltipProcess& p : tooltip.diskProcesses) {
        processes.push_back({{QString::number(p.pid), secondary},
                             {qtText(p.name), primary},
                             {qtText(p.read), resolvedColor(DashboardColor::green, palette)},
                             {qtText(p.write), resolvedColor(DashboardColor::orange, palette)}});
    }
    for (TooltipRow& row : processRows(tooltip.processes, palette))
        processes.push_back(std::move(row));
    if (!processes.empty()) content.sections.push_back(std::move(processes));
    return content;
}

TooltipContent tooltipContent(const PointTooltip& tooltip, const QPalette& palette) {
    return {.time = qtText(tooltip.time),
            .sections = {{{{qtText(tooltip.value), resolvedColor(tooltip.color, palette), true}}}},
            .isLinked = tooltip.isLinked};
}

TooltipLayout layoutTooltip(const QFont& font, const TooltipContent& content, double anchorX,
                            double top, const QRectF& bounds) {
    QFont boldFont = font;
    boldFont.setBold(true);
    const QFontMetricsF plain(font);
    const QFontMetricsF bold(boldFont);
    TooltipLayout layout{.lineHeight = std::max(plain.height(), kIconSize)};

    double contentWidth = bold.horizontalAdvance(content.time) +
                          (content.isLinked ? kIconSize + 4 : 0) +
                          (content.closable ? kIconSize + kColumnGap : 0);
    double height = layout.lineHeight;
    for (const auto& section : content.sections) {
        layout.columnWidths.push_back(columnWidths(section, plain, bold));
        contentWidth = std::max(contentWidth, sum(layout.columnWidths.back()));
        height += kSectionGap + layout.lineHeight * double(section.size());
    }
    const QSizeF size(contentWidth + 2 * kPadding, height + 2 * kPadding);
    double left = anchorX + kGapFromLine;
    if (left + size.width() > bounds.right()) left = anchorX - kGapFromLine - size.width();
    left = std::max(left, bounds.left());
    layout.frame = QRectF(QPointF(left, std::min(top, bounds.bottom() - size.height())), size);
    return layout;
}

QRectF paintTooltip(QPainter& painter, const TooltipContent& content, const TooltipLayout& layout,
                    const QPalette& palette) {
    const QFont plainFont = painter.font();
    QFont boldFont = plainFont;
    boldFont.setBold(true);
    const QRectF& frame = layout.frame;
    const double lineHeight = layout.lineHeight;
    const auto& widths = layout.columnWidths;
    const double contentWidth = frame.width() - 2 * kPadding;

    painter.save();
    const QColor background = palette.color(QPalette::Base);
    painter.setPen(QPen(palette.color(QPalette::Mid), 1));
    painter.setBrush(background);
    painter.drawRoundedRect(frame, 6, 6);

    QRectF closeButton;
    double x = frame.left() + kPadding;
    double y = frame.top() + kPadding;
    const auto icon = [&](const char* symbol, DashboardColor color, double at) {
        const QRectF place(at, y + (lineHeight - kIconSize) / 2, kIconSize, kIconSize);
        painter.drawPixmap(place, symbolPixmap(symbol, resolvedColor(color, palette)), QRectF());
        return place;
    };
    if (content.isLinked) {
        icon("selection.pin.in.out", DashboardColor::accent, x);
        x += kIconSize + 4;
    }
    painter.setFont(boldFont);
    painter.setPen(resolvedColor(DashboardColor::primary, palette));
    painter.drawText(QRectF(x, y, contentWidth, lineHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     content.time);
    if (content.closable) {
        closeButton = icon("xmark.circle.fill", DashboardColor::secondary,
                           frame.right() - kPadding - kIconSize);
    }
    y += lineHeight;

    for (size_t s = 0; s < content.sections.size(); ++s) {
        y += kSectionGap;
        for (const TooltipRow& row : content.sections[s]) {
            x = frame.left() + kPadding;
            for (size_t c = 0; c < row.size(); ++c) {
                painter.setFont(row[c].bold ? boldFont : plainFont);
                painter.setPen(row[c].color);
                painter.drawText(QRectF(x, y, widths[s][c], lineHeight),
                                 Qt::AlignLeft | Qt::AlignVCenter, row[c].text);
                x += widths[s][c] + kColumnGap;
            }
            y += lineHeight;
        }
    }
    painter.restore();
    return closeButton;
}

}  // namespace ostrel
