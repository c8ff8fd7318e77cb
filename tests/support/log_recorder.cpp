#include "support/log_recorder.h"

namespace ostrel::testing {

struct LogRecorder::Sink : Logger::Sink {
    void write(Logger::Level level, Logger::Category category, std::string_view message) override {
        std::lock_guard lock(mutex);
        entries.push_back({level, category, std::string(message)});
    }
    mutable std::mutex mutex;
    std::vector<Entry> entries;
};

LogRecorder::LogRecorder() : sink_(std::make_shared<Sink>()) {
    previous_ = Logger::setSystemLog(sink_);
}

LogRecorder::~LogRecorder() {
    Logger::setSystemLog(previous_);
}

std::vector<LogRecorder::Entry> LogRecorder::entries() const {
    std::lock_guard lock(sink_->mutex);
    return sink_->entries;
}

std::vector<std::string> LogRecorder::matching(const std::string& fragment) const {
    std::vector<std::string> found;
    for (const auto& entry : entries()) {
        if (entry.message.find(fragment) != std::string::npos) found.push_back(entry.message);
    }
    return found;
}

void LogRecorder::clear() {
    std::lock_guard lock(sink_->mutex);
    sink_->entries.clear();
}

}  // namespace ostrel::testing
