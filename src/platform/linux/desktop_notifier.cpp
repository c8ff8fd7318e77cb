// Desktop notifications through org.freedesktop.Notifications on the session bus. The bus
// connection lives on one worker thread of its own, so a slow or absent notification service
// never holds up the queue that asked, and sd-bus objects are never shared between threads.
#include <pthread.h>
#include <systemd/sd-bus.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

#include "logging/logger.h"
#include "platform/notifier.h"

namespace ostrel {
namespace {

constexpr const char* serviceName = "org.freedesktop.Notifications";
constexpr const char* objectPath = "/org/freedesktop/Notifications";
constexpr const char* interfaceName = "org.freedesktop.Notifications";
constexpr const char* applicationName = "Ostrel";
// Bounds how long a service that accepts calls but never answers can keep later requests
// waiting on the worker.
constexpr uint64_t callTimeoutMicroseconds = 3'000'000;
// Requests beyond this are refused rather than piled up behind a stuck service.
constexpr std::size_t maxWaitingRequests = 32;

constexpr auto general = Logger::Category::general;

// Why the service could not be reached or did not answer. `absent` marks "no bus" and "no
// such service": the normal state of a server without a desktop, which reads as no rights.
struct BusFailure {
    bool absent = false;
    std::string description;
};

class BusError {
  public:
    ~BusError() { sd_bus_error_free(&error_); }
    sd_bus_error* get() { return &error_; }

    BusFailure failure(int result) const {
        const bool absent =
            sd_bus_error_has_name(&error_, SD_BUS_ERROR_SERVICE_UNKNOWN) ||
            sd_bus_error_has_name(&error_, SD_BUS_ERROR_NAME_HAS_NO_OWNER) ||
            (error_.name &&
             std::string_view(error_.name).starts_with("org.freedesktop.DBus.Error.Spawn."));
        std::string description = error_.message ? error_.message : std::strerror(-result);
        return {absent, std::move(description)};
    }

  private:
    sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

class DesktopNotifier final : public Notifier {
  public:
    explicit DesktopNotifier(std::optional<std::string> address)
        : address_(std::move(address)), worker_([this] {
              pthread_setname_np(pthread_self(), "ostrel-notifier");
              run();
          }) {}

    ~DesktopNotifier() override {
        std::deque<Request> dropped;
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            dropped.swap(waiting_);
        }
        wake_.notify_one();
        worker_.join();
        for (auto& request : dropped)
            request.drop("the notifier was shut down");
        if (bus_) sd_bus_flush_close_unref(bus_);
    }

    void requestAuthorization(AuthorizationHandler handler) override {
        submit({[this, handler] {
                    auto failure = serverInformation();
                    if (!failure) return handler(true, std::nullopt);
                    if (!failure->absent) return handler(false, failure->description);
                    Logger::info("Desktop notifications unavailable: " + failure->description,
                                 general);
                    handler(false, std::nullopt);
                },
                [handler](const std::string& why) { handler(false, why); }});
    }

    void authorizationStatus(StatusHandler handler) override {
        submit({[this, handler] { handler(!serverInformation()); },
                [handler](const std::string&) { handler(false); }});
    }

    void post(Notification notification, PostHandler handler) override {
        submit({[this, notification, handler] {
                    auto failure = notify(notification);
                    handler(failure ? std::optional(failure->description) : std::nullopt);
                },
                [handler](const std::string& why) { handler(why); }});
    }

  private:
    struct Request {
        std::function<void()> run;
        // Answers the handler when the request will never run.
        std::function<void(const std::string& why)> drop;
    };

    void submit(Request request) {
        {
            std::lock_guard lock(mutex_);
            if (!stopping_ && waiting_.size() < maxWaitingRequests) {
                waiting_.push_back(std::move(request));
                wake_.notify_one();
                return;
            }
        }
        request.drop("too many notification requests are waiting");
    }

