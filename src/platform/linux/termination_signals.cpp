#include "platform/termination_signals.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "logging/logger.h"
#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

// A signal handler receives no context, so the pipe it writes to is the one global it may use.
std::atomic<int> signalPipe{-1};

void forwardSignal(int signal) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(signal);
    // Non-blocking: with the pipe full, the handler already has requests waiting.
    [[maybe_unused]] const auto written = write(signalPipe.load(), &byte, 1);
    errno = savedErrno;
}

constexpr int kSignals[] = {SIGTERM, SIGINT};
// Written by the destructor to end the reading thread; no signal has the number 0.
constexpr unsigned char kStop = 0;

class PipeTerminationSignals final : public TerminationSignals {
  public:
    explicit PipeTerminationSignals(std::function<void(int)> handler)
        : handler_(std::move(handler)) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            Logger::fatal("Cannot watch termination signals: no pipe", Logger::Category::general);
        }
        readEnd_ = UniqueFd(ends[0]);
        writeEnd_ = UniqueFd(ends[1]);
        fcntl(writeEnd_.get(), F_SETFL, O_NONBLOCK);
        signalPipe = writeEnd_.get();
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "ostrel-signals");
            readRequests();
        });

        struct sigaction action {};
        action.sa_handler = forwardSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &action, &previous_[i]);
    }

    ~PipeTerminationSignals() override {
        for (size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &previous_[i], nullptr);
        signalPipe = -1;
        fcntl(writeEnd_.get(), F_SETFL, 0);  // the stop byte must get through a full pipe
        while (write(writeEnd_.get(), &kStop, 1) < 0 && errno == EINTR) {
        }
        thread_.join();
    }

  private:
    void readRequests() {
        while (true) {
            unsigned char byte = kStop;
            const ssize_t length = read(readEnd_.get(), &byte, 1);
            if (length < 0 && errno == EINTR) continue;
            if (length <= 0 || byte == kStop) return;
            handler_(byte);
        }
    }

    std::function<void(int)> handler_;
    UniqueFd readEnd_;
    UniqueFd writeEnd_;
    struct sigaction previous_[std::size(kSignals)]{};
    std::thread thread_;
};

}  // namespace

std::unique_ptr<TerminationSignals> watchTerminationSignals(std::function<void(int)> handler) {
    return std::make_unique<PipeTerminationSignals>(std::move(handler));
}

}  // namespace ostrel
