// The network path on Linux is usable when a default route exists. Route and link changes
// come from a netlink multicast subscription; where netlink is refused (some sandboxes), the
// route is looked at every few seconds instead.
#include "platform/network_path_monitor.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <thread>

#include "platform/linux/network.h"

namespace ostrel {
namespace {

constexpr int kFallbackPollMilliseconds = 2000;

int openRouteSubscription() {
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (fd < 0) return -1;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE | RTMGRP_IPV4_IFADDR |
                        RTMGRP_IPV6_IFADDR;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// A fresh source each time: the collector's source keeps a route for a few seconds, which
// would hide the change that woke us.
bool hasDefaultRoute() {
    LinuxNetworkSource source("/proc", systemClock());
    return source.defaultRouteInterface().has_value();
}

class LinuxNetworkPathMonitor final : public NetworkPathMonitor {
  public:
    LinuxNetworkPathMonitor() : stopFd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    ~LinuxNetworkPathMonitor() override {
        cancel();
        if (thread_.joinable()) thread_.join();
        if (stopFd_ >= 0) ::close(stopFd_);
    }

    void start(SerialQueue& queue, Handler handler) override {
        if (thread_.joinable() || !*live_) return;
        thread_ =
            std::thread([this, &queue, handler = std::move(handler)] { run(queue, handler); });
    }

    void cancel() override {
        *live_ = false;
        const uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(stopFd_, &one, sizeof one);
    }

  private:
    void run(SerialQueue& queue, const Handler& handler) {
        const int subscription = openRouteSubscription();
        std::optional<bool> reported;
        const auto report = [&] {
            const bool satisfied = hasDefaultRoute();
            if (reported == satisfied) return;
            reported = satisfied;
            queue.async([live = live_, handler, satisfied] {
                if (*live) handler(satisfied);
            });
        };
        // Subscribed first, so a change during the first look is not missed.
        report();
        std::array<char, 8192> buffer;
        while (*live_) {
            pollfd fds[2] = {{stopFd_, POLLIN, 0}, {subscription, POLLIN, 0}};
            const int ready = ::poll(fds, subscription >= 0 ? 2 : 1,
                                     subscription >= 0 ? -1 : kFallbackPollMilliseconds);
            if (ready < 0 && errno != EINTR) break;
            if (fds[0].revents) break;
            if (subscription >= 0 && fds[1].revents) {
                // One look after the burst of messages a change brings.
                while (::recv(subscription, buffer.data(), buffer.size(), 0) > 0) {
                }
            }
            if (*live_) report();
        }
        if (subscription >= 0) ::close(subscription);
    }

    const int stopFd_;
    const std::shared_ptr<std::atomic<bool>> live_ = std::make_shared<std::atomic<bool>>(true);
    std::thread thread_;
};

}  // namespace

std::unique_ptr<NetworkPathMonitor> makePlatformNetworkPathMonitor() {
    return std::make_unique<LinuxNetworkPathMonitor>();
}

}  // namespace ostrel
