#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "logging/logger.h"

namespace ostrel::testing {

// Records every message the logger receives while it is installed; the previous system-log
// sink comes back when the recorder goes.
class LogRecorder {
  public:
    struct Entry {
        Logger::Level level;
        Logger::Category category;
        std::string message;
    };

    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    std::vector<Entry> entries() const;
    // Messages that contain `fragment`.
    std::vector<std::string> matching(const std::string& fragment) const;
    void clear();

  private:
    struct Sink;
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<Logger::Sink> previous_;
};

}  // namespace ostrel::testing
