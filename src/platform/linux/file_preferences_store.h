#pragma once

#include <filesystem>
#include <optional>

#include "platform/clock.h"
#include "platform/linux/preferences_file.h"
#include "platform/preferences_store.h"

namespace ostrel {

// The preferences store on Linux: the user's layer is a JSON file the program writes, the
// managed layer a JSON file an administrator installs, read only; a key is forced exactly when
// the managed file holds it. Every read looks whether either file changed, so writes of other
// processes show at once. Each write replaces the user's file as a whole under an exclusive
// lock, starting from the file's freshest content, so concurrent writers never lose each
// other's keys. Safe to use from any thread.
class FilePreferencesStore final : public PreferencesStore {
  public:
    FilePreferencesStore(std::filesystem::path userFile, std::filesystem::path managedFile,
                         const Clock& clock = systemClock());

    std::optional<PreferenceValue> object(std::string_view key) const override;
    PreferenceWrite set(std::string_view key, PreferenceValue value) override;
    PreferenceWrite remove(std::string_view key) override;
    bool isForced(std::string_view key) const override;
    std::optional<std::string> managedLayerError() const override;
    // Writes are never deferred; this only reads both files again.
    void synchronize() override;

  private:
    // Sets the key, or removes it when `value` is empty.
    PreferenceWrite update(std::string_view key, std::optional<PreferenceValue> value);

    mutable PreferencesFile user_;
    mutable PreferencesFile managed_;
    const Clock& clock_;
};

}  // namespace ostrel
