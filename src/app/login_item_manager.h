#pragma once

#include <memory>

#include "platform/login_service.h"
#include "records/published.h"

namespace ostrel {

// Starts the application at login, for the settings' toggle. The choice is never kept in the
// preferences: the state is read back from the desktop at construction and after each change,
// so a refused registration flips the toggle back. Changes made elsewhere while the
// application runs are not noticed. Used on the main queue.
class LoginItemManager {
  public:
    explicit LoginItemManager(std::unique_ptr<LoginService> service);

    Published<bool> isEnabled{false};

    void setEnabled(bool enabled);

  private:
    std::unique_ptr<LoginService> service_;
};

}  // namespace ostrel
