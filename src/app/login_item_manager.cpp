#include "app/login_item_manager.h"

#include "logging/logger.h"

namespace ostrel {

LoginItemManager::LoginItemManager(std::unique_ptr<LoginService> service)
    : service_(std::move(service)) {
    isEnabled.set(service_->isEnabled());
}

void LoginItemManager::setEnabled(bool enabled) {
    constexpr auto general = Logger::Category::general;
    const auto outcome = enabled ? service_->registerService() : service_->unregisterService();
    if (outcome) {
        Logger::info(enabled ? "Registered as login item" : "Unregistered from login items",
                     general);
    } else {
        Logger::error(enabled ? "Failed to register login item" : "Failed to unregister login item",
                      outcome.error(), general);
    }
    isEnabled.set(service_->isEnabled());
}

}  // namespace ostrel
