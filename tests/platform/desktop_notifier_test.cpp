#include <fmt/format.h>
#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <thread>

#include "platform/notifier.h"
#include "support/log_recorder.h"
#include "support/private_bus.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

using testing::LogRecorder;

constexpr auto patience = std::chrono::seconds(10);

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

    std::vector<std::string> waitFor(std::size_t count) {
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
        if (!sd_bus_message_is_method_call(m, interface, "Notify")) return 0;
        std::string received = read(m);
        std::lock_guard lock(service.mutex_);
        service.received_.push_back(std::move(received));
        service.arrived_.notify_all();
        return sd_bus_reply_method_return(m, "u", uint32_t(service.received_.size()));
    }

    // A Notify call as "application|replaced id|summary|body|hint keys|expiry".
    static std::string read(sd_bus_message* m) {
        const char *app = "", *icon = "", *summary = "", *body = "", *key = "";
        uint32_t replaces = 0;
        int32_t expiry = 0;
        sd_bus_message_read(m, "susss", &app, &replaces, &icon, &summary, &body);
        std::string hints;
        sd_bus_message_skip(m, "as");
        sd_bus_message_enter_container(m, 'a', "{sv}");
        while (sd_bus_message_enter_container(m, 'e', "sv") > 0) {
            sd_bus_message_read(m, "s", &key);
            hints += std::string(key) + ",";
            sd_bus_message_skip(m, "v");
            sd_bus_message_exit_container(m);
        }
        sd_bus_message_exit_container(m);
        sd_bus_message_read(m, "i", &expiry);
        return fmt::format("{}|{}|{}|{}|{}|{}", app, replaces, summary, body, hints, expiry);
    }

    sd_bus* bus_ = nullptr;
    bool ok_ = false;
    std::atomic<bool> stop_ = false;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<std::string> received_;
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

TEST(DesktopNotifier, RightsFollowTheServiceOnTheBusWhichReceivesTitleBodyAndSound) {
    testing::PrivateBus bus;
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
    EXPECT_TRUE(requestAuthorization(*notifier).granted);
    EXPECT_TRUE(authorizationStatus(*notifier));
    EXPECT_EQ(post(*notifier, "High CPU Usage", "CPU usage is at 97.0% (threshold: 90%)"),
              std::nullopt);

    // Every alert is a notification of its own (replacing none), with a sound, kept for the
    // server's default time.
    EXPECT_EQ(service.waitFor(1),
              std::vector<std::string>{"Ostrel|0|High CPU Usage|CPU usage is at 97.0% (threshold: "
                                       "90%)|sound-name,desktop-entry,|-1"});
}

TEST(DesktopNotifier, WithoutABusRightsAreRefusedAndPostsFailWithAReason) {
    EXPECT_FALSE(requestAuthorization(*makeDesktopNotifier(std::nullopt)).granted);

    testing::TempDir folder;
    const std::string noSocket = "unix:path=" + (folder / "none").string();
    auto notifier = makeDesktopNotifier(noSocket);
    const Authorization answer = requestAuthorization(*notifier);
    EXPECT_FALSE(answer.granted);
    EXPECT_EQ(answer.error, std::nullopt);
    EXPECT_FALSE(authorizationStatus(*notifier));
    EXPECT_EQ(
        post(*notifier, "t", "b").value_or("").rfind("no session bus at " + noSocket + ": ", 0),
        0u);
}

}  // namespace
}  // namespace ostrel
