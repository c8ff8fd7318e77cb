#pragma once

#include <mutex>
#include <string>
#include <tl/expected.hpp>

#include "logging/logger.h"
#include "platform/read_error.h"

namespace ostrel {

// Logs a source's failure once when it starts failing, and again only after it recovered, so
// that a source that is missing on this machine does not fill the log on every sample.
class SourceHealth {
  public:
    explicit SourceHealth(std::string what) : what_(std::move(what)) {}

    template <class T>
    void note(const tl::expected<T, ReadError>& result) {
        if (startsFailing(!result)) {
            Logger::warning(what_ + " unavailable: " + std::string(describe(result.error())),
                            Logger::Category::collection);
        }
    }

    // Whether this reading is the first failure after success, for a caller that logs in
    // words of its own.
    bool startsFailing(bool failed) {
        std::lock_guard guard(lock_);
        const bool started = failed && !failing_;
        failing_ = failed;
        return started;
    }

  private:
    const std::string what_;
    std::mutex lock_;
    bool failing_ = false;
};

}  // namespace ostrel
