// Interim: messages at warning and above go to standard error until the file log and the
// system-log sink land.
#include "logging/logger.h"

#include <cstdio>
#include <string>

namespace ostrel {
namespace {

void emit(const char* level, std::string_view message) {
    std::fprintf(stderr, "[%s] %.*s\n", level, static_cast<int>(message.size()), message.data());
}

}  // namespace

void Logger::debug(std::string_view, Category) {}
void Logger::info(std::string_view, Category) {}
void Logger::warning(std::string_view message, Category) { emit("WARN", message); }
void Logger::error(std::string_view message, Category) { emit("ERROR", message); }
void Logger::error(std::string_view message, std::string_view description, Category) {
    emit("ERROR", std::string(message) + ": " + std::string(description));
}
void Logger::initializeLogFile() {}
void Logger::flush() { std::fflush(stderr); }

}  // namespace ostrel
