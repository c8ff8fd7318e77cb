#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/notifier.h"

namespace ostrel::testing {

// Answers at once, as configured, and keeps what was posted and how often rights were asked.
struct FakeNotifier : Notifier {
    bool granted = true;
    std::optional<std::string> authorizationError;
    std::optional<std::string> postError;
    int requests = 0;
    std::vector<Notification> posted;

    void requestAuthorization(AuthorizationHandler handler) override {
        ++requests;
        handler(granted, authorizationError);
    }
    void authorizationStatus(StatusHandler handler) override { handler(granted); }
    void post(Notification notification, PostHandler handler) override {
        posted.push_back(std::move(notification));
        handler(postError);
    }
};

}  // namespace ostrel::testing
