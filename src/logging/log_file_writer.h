#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/clock.h"

namespace ostrel {

// The log file's batches, handle and rotation, run on the logger's queue (one thread at a
// time). Lines are written ten at a time, or sooner once five seconds have passed since the
// last write; there is no timer, so the last lines wait for the next message or for flushBuffer.
// A full file is rotated into three gzip generations beside it. Every file error is swallowed
// here: a log cannot report on itself.
class LogFileWriter {
  public:
    static constexpr size_t kBatchLines = 10;
    static constexpr Duration kFlushInterval = std::chrono::seconds(5);
    static constexpr std::uintmax_t kRotationSize = 10'485'760;
    static constexpr int kGenerations = 3;

    // Makes the file's folder if it can; the clock dates the batches.
    LogFileWriter(std::filesystem::path path, const Clock& clock);
    ~LogFileWriter();
    LogFileWriter(const LogFileWriter&) = delete;
    LogFileWriter& operator=(const LogFileWriter&) = delete;

    // Adds one finished line, ending in a line feed.
    void append(std::string_view line);
    // Creates an empty file when there is none.
    void createIfMissing();
    // Writes what waits, then looks whether the file is due for rotation. A batch that fails
    // is dropped, never retried.
    void flushBuffer();
    // Closes the handle; the next batch opens the file again.
    void close();

  private:
    void write(std::string_view bytes);
    void rotateIfNeeded();
    std::filesystem::path generation(int number) const;

    const std::filesystem::path path_;
    const Clock& clock_;
    std::string pending_;
    size_t pendingLines_ = 0;
    Duration lastFlush_;
    int handle_ = -1;
};

}  // namespace ostrel
