#include "collectors/process_name_utils.h"

#include <array>
#include <string_view>

#include "collectors/process_text.h"

namespace ostrel::ProcessNameUtils {

namespace {

// Applications whose helpers carry the application's name first; the first match wins, so
// longer names stand before their prefixes.
constexpr std::array<std::string_view, 19> kKnownApplications = {
    "Google Chrome",  "Microsoft Edge", "Visual Studio", "Sublime Text", "Android Studio",
    "IntelliJ IDEA",  "VS Code",        "Code Helper",   "Xcode",        "Firefox",
    "Safari",         "Slack",          "Discord",       "Spotify",      "Adobe",
    "Creative Cloud", "Affinity",       "Final Cut",     "Logic Pro"};

// Role suffixes of helper processes, taken off in this order so that several can come off.
constexpr std::array<std::string_view, 12> kHelperSuffixes = {
    " Helper", " Renderer", " GPU Process", " Networking", " Web Content", " Plugin",
    " Worker", " Service",  " (GPU)",       " (Renderer)", " Agent",       " XPC"};

// Each word's first letter upper-cased and the rest lower-cased ("safari" and "SAFARI" both give
// "Safari"), as bundle components are written in any case.
std::string capitalizedWords(std::string_view text) {
    std::string result(text);
    bool wordStart = true;
    for (char& c : result) {
        const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        c = wordStart ? asciiUpper(c) : asciiLower(c);
        wordStart = blank;
    }
    return result;
}

}  // namespace

std::string extractBaseName(const std::string& name) {
    if (name.starts_with("com.") || name.starts_with("org.")) {
        // Reverse-domain bundle names: the third component names the application.
        const auto components = splitDroppingEmpty(name, '.');
        if (components.size() >= 3) return capitalizedWords(components[2]);
    }

    const std::string lower = asciiLowered(name);
    for (std::string_view application : kKnownApplications) {
        if (lower.starts_with(asciiLowered(application))) return std::string(application);
    }

    std::string text = name;
    for (std::string_view suffix : kHelperSuffixes) {
        if (asciiLowered(text).ends_with(asciiLowered(suffix))) {
            text.resize(text.size() - suffix.size());
        }
    }
    if (text.find(' ') == std::string::npos && !text.empty()) text[0] = asciiUpper(text[0]);
    return text;
}

}  // namespace ostrel::ProcessNameUtils
