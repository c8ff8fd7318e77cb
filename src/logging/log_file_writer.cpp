#include "logging/log_file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "logging/gzip_file.h"
#include "logging/write_all.h"
#include "platform/file_system.h"

namespace ostrel {
namespace {

constexpr mode_t kPrivateFile = 0600;

bool fileExists(const std::filesystem::path& path) {
    std::error_code unreadable;  // counts as absent
    return std::filesystem::exists(path, unreadable);
}

// Appending needs the file to be there: a deleted file is made anew only by replaceFile.
int openForAppend(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    // A log made before logs were private becomes private at its next write.
    if (fd >= 0) (void)::fchmod(fd, kPrivateFile);
    return fd;
}

// The file afterwards holds `bytes` alone.
void replaceFile(const std::filesystem::path& path, std::string_view bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kPrivateFile);
    if (fd < 0) return;
    writeAll(fd, bytes);
    ::close(fd);
}

}  // namespace

LogFileWriter::LogFileWriter(std::filesystem::path path, const Clock& clock)
    : path_(std::move(path)), clock_(clock), lastFlush_(clock.monotonic()) {
    // The log names processes, users and hosts: its folder and files are the owner's alone.
    (void)files::makeDirectories(path_.parent_path());
}

LogFileWriter::~LogFileWriter() {
    close();
}

void LogFileWriter::append(std::string_view line) {
    pending_.append(line);
    ++pendingLines_;
    if (pendingLines_ >= kBatchLines || clock_.monotonic() - lastFlush_ >= kFlushInterval) {
        flushBuffer();
    }
}

void LogFileWriter::createIfMissing() {
    if (fileExists(path_)) return;
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile);
    if (fd >= 0) ::close(fd);
}

void LogFileWriter::flushBuffer() {
    if (pendingLines_ == 0) return;
    lastFlush_ = clock_.monotonic();
    write(pending_);
    // Cleared whatever the write did: a failed batch is lost rather than retried.
    pending_.clear();
    pendingLines_ = 0;
}

void LogFileWriter::close() {
    if (handle_ >= 0) ::close(handle_);
    handle_ = -1;
}

void LogFileWriter::write(std::string_view bytes) {
    if (handle_ < 0) {
        if (!fileExists(path_)) {
            // A new file is far from the rotation size, so no check follows.
            replaceFile(path_, bytes);
            handle_ = openForAppend(path_);
            return;
        }
        handle_ = openForAppend(path_);
        if (handle_ < 0) {
            rotateIfNeeded();
            return;
        }
    }
    if (!writeAll(handle_, bytes)) {
        close();
        handle_ = openForAppend(path_);
        if (handle_ >= 0) {
            writeAll(handle_, bytes);
        } else {
            // The newest batch is worth more than a file that can no longer be appended to.
            replaceFile(path_, bytes);
            handle_ = openForAppend(path_);
        }
    }
    rotateIfNeeded();
}

// A file deleted behind the open handle fails the size check, so writes go on into the
// deleted file until the handle is closed; this is accepted rather than checked on each batch.
void LogFileWriter::rotateIfNeeded() {
    struct stat info {};
    if (::stat(path_.c_str(), &info) != 0 ||
        static_cast<std::uintmax_t>(info.st_size) < kRotationSize) {
        return;
    }
    close();
    std::error_code ignored;
    std::filesystem::remove(generation(kGenerations), ignored);
    for (int number = kGenerations - 1; number >= 1; --number) {
        std::filesystem::rename(generation(number), generation(number + 1), ignored);
    }
    const std::filesystem::path first = path_.string() + ".1";
    std::filesystem::rename(path_, first, ignored);
    gzipFile(first);
}

std::filesystem::path LogFileWriter::generation(int number) const {
    return path_.string() + "." + std::to_string(number) + ".gz";
}

}  // namespace ostrel
