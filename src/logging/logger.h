#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

namespace ostrel {

class Clock;
class PreferencesStore;

// The program's log: every message goes at once to the system log under its category, and,
// when it passes the threshold stored under the preferences key "logLevel" (warning when
// absent), to the log file in batches written on the logger's own queue.
class Logger {
  public:
    enum class Level { debug, info, warning, error, fault };
    enum class Category { general, collection, storage, network, ui };

    // Receives every message as it is logged, whatever the file threshold: the system log in
    // production, a recorder in tests.
    class Sink {
      public:
        virtual ~Sink() = default;
        virtual void write(Level level, Category category, std::string_view message) = 0;
    };

    static void debug(std::string_view message, Category category);
    static void info(std::string_view message, Category category);
    static void warning(std::string_view message, Category category);
    static void error(std::string_view message, Category category);
    // "message: description", for a failure that comes with an error of its own.
    static void error(std::string_view message, std::string_view errorDescription,
                      Category category);

    // An error the process cannot go on from: logged at fault level, the file log written out
    // at once (it is otherwise lost with the process), then the process aborts.
    [[noreturn]] static void fatal(std::string_view message, Category category);

    // Creates the log file if there is none, and sends the end of an uncaught exception
    // through fatal. Called once at launch.
    static void initializeLogFile();
    // Writes what waits in the buffer and closes the file; the caller waits. Called last at
    // termination. The logger stays usable afterwards.
    static void flush();

    // The store whose "logLevel" sets the file threshold; none means the default, warning.
    static void setPreferences(std::shared_ptr<const PreferencesStore> preferences);
    // Replaces the system-log sink; returns the previous one so a test can put it back.
    static std::shared_ptr<Sink> setSystemLog(std::shared_ptr<Sink> sink);
    // Sends the file log to `path`, stamped and batched by `clock`, after writing what waits
    // for the present file. The default is paths::logFile() on the system clock; tests point it
    // at a folder of their own with a virtual clock, which must outlive its use.
    static void setLogFile(std::filesystem::path path, const Clock& clock);
};

}  // namespace ostrel
