#include "gui/icons/symbol_icons.h"

#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <array>

namespace ostrel {
namespace {

struct SymbolEntry {
    std::string_view symbol;
    // Empty where the freedesktop icon names have no counterpart.
    const char* themeName;
    // Under :/symbols/.
    const char* bundled;
};

constexpr std::array<SymbolEntry, 42> kSymbols{{
    {"play.fill", "media-playback-start", "play.fill.svg"},
    {"stop.fill", "media-playback-stop", "stop.fill.svg"},
    {"chart.xyaxis.line", "utilities-system-monitor", "chart.xyaxis.line.svg"},
    {"gear", "preferences-system", "gear.svg"},
    {"SettingsIcon", "preferences-system", "gear.svg"},
    {"folder", "folder", "folder.svg"},
    {"power", "application-exit", "power.svg"},
    {"magnifyingglass", "edit-find", "magnifyingglass.svg"},
    {"xmark.circle.fill", "edit-clear", "xmark.circle.fill.svg"},
    {"exclamationmark.triangle.fill", "dialog-warning", "exclamationmark.triangle.fill.svg"},
    {"icloud.and.arrow.up", "document-send", "icloud.and.arrow.up.svg"},
    // No theme tells a pinned from an unpinned pin: both are bundled.
    {"pin.fill", "", "pin.fill.svg"},
    {"pin", "", "pin.svg"},
    // The settings window's tabs, locks and states (their images: gui/settings/icons/).
    {"chart.bar", "", "chart.bar.svg"},
    {"internaldrive", "drive-harddisk", "internaldrive.svg"},
    {"bell.badge", "preferences-system-notifications", "bell.badge.svg"},
    {"info.circle", "help-about", "info.circle.svg"},
    {"lock.fill", "changes-prevent", "lock.fill.svg"},
    {"lock.shield.fill", "security-high", "lock.shield.fill.svg"},
    {"checkmark.circle.fill", "emblem-ok", "checkmark.circle.fill.svg"},
    {"questionmark.circle", "dialog-question", "questionmark.circle.svg"},
    // The dashboard window's regions, controls and cards (their images: gui/dashboard/icons/).
    {"chart.line.uptrend.xyaxis", "utilities-system-monitor", "chart.line.uptrend.xyaxis.svg"},
    {"chart.bar.xaxis", "", "chart.bar.xaxis.svg"},
    {"exclamationmark.triangle", "dialog-warning", "exclamationmark.triangle.svg"},
    {"arrow.clockwise", "view-refresh", "arrow.clockwise.svg"},
    {"folder.badge.plus", "document-open-folder", "folder.badge.plus.svg"},
    {"doc.on.doc", "document-open", "doc.on.doc.svg"},
    {"externaldrive", "drive-removable-media", "externaldrive.svg"},
    {"externaldrive.fill", "drive-removable-media", "externaldrive.fill.svg"},
    {"desktopcomputer", "computer", "desktopcomputer.svg"},
    {"checkmark", "object-select", "checkmark.svg"},
    {"memorychip", "", "memorychip.svg"},
    {"star.fill", "starred", "star.fill.svg"},
    {"cpu", "", "cpu.svg"},
    {"network", "network-wired", "network.svg"},
    {"calendar", "x-office-calendar", "calendar.svg"},
    {"chevron.left", "go-previous", "chevron.left.svg"},
    {"chevron.right", "go-next", "chevron.right.svg"},
    {"chevron.down", "", "chevron.down.svg"},
    {"chevron.up", "", "chevron.up.svg"},
    {"xmark.circle", "", "xmark.circle.svg"},
    // The dashboard's charts: the pin sign of linked tooltips and of a drag.
    {"selection.pin.in.out", "", "selection.pin.in.out.svg"},
}};

// One colour over the image's own shape.
QIcon tinted(const QIcon& icon, const QColor& tint) {
    QIcon result;
    for (const int size : {16, 32}) {
        QPixmap pixmap = icon.pixmap(size, size);
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), tint);
        painter.end();
        result.addPixmap(pixmap);
    }
    return result;
}

}  // namespace

QIcon symbolIcon(std::string_view symbol, const QColor& tint) {
    const auto entry = std::ranges::find(kSymbols, symbol, &SymbolEntry::symbol);
    if (entry == kSymbols.end()) return {};
    const QIcon bundled(QStringLiteral(":/symbols/") + QLatin1String(entry->bundled));
    // A tinted image is a silhouette: the bundled one, drawn for it, keeps its shape best.
    if (tint.isValid()) return tinted(bundled, tint);
    if (*entry->themeName == '\0') return bundled;
    return QIcon::fromTheme(QLatin1String(entry->themeName), bundled);
}

}  // namespace ostrel
