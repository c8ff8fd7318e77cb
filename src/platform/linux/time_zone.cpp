#include "platform/time_zone.h"

#include <time.h>

#include <atomic>

#include "platform/linux/file_change_watch.h"

namespace ostrel {

uint64_t reloadTimeZoneIfChanged() {
    // Without TZ the zone is /etc/localtime, which tzset would look up on every call. TZ names
    // the zone by itself and cannot change from outside the process: a change of the file then
    // costs a tzset that finds TZ as it was.
    static FileChangeWatch localtime("/etc/localtime");
    static std::atomic<uint64_t> loads{0};
    if (localtime.mayHaveChanged()) {
        ::tzset();
        return ++loads;
    }
    return loads;
}

}  // namespace ostrel
