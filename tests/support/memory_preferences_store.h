#pragma once

#include <mutex>

#include "platform/preferences_store.h"

namespace ostrel::testing {

// A preferences store held in memory, with a managed layer that tests fill by hand, and writes
// that a test can make fail as on a full disk.
class MemoryPreferencesStore : public PreferencesStore {
  public:
    std::optional<PreferenceValue> object(std::string_view key) const override {
        std::lock_guard lock(mutex_);
        if (auto it = managed_.find(key); it != managed_.end()) return it->second;
        if (auto it = user_.find(key); it != user_.end()) return it->second;
        return std::nullopt;
    }
    PreferenceWrite set(std::string_view key, PreferenceValue value) override {
        std::lock_guard lock(mutex_);
        if (writeFailure) return tl::unexpected(*writeFailure);
        user_.insert_or_assign(std::string(key), std::move(value));
        return {};
    }
    PreferenceWrite remove(std::string_view key) override {
        std::lock_guard lock(mutex_);
        if (writeFailure) return tl::unexpected(*writeFailure);
        if (auto it = user_.find(key); it != user_.end()) user_.erase(it);
        return {};
    }
    bool isForced(std::string_view key) const override {
        std::lock_guard lock(mutex_);
        return managed_.find(key) != managed_.end();
    }
    std::optional<std::string> managedLayerError() const override { return managedError; }
    void synchronize() override {}

    // Set: every write fails with this text.
    std::optional<std::string> writeFailure;
    // Set: the managed layer reads as broken, with this text.
    std::optional<std::string> managedError;

    void force(std::string_view key, PreferenceValue value) {
        std::lock_guard lock(mutex_);
        managed_.insert_or_assign(std::string(key), std::move(value));
    }
    // The user's own layer, without the managed values on top.
    std::optional<PreferenceValue> userValue(std::string_view key) const {
        std::lock_guard lock(mutex_);
        if (auto it = user_.find(key); it != user_.end()) return it->second;
        return std::nullopt;
    }

  private:
    mutable std::mutex mutex_;
    PreferenceDictionary user_;
    PreferenceDictionary managed_;
};

}  // namespace ostrel::testing
