#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

namespace ostrel {

// Hands each event waiting on a non-blocking inotify descriptor to `onEvent`, until none is
// left or `onEvent` returns false.
template <class OnEvent>
void readInotifyEvents(int inotify, OnEvent&& onEvent) {
    alignas(inotify_event) char buffer[4096];
    while (true) {
        const ssize_t count = ::read(inotify, buffer, sizeof(buffer));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;  // EAGAIN: nothing more has happened
        for (ssize_t offset = 0; offset < count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
            offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if (!onEvent(*event)) return;
        }
    }
}

}  // namespace ostrel
