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
        bool startedFailing = false;
        {
            std::lock_guard guard(lock_);
            startedFailing = !result && !failing_;
            failing_ = !result;
        }
        if (startedFailing) {
            Logger::warning(what_ + " unavailable: " + std::string(describe(result.error())),
                            Logger::Category::collection);
        }
    }

  private:
    const std::string what_;
    std::mutex lock_;
    bool failing_ = false;
};

}  // namespace ostrel
