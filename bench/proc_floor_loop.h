#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// The least any agent that samples processes must do per sample, written as plainly as C
// allows: read /proc/stat, meminfo, diskstats and net/dev, list /proc, and read every
// /proc/<pid>/stat once, opening and closing each file. The agent's cost is quoted against it.
namespace proc_floor {

// Reads one file whole into `buffer`; the bytes read, 0 when it could not be opened.
inline size_t slurp(const char* path, char* buffer, size_t size) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    size_t total = 0;
    for (ssize_t count; (count = ::read(fd, buffer, size)) > 0;)
        total += static_cast<size_t>(count);
    ::close(fd);
    return total;
}

// One sample; returns the number of processes whose stat was read, and a checksum of the
// fields a real agent would parse, so that nothing is optimised away.
inline long sample(long& checksum) {
    static char buffer[65536];
    static const char* const systemFiles[] = {"/proc/stat", "/proc/meminfo", "/proc/diskstats",
                                              "/proc/net/dev"};
    for (const char* path : systemFiles) {
        if (slurp(path, buffer, sizeof(buffer)) > 0) checksum += buffer[0];
    }
    DIR* proc = ::opendir("/proc");
    if (!proc) return 0;
    long processes = 0;
    char path[sizeof("/proc//stat") + sizeof(dirent::d_name)];
    while (const dirent* entry = ::readdir(proc)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
        std::snprintf(path, sizeof(path), "/proc/%s/stat", entry->d_name);
        const size_t length = slurp(path, buffer, sizeof(buffer) - 1);
        if (length == 0) continue;
        buffer[length] = '\0';
        // utime and stime follow the name, which ends at the last parenthesis.
        const char* fields = std::strrchr(buffer, ')');
        unsigned long utime = 0, stime = 0;
        if (fields && std::sscanf(fields + 2, "%*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu",
                                  &utime, &stime) == 2) {
            checksum += static_cast<long>(utime + stime);
        }
        ++processes;
    }
    ::closedir(proc);
    return processes;
}

}  // namespace proc_floor
