#include "platform/linux/autostart_entry.h"

#include <fmt/format.h>

#include <optional>

#include "records/text.h"

namespace ostrel {
namespace {

// The Exec key's quoting: an argument with a reserved character goes in double quotes with
// ", `, $ and \ escaped; a literal % is doubled, since %f and the like are field codes.
std::string execArgument(const std::string& argument) {
    constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
    std::string quoted;
    const bool needsQuotes = argument.find_first_of(reserved) != std::string::npos;
    for (const char c : argument) {
        if (c == '%') {
            quoted += "%%";
            continue;
        }
        if (needsQuotes && (c == '"' || c == '`' || c == '$' || c == '\\')) quoted += '\\';
        quoted += c;
    }
    if (!needsQuotes) return quoted;
    // The file format escapes backslashes once more, beneath the Exec quoting.
    std::string escaped;
    for (const char c : quoted) {
        if (c == '\\') escaped += '\\';
        escaped += c;
    }
    return '"' + escaped + '"';
}

// Blanks around a line, a key or a value; a line end of the other platform is one of them.
std::string_view trimmed(std::string_view text) {
    return ostrel::trimmed(text, " \t\r");
}

}  // namespace

std::string autostartEntry(const std::filesystem::path& executable) {
    return fmt::format(
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Ostrel\n"
        "Comment=Endpoint performance monitor\n"
        "Exec={}\n"
        "Icon=ostrel\n"
        "Terminal=false\n"
        "X-GNOME-Autostart-enabled=true\n",
        execArgument(executable.string()));
}

bool autostartEntryEnabled(std::string_view text) {
    bool inMainGroup = false;
    bool hasCommand = false;
    bool hidden = false;
    bool switchedOff = false;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.starts_with('[')) {
            inMainGroup = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!inMainGroup || line.starts_with('#') || equals == std::string_view::npos) continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string_view value = trimmed(line.substr(equals + 1));
        if (key == "Exec") hasCommand = !value.empty();
        if (key == "Hidden") hidden = value == "true";
        if (key == "X-GNOME-Autostart-enabled") switchedOff = value == "false";
    }
    return hasCommand && !hidden && !switchedOff;
}

}  // namespace ostrel
