#include "app/medium_date_time.h"

#include <locale.h>
#include <time.h>

#include <string>

namespace ostrel {
namespace {

// The time conventions of the user's environment (LC_ALL, LC_TIME, LANG); "C" when they name
// a locale that is not installed. Made once: the environment does not change under a process.
locale_t userTimeLocale() {
    static const locale_t locale = [] {
        locale_t chosen = newlocale(LC_TIME_MASK, "", nullptr);
        return chosen ? chosen : newlocale(LC_TIME_MASK, "C", nullptr);
    }();
    return locale;
}

std::string formatted(const char* format, const tm& fields) {
    char buffer[128];
    const size_t length = strftime_l(buffer, sizeof buffer, format, &fields, userTimeLocale());
    return std::string(buffer, length);
}

}  // namespace

std::string mediumDateTime(Date date) {
    const time_t seconds = std::chrono::system_clock::to_time_t(date);
    tm fields{};
    localtime_r(&seconds, &fields);
    return formatted("%b", fields) + " " + std::to_string(fields.tm_mday) + ", " +
           std::to_string(fields.tm_year + 1900) + ", " + formatted("%X", fields);
}

}  // namespace ostrel
