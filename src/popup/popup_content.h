#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

// Everything the popup shows, as plain values: the panel lays these out and adds nothing.
// Image names are the design's symbol names ("pin.fill"); the desktop module maps them to
// icon-theme names.
namespace ostrel {

// Colour names; the panel resolves them against the desktop's light or dark palette.
enum class PopupColor {
    primary,
    secondary,
    green,
    // The system's green on a dark palette, a darker green (0.1, 0.55, 0.1) on a light one.
    dynamicGreen,
    yellow,
    red,
    blue,
    purple,
    orange,
    cyan,
    // Grey at half opacity: the stopped dot.
    dimmedGrey,
    // An empty card cell.
    clear,
};

struct PopupText {
    std::string text;
    PopupColor color = PopupColor::primary;

    bool operator==(const PopupText&) const = default;
};

struct PopupHeader {
    std::string title;
    PopupColor statusDot = PopupColor::dimmedGrey;
    std::string settingsImage;
    std::string settingsHelp;

    bool operator==(const PopupHeader&) const = default;
};

// "Label: value (detail)".
struct StatusRow {
    std::string label;
    PopupText value;
    std::string detail;

    bool operator==(const StatusRow&) const = default;
};

struct MetricCard {
    std::string title;
    std::string value;
    PopupColor color = PopupColor::secondary;
    std::string help;

    bool operator==(const MetricCard&) const = default;
};

// A pin toggle on a process row.
struct PinButton {
    // The name pinned or unpinned.
    std::string key;
    bool pinned = false;
    bool enabled = true;
    std::string image;
    std::string help;

    bool operator==(const PinButton&) const = default;
};

struct ProcessRow {
    PinButton pin;
    std::string name;
    // The pid, or the member count of a group (blue): empty when not shown.
    std::string pid;
    std::string count;
    std::string value;
    // The memory beside the CPU value, in search results only.
    std::string memory;
    std::string help;

    bool operator==(const ProcessRow&) const = default;
};

struct ProcessList {
    std::string title;
    // "(combined)" over grouped rows, else empty.
    std::string note;
    std::string help;
    std::vector<ProcessRow> rows;

    bool operator==(const ProcessList&) const = default;
};

struct MetricsSection {
    std::string heading;
    // CPU, memory, power, uptime; an absent card leaves its cell empty.
    std::array<std::optional<MetricCard>, 4> cards;
    std::optional<ProcessList> topCPU;
    std::optional<ProcessList> topMemory;

    bool operator==(const MetricsSection&) const = default;
};

struct WatchedRow {
    std::string pattern;
    PinButton unpin;
    // Empty figures are not shown; with no match only `noMatch` is.
    std::string count;
    std::vector<PopupText> figures;
    std::string noMatch;
    std::string help;

    bool operator==(const WatchedRow&) const = default;
};

struct WatchedSection {
    std::string headerImage;
    std::string title;
    std::string note;
    std::vector<WatchedRow> rows;

    bool operator==(const WatchedSection&) const = default;
};

struct SearchSection {
    std::string image;
    std::string title;
    bool expanded = false;
    // Shown when expanded.
    std::string groupedNote;
    std::string maxNote;
    std::string closeImage;
    std::string placeholder;
    std::string text;
    bool showsClearButton = false;
    // A list under a non-empty text: its rows, or `noResults` when there are none.
    bool showsList = false;
    int listHeight = 0;
    std::vector<ProcessRow> results;
    std::string noResults;

    bool operator==(const SearchSection&) const = default;
};

struct PopupButton {
    std::string title;
    std::string image;
    PopupColor color = PopupColor::primary;
    bool enabled = true;
    bool showsProgress = false;
    std::string help;

    bool operator==(const PopupButton&) const = default;
};

struct ControlsSection {
    PopupButton startStop;
    std::optional<PopupButton> upload;
    PopupButton dashboard;

    bool operator==(const ControlsSection&) const = default;
};

struct PopupFooter {
    // The warning image before the guidance text, or empty.
    std::string image;
    std::string text;

    bool operator==(const PopupFooter&) const = default;
};

// Sections from top to bottom; an absent section is not shown, nor its divider.
struct PopupContent {
    PopupHeader header;
    std::vector<StatusRow> status;
    // lastError, in red caption type.
    std::optional<std::string> error;
    std::optional<MetricsSection> metrics;
    std::optional<WatchedSection> watched;
    SearchSection search;
    ControlsSection controls;
    PopupFooter footer;

    bool operator==(const PopupContent&) const = default;
};

}  // namespace ostrel
