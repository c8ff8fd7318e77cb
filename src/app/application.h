#pragma once

#include <functional>
#include <memory>

#include "app/user_interface.h"
#include "platform/dispatcher.h"

namespace ostrel {

// How the main queue is served. Left empty, by the dispatcher's own loop on the calling thread
// and without a user interface; a toolkit passes its queue, its loop and its tray instead.
struct EventLoop {
    std::unique_ptr<SerialQueue> mainQueue;
    // Serves `mainQueue` until `quit`.
    std::function<void()> run;
    // Called on the main queue.
    std::function<void()> quit;
    UserInterfaceFactory makeUserInterface;
};

// The application proper on this machine: launches the delegate over the machine's own
// pieces, serves the main queue until a quit command, the menu or a termination signal ends
// it, then shuts down in order. Returns the process's exit status.
int runApplication(EventLoop loop = {});

// The application for this build: with a tray where the build and the session allow one.
// Defined once per build, by the GUI or the headless entry.
int runApplicationEntry(int argc, char** argv);

}  // namespace ostrel
