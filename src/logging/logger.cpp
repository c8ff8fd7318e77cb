// Interim: messages go to the installed sink, or at warning and above to standard error, until
// the file log and the system-log sinks land.
#include "logging/logger.h"

#include <cstdio>
#include <mutex>
#include <string>

namespace ostrel {
namespace {

std::mutex sinkMutex;
std::shared_ptr<Logger::Sink> systemLog;

void emit(Logger::Level level, Logger::Category category, std::string_view message) {
    std::shared_ptr<Logger::Sink> sink;
    {
        std::lock_guard lock(sinkMutex);
        sink = systemLog;
    }
    if (sink) {
        sink->write(level, category, message);
    } else if (level >= Logger::Level::warning) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
    }
}

}  // namespace

void Logger::debug(std::string_view m, Category c) {
    emit(Level::debug, c, m);
}
void Logger::info(std::string_view m, Category c) {
    emit(Level::info, c, m);
}
void Logger::warning(std::string_view m, Category c) {
    emit(Level::warning, c, m);
}
void Logger::error(std::string_view m, Category c) {
    emit(Level::error, c, m);
}
void Logger::error(std::string_view m, std::string_view description, Category c) {
    emit(Level::error, c, std::string(m) + ": " + std::string(description));
}
void Logger::initializeLogFile() {}
void Logger::flush() {
    std::fflush(stderr);
}
void Logger::setPreferences(std::shared_ptr<const PreferencesStore>) {}
std::shared_ptr<Logger::Sink> Logger::setSystemLog(std::shared_ptr<Sink> sink) {
    std::lock_guard lock(sinkMutex);
    std::swap(sink, systemLog);
    return sink;
}

}  // namespace ostrel
