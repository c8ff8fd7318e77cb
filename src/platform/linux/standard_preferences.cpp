#include "platform/standard_preferences.h"

#include "platform/app_paths.h"
#include "platform/linux/file_preferences_store.h"

namespace ostrel {

std::shared_ptr<PreferencesStore> openStandardPreferences() {
    static const std::shared_ptr<PreferencesStore> store = std::make_shared<FilePreferencesStore>(
        paths::userPreferencesFile(), paths::managedPreferencesFile());
    return store;
}

}  // namespace ostrel
