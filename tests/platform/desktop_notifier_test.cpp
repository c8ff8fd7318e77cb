#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <map>
#include <thread>

#include "alerts/alert_manager.h"
#include "platform/notifier.h"
#include "support/log_recorder.h"
#include "support/private_bus.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using testing::LogRecorder;
using testing::PrivateBus;

constexpr auto patience = std::chrono::seconds(10);

struct ReceivedNotification {
    std::string appName;
    uint32_t replacesId = 0;
    std::string summary;
    std::string body;
    std::map<std::string, std::string> stringHints;
    int32_t expireTimeout = 0;
};

// org.freedesktop.Notifications as a desktop serves it, reduced to what is checked here: it
// answers GetServerInformation and Notify and keeps what Notify brought.
class FakeNotificationService {
  public:
    explicit FakeNotificationService(const std::string& address) {
        sd_bus_new(&bus_);
        sd_bus_set_address(bus_, address.c_str());
        sd_bus_set_bus_client(bus_, 1);
        ok_ = sd_bus_start(bus_) >= 0 &&
              sd_bus_add_object(bus_, nullptr, "/org/freedesktop/Notifications", &handle, this) >=
                  0 &&
              sd_bus_request_name(bus_, "org.freedesktop.Notifications", 0) >= 0;
        loop_ = std::thread([this] {
            while (!stop_) {
                if (sd_bus_process(bus_, nullptr) > 0) continue;
                sd_bus_wait(bus_, 50'000);
            }
        });
    }
    ~FakeNotificationService() {
        stop_ = true;
        loop_.join();
        sd_bus_flush_close_unref(bus_);
    }

    bool ok() const { return ok_; }

    std::vector<ReceivedNotification> waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, patience, [&] { return received_.size() >= count; });
        return received_;
    }

  private:
    static int handle(sd_bus_message* m, void* self, sd_bus_error*) {
        auto& service = *static_cast<FakeNotificationService*>(self);
        const char* interface = "org.freedesktop.Notifications";
        if (sd_bus_message_is_method_call(m, interface, "GetServerInformation")) {
            return sd_bus_reply_method_return(m, "ssss", "fake", "tests", "1.0", "1.2");
        }
        if (sd_bus_message_is_method_call(m, interface, "Notify")) {
            ReceivedNotification received = read(m);
            std::lock_guard lock(service.mutex_);
            service.received_.push_back(std::move(received));
            service.arrived_.notify_all();
            return sd_bus_reply_method_return(m, "u", uint32_t(service.received_.size()));
        }
        return 0;
    }

    static ReceivedNotification read(sd_bus_message* m) {
        ReceivedNotification n;
        const char *app = "", *icon = "", *summary = "", *body = "";
        sd_bus_message_read(m, "susss", &app, &n.replacesId, &icon, &summary, &body);
        n.appName = app;
        n.summary = summary;
        n.body = body;
        sd_bus_message_skip(m, "as");
        sd_bus_message_enter_container(m, 'a', "{sv}");
        while (sd_bus_message_enter_container(m, 'e', "sv") > 0) {
            const char* key = "";
            const char* value = nullptr;
            sd_bus_message_read(m, "s", &key);
            if (sd_bus_message_read(m, "v", "s", &value) > 0) {
                n.stringHints[key] = value;
            } else {
                sd_bus_message_skip(m, "v");
            }
            sd_bus_message_exit_container(m);
        }
        sd_bus_message_exit_container(m);
        sd_bus_message_read(m, "i", &n.expireTimeout);
        return n;
    }

    sd_bus* bus_ = nullptr;
    bool ok_ = false;
    std::atomic<bool> stop_ = false;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<ReceivedNotification> received_;
    std::thread loop_;
};

struct Authorization {
    bool granted;
    std::optional<std::string> error;
};

// Waits for the one answer a notifier call gives on the notifier's thread.
template <class Answer, class Call>
Answer await(Call call) {
    std::promise<Answer> answer;
    call([&](auto... values) { answer.set_value(Answer{values...}); });
    auto future = answer.get_future();
    EXPECT_EQ(future.wait_for(patience), std::future_status::ready);
    return future.get();
}

