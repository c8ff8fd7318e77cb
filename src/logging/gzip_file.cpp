#include "logging/gzip_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>

#include "logging/write_all.h"

namespace ostrel {
namespace {

// Window bits 15 with 16 added: zlib writes a gzip header and trailer instead of its own.
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kMemoryLevel = 8;
constexpr int kUnixOs = 3;
constexpr size_t kChunk = 64 * 1024;

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closing can report a failed delayed write, so the last close is checked.
    bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

  private:
    int fd_;
};

// Deflates everything readable from `in` into `out`.
bool deflateStream(int in, int out, gz_header& header) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        return false;
    }
    std::array<unsigned char, kChunk> input{};
    std::array<unsigned char, kChunk> output{};
    bool ok = deflateSetHeader(&stream, &header) == Z_OK;
    int flush = Z_NO_FLUSH;
    while (ok && flush != Z_FINISH) {
        const ssize_t got = ::read(in, input.data(), input.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            ok = false;
            break;
        }
        flush = got == 0 ? Z_FINISH : Z_NO_FLUSH;
        stream.next_in = input.data();
        stream.avail_in = static_cast<uInt>(got);
        do {
            stream.next_out = output.data();
            stream.avail_out = static_cast<uInt>(output.size());
            if (deflate(&stream, flush) == Z_STREAM_ERROR) ok = false;
            const size_t produced = output.size() - stream.avail_out;
            const std::string_view bytes(reinterpret_cast<const char*>(output.data()), produced);
            if (ok && !writeAll(out, bytes)) ok = false;
        } while (ok && stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return ok;
}

}  // namespace

bool gzipFile(const std::filesystem::path& source) {
    Descriptor in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (in.get() < 0 || ::fstat(in.get(), &info) != 0) return false;

    const std::filesystem::path target = source.string() + ".gz";
    Descriptor out(::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (out.get() < 0) return false;

    std::string name = source.filename().string();
    gz_header header{};
    header.name = reinterpret_cast<Bytef*>(name.data());
    header.time = static_cast<uLong>(info.st_mtime);
    header.os = kUnixOs;

    const struct timespec times[2] = {info.st_atim, info.st_mtim};
    const bool ok = deflateStream(in.get(), out.get(), header) &&
                    ::fchmod(out.get(), info.st_mode & 07777) == 0 &&
                    ::futimens(out.get(), times) == 0 && out.close();
    if (!ok) {
        ::unlink(target.c_str());
        return false;
    }
    ::unlink(source.c_str());
    return true;
}

}  // namespace ostrel
