#include "logging/logger.h"

#include <fmt/format.h>

#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>

#include "logging/log_file_writer.h"
#include "logging/log_queue.h"
#include "platform/app_paths.h"
#include "platform/clock.h"
#include "platform/preferences_store.h"
#include "platform/system_log.h"
#include "records/constants.h"
#include "records/formatters.h"
#include "records/log_level.h"
#include "records/text.h"

namespace ostrel {
namespace {

using Level = Logger::Level;
using Category = Logger::Category;

constexpr std::string_view kLogLevelKey = "logLevel";

// Indexed by the enumerations' values, which run from zero in declaration order.
constexpr std::string_view kFileNames[] = {"DEBUG", "INFO", "WARN", "ERROR", "FAULT"};
constexpr std::string_view kCategoryNames[] = {"general", "collection", "storage", "network", "ui"};

std::string_view fileName(Level level) {
    return kFileNames[static_cast<size_t>(level)];
}
std::string_view rawValue(Category category) {
    return kCategoryNames[static_cast<size_t>(category)];
}

// Marks that make warnings and errors stand out in the file and the system log alike.
std::string_view decoration(Level level) {
    if (level == Level::warning) return "⚠️ ";
    if (level == Level::error) return "❌ ";
    return "";
}

// The ranks line up, so a level converts by value.
static_assert(static_cast<int>(Level::debug) == static_cast<int>(LogLevel::debug));
static_assert(static_cast<int>(Level::error) == static_cast<int>(LogLevel::error));
static_assert(static_cast<int>(Level::fault) == static_cast<int>(SystemLog::Severity::fault));

class SystemLogSink final : public Logger::Sink {
  public:
    explicit SystemLogSink(std::unique_ptr<SystemLog> log) : log_(std::move(log)) {}

    void write(Level level, Category category, std::string_view message) override {
        std::string text(decoration(level));
        text.append(message);
        log_->write(static_cast<SystemLog::Severity>(level), rawValue(category), text);
    }

  private:
    std::unique_ptr<SystemLog> log_;
};

// Chosen once: the machine's log services do not come and go under a running program. Never
// destroyed, so that messages logged during exit still have somewhere to go.
Logger::Sink& defaultSystemLog() {
    static auto* const sink =
        new SystemLogSink(makeSystemLog(std::string(Constants::bundleIdentifier)));
    return *sink;
}

// What a caller reads for each message, copied under a small lock.
struct Settings {
    std::shared_ptr<Logger::Sink> sink;  // none: the default system log
    std::shared_ptr<const PreferencesStore> preferences;
    const Clock* clock = &systemClock();
};

class State {
  public:
    Settings settings() {
        std::lock_guard lock(mutex_);
        return settings_;
    }
    template <class Change>
    void change(Change change) {
        std::lock_guard lock(mutex_);
        change(settings_);
    }

    LogQueue fileQueue{std::string(Constants::bundleIdentifier) + ".logger.file"};
    // Touched on fileQueue only; made at the first use of the file.
    std::unique_ptr<LogFileWriter> writer;

    LogFileWriter& fileWriter() {
        if (!writer) writer = std::make_unique<LogFileWriter>(paths::logFile(), systemClock());
        return *writer;
    }

  private:
    std::mutex mutex_;
    Settings settings_;
};

// Never destroyed, like the default sink: any thread may log until the process is gone.
State& state() {
    static auto* const instance = new State;
    return *instance;
}

// Read afresh on every message, so that a changed or managed level applies at once. Anything
// but a stored 0 to 3 means warning, whatever the settings record says, and so does a managed
// file that cannot be read, which may force the level.
int fileThreshold(const PreferencesStore* preferences) {
    if (preferences && preferences->hasObject(kLogLevelKey) && !preferences->managedLayerError()) {
        if (const auto level = logLevelFromRaw(preferences->integer(kLogLevelKey))) {
            return logLevelRaw(*level);
        }
    }
    return logLevelRaw(LogLevel::warning);
}

void log(Level level, Category category, std::string_view original) {
    // Messages carry text from outside (commands, file contents, process names): escaped, one
    // message stays one line, and no one can forge the next.
    std::string escaped;
    if (hasControlCharacters(original)) escaped = escapedControlCharacters(original);
    const std::string_view message = escaped.empty() ? original : escaped;

    const Settings settings = state().settings();
    (settings.sink ? *settings.sink : defaultSystemLog()).write(level, category, message);
    if (static_cast<int>(level) < fileThreshold(settings.preferences.get())) return;

    std::string line =
        fmt::format("[{}] [{}] [{}] {}{}\n", Formatters::logStamp(settings.clock->now()),
                    fileName(level), rawValue(category), decoration(level), message);
    state().fileQueue.async([line = std::move(line)] { state().fileWriter().append(line); });
}

}  // namespace

void Logger::debug(std::string_view message, Category category) {
    log(Level::debug, category, message);
}

void Logger::info(std::string_view message, Category category) {
    log(Level::info, category, message);
}

void Logger::warning(std::string_view message, Category category) {
    log(Level::warning, category, message);
}

void Logger::error(std::string_view message, Category category) {
    log(Level::error, category, message);
}

void Logger::error(std::string_view message, std::string_view errorDescription, Category category) {
    log(Level::error, category, fmt::format("{}: {}", message, errorDescription));
}

void Logger::fatal(std::string_view message, Category category) {
    log(Level::fault, category, message);
    flush();
    std::abort();
}

void Logger::initializeLogFile() {
    state().fileQueue.async([] { state().fileWriter().createIfMissing(); });
    std::set_terminate([] {
        std::string what = "Terminated without an exception";
        if (const std::exception_ptr current = std::current_exception()) {
            try {
                std::rethrow_exception(current);
            } catch (const std::exception& exception) {
                what = std::string("Uncaught exception: ") + exception.what();
            } catch (...) {
                what = "Uncaught exception of unknown type";
            }
        }
        fatal(what, Category::general);
    });
}

void Logger::flush() {
    state().fileQueue.sync([] {
        if (!state().writer) return;
        state().writer->flushBuffer();
        state().writer->close();
    });
}

void Logger::setPreferences(std::shared_ptr<const PreferencesStore> preferences) {
    state().change([&](Settings& settings) { settings.preferences = std::move(preferences); });
}

std::shared_ptr<Logger::Sink> Logger::setSystemLog(std::shared_ptr<Sink> sink) {
    state().change([&](Settings& settings) { std::swap(sink, settings.sink); });
    return sink;
}

void Logger::setLogFile(std::filesystem::path path, const Clock& clock) {
    state().change([&](Settings& settings) { settings.clock = &clock; });
    state().fileQueue.sync([&] {
        if (state().writer) state().writer->flushBuffer();
        state().writer = std::make_unique<LogFileWriter>(std::move(path), clock);
    });
}

}  // namespace ostrel