Authorization requestAuthorization(Notifier& notifier) {
    return await<Authorization>([&](auto done) { notifier.requestAuthorization(done); });
}

bool authorizationStatus(Notifier& notifier) {
    return await<bool>([&](auto done) { notifier.authorizationStatus(done); });
}

std::optional<std::string> post(Notifier& notifier, std::string title, std::string body) {
    return await<std::optional<std::string>>([&](auto done) {
        notifier.post({.identifier = "id-1", .title = std::move(title), .body = std::move(body)},
                      done);
    });
}

TEST(DesktopNotifier, ServiceOnTheBusGrantsRightsAndReceivesTitleBodyAndSound) {
    PrivateBus bus;
    ASSERT_TRUE(bus.available()) << "dbus-daemon did not start";
    FakeNotificationService service(bus.address());
    ASSERT_TRUE(service.ok());
    auto notifier = makeDesktopNotifier(bus.address());

    EXPECT_TRUE(requestAuthorization(*notifier).granted);
    EXPECT_TRUE(authorizationStatus(*notifier));
    EXPECT_EQ(post(*notifier, "High CPU Usage", "CPU usage is at 97.0% (threshold: 90%)"),
              std::nullopt);

    const auto received = service.waitFor(1);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].appName, "Ostrel");
    EXPECT_EQ(received[0].replacesId, 0u) << "every alert is a notification of its own";
    EXPECT_EQ(received[0].summary, "High CPU Usage");
    EXPECT_EQ(received[0].body, "CPU usage is at 97.0% (threshold: 90%)");
    EXPECT_EQ(received[0].stringHints.count("sound-name"), 1u);
    EXPECT_EQ(received[0].expireTimeout, -1);
}

TEST(DesktopNotifier, BusWithoutTheServiceReadsAsNotGrantedUntilTheServiceAppears) {
    PrivateBus bus;
    ASSERT_TRUE(bus.available()) << "dbus-daemon did not start";
    LogRecorder log;
    auto notifier = makeDesktopNotifier(bus.address());

    const Authorization answer = requestAuthorization(*notifier);
    EXPECT_FALSE(answer.granted);
    EXPECT_EQ(answer.error, std::nullopt) << "no service is a refusal, not a failure";
    EXPECT_EQ(log.matching("Desktop notifications unavailable").size(), 1u);
    EXPECT_NE(post(*notifier, "t", "b"), std::nullopt);

    FakeNotificationService service(bus.address());
    ASSERT_TRUE(service.ok());
    EXPECT_TRUE(authorizationStatus(*notifier));
    EXPECT_EQ(post(*notifier, "t", "b"), std::nullopt);
    EXPECT_EQ(service.waitFor(1).size(), 1u);
}

TEST(DesktopNotifier, WithoutABusRightsAreRefusedAndAnAlertStandsWithItsFailureLogged) {
    testing::TempDir folder;
    const std::string noSocket = "unix:path=" + (folder / "none").string();
    EXPECT_FALSE(requestAuthorization(*makeDesktopNotifier(std::nullopt)).granted);
    auto notifier = makeDesktopNotifier(noSocket);
    const Authorization answer = requestAuthorization(*notifier);
    EXPECT_FALSE(answer.granted);
    EXPECT_EQ(answer.error, std::nullopt);
    EXPECT_FALSE(authorizationStatus(*notifier));

    LogRecorder log;
    testing::VirtualDispatcher dispatcher;
    AlertManager alerts(dispatcher.clock(), *notifier, dispatcher.mainQueue());
    MonitorConfig config;
    SystemMetrics metrics{.hostname = "h",
                          .cpu = CPUMetrics{.userPercent = 99, .systemPercent = 1}};
    EXPECT_EQ(alerts.checkAndAlert(metrics, config).size(), 1u);

    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (log.matching("Failed to send notification: ").empty() &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(log.matching("Failed to send notification: no session bus at unix:path=").size(), 1u);
}

}  // namespace
}  // namespace ostrel
