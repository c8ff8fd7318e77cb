// Wake from sleep on Linux: logind's PrepareForSleep(false) on the system bus; where there is
// no system bus (containers, minimal servers), a jump of CLOCK_BOOTTIME against CLOCK_MONOTONIC
// checked every few seconds.
#include "platform/wake_monitor.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "logging/logger.h"
#include "platform/linux/suspend_gap.h"

namespace ostrel {
namespace {

constexpr auto kGapCheckPeriod = std::chrono::seconds(5);

std::chrono::nanoseconds readClock(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Watches logind on its own thread; the thread sleeps in poll on the bus and a stop eventfd.
class LogindWakeObservation final : public WakeObservation {
  public:
    LogindWakeObservation(Dispatcher& dispatcher, Task onWake, sd_bus* bus)
        : dispatcher_(dispatcher),
          onWake_(std::move(onWake)),
          bus_(bus),
          stopFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        sd_bus_match_signal(bus_, &slot_, "org.freedesktop.login1", "/org/freedesktop/login1",
                            "org.freedesktop.login1.Manager", "PrepareForSleep",
                            &LogindWakeObservation::onSignal, this);
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "ostrel-logind");
            run();
        });
    }

    ~LogindWakeObservation() override {
        uint64_t one = 1;
        [[maybe_unused]] auto written = write(stopFd_, &one, sizeof one);
        thread_.join();
        sd_bus_slot_unref(slot_);
        sd_bus_flush_close_unref(bus_);
        close(stopFd_);
    }

  private:
    static int onSignal(sd_bus_message* message, void* context, sd_bus_error*) {
        auto* self = static_cast<LogindWakeObservation*>(context);
        int goingToSleep = 0;
        if (sd_bus_message_read(message, "b", &goingToSleep) >= 0 && !goingToSleep) {
            self->dispatcher_.mainQueue().async(self->onWake_);
        }
        return 0;
    }

    void run() {
        while (true) {
            while (sd_bus_process(bus_, nullptr) > 0) {
            }
            pollfd fds[2] = {{sd_bus_get_fd(bus_), static_cast<short>(sd_bus_get_events(bus_)), 0},
                             {stopFd_, POLLIN, 0}};
            if (poll(fds, 2, -1) < 0 && errno != EINTR) return;
            if (fds[1].revents) return;
            if (fds[0].revents & (POLLHUP | POLLERR)) {
                Logger::warning("Lost the system bus; wake from sleep is no longer observed",
                                Logger::Category::general);
                return;
            }
        }
    }

    Dispatcher& dispatcher_;
    Task onWake_;
    sd_bus* bus_;
    sd_bus_slot* slot_ = nullptr;
    int stopFd_;
    std::thread thread_;
};

// The check runs on the main queue, where the wake is told anyway: it needs no thread of its
// own. Its leeway is a whole period, so while the main queue wakes for other work (a landing
// sample) the check rides along once a period and never wakes the queue itself; a sleep shows
// as the same jump whenever it is read.
class ClockGapWakeObservation final : public WakeObservation {
  public:
    ClockGapWakeObservation(Dispatcher& dispatcher, Task onWake) {
        gap_.sleptSinceLastReading(readClock(CLOCK_BOOTTIME), readClock(CLOCK_MONOTONIC));
        timer_ =
            dispatcher.makeTimer(dispatcher.mainQueue(),
                                 {.firstDeadline = kGapCheckPeriod,
                                  .period = kGapCheckPeriod,
                                  .leeway = kGapCheckPeriod},
                                 [this, onWake = std::move(onWake)] {
                                     if (gap_.sleptSinceLastReading(readClock(CLOCK_BOOTTIME),
                                                                    readClock(CLOCK_MONOTONIC))) {
                                         onWake();
                                     }
                                 });
    }

    // Released on the main queue, where the check runs: cancelling stops every later firing.
    ~ClockGapWakeObservation() override { timer_->cancel(); }

  private:
    SuspendGap gap_;
    std::unique_ptr<Timer> timer_;
};

}  // namespace

std::unique_ptr<WakeObservation> observeSystemWake(Dispatcher& dispatcher, Task onWake) {
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) >= 0) {
        return std::make_unique<LogindWakeObservation>(dispatcher, std::move(onWake), bus);
    }
    Logger::debug("No system bus: wake from sleep is told by the boot-time clock",
                  Logger::Category::general);
    return std::make_unique<ClockGapWakeObservation>(dispatcher, std::move(onWake));
}

}  // namespace ostrel
