#include "platform/time_zone.h"

#include <time.h>

#include <cstdlib>

#include "platform/linux/file_change_watch.h"

namespace ostrel {

void reloadTimeZoneIfChanged() {
    // TZ names the zone by itself, and tzset compares the text without touching a file. Without
    // it the zone is /etc/localtime, which tzset would look up on every call.
    static FileChangeWatch localtime("/etc/localtime");
    if (std::getenv("TZ") || localtime.mayHaveChanged()) ::tzset();
}

}  // namespace ostrel