    void run() {
        for (;;) {
            Request request;
            {
                std::unique_lock lock(mutex_);
                wake_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
                if (stopping_) return;
                request = std::move(waiting_.front());
                waiting_.pop_front();
            }
            request.run();
        }
    }

    // The connection, made on first use and again after the bus has gone away. Worker only.
    std::optional<BusFailure> connect() {
        if (bus_ && sd_bus_is_open(bus_) > 0) return std::nullopt;
        if (bus_) bus_ = sd_bus_flush_close_unref(bus_);
        if (!address_) return BusFailure{true, "no session bus"};

        sd_bus* bus = nullptr;
        int result = sd_bus_new(&bus);
        if (result >= 0) result = sd_bus_set_address(bus, address_->c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
        if (result >= 0) result = sd_bus_set_method_call_timeout(bus, callTimeoutMicroseconds);
        if (result >= 0) result = sd_bus_start(bus);
        if (result < 0) {
            sd_bus_flush_close_unref(bus);
            return BusFailure{true,
                              "no session bus at " + *address_ + ": " + std::strerror(-result)};
        }
        bus_ = bus;
        return std::nullopt;
    }

    // Asking for the server's identity is how rights are judged: a service that answers shows
    // what is posted, and none is asked to display anything to find out.
    std::optional<BusFailure> serverInformation() {
        if (auto failure = connect()) return failure;
        BusError error;
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call_method(bus_, serviceName, objectPath, interfaceName,
                                              "GetServerInformation", error.get(), &reply, "");
        sd_bus_message_unref(reply);
        if (result < 0) return error.failure(result);
        return std::nullopt;
    }

    std::optional<BusFailure> notify(const Notification& notification) {
        if (auto failure = connect()) return failure;
        BusError error;
        sd_bus_message* reply = nullptr;
        // No replaced notification, no icon of its own (the desktop entry names it), no
        // actions, the server's default expiry.
        int result = sd_bus_call_method(
            bus_, serviceName, objectPath, interfaceName, "Notify", error.get(), &reply,
            "susssasa{sv}i", applicationName, uint32_t{0}, "", notification.title.c_str(),
            notification.body.c_str(), 0, 2, "sound-name", "s", "message-new-instant",
            "desktop-entry", "s", "ostrel", int32_t{-1});
        if (result < 0) {
            sd_bus_message_unref(reply);
            return error.failure(result);
        }
        uint32_t id = 0;
        result = sd_bus_message_read(reply, "u", &id);
        sd_bus_message_unref(reply);
        if (result < 0) return BusFailure{false, "unreadable reply to Notify"};
        Logger::debug("Notification " + notification.identifier + " shown as " + std::to_string(id),
                      general);
        return std::nullopt;
    }

    const std::optional<std::string> address_;
    sd_bus* bus_ = nullptr;  // worker thread only

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Request> waiting_;
    bool stopping_ = false;
    std::thread worker_;  // last, so everything it uses exists before it starts
};

// D-Bus addresses escape every byte outside a small safe set as %XX.
std::string escapedAddressValue(const std::string& value) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string escaped;
    for (unsigned char c : value) {
        if (std::isalnum(c) || std::strchr("-_/.\\", c)) {
            escaped += static_cast<char>(c);
        } else {
            escaped += '%';
            escaped += hex[c >> 4];
            escaped += hex[c & 0xF];
        }
    }
    return escaped;
}

}  // namespace

std::optional<std::string> sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address) {
        return address;
    }
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime) {
        const std::filesystem::path socket = std::filesystem::path(runtime) / "bus";
        std::error_code ignored;
        if (std::filesystem::exists(socket, ignored)) {
            return "unix:path=" + escapedAddressValue(socket.string());
        }
    }
    return std::nullopt;
}

std::unique_ptr<Notifier> makeDesktopNotifier(std::optional<std::string> address) {
    return std::make_unique<DesktopNotifier>(std::move(address));
}

}  // namespace ostrel
