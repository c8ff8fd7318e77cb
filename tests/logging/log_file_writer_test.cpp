#include "logging/log_file_writer.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::readFile;
using testing::TempDir;
using testing::VirtualClock;

constexpr auto kLimit = LogFileWriter::kRotationSize;

std::string gzip(const std::string& arguments) {
    std::string output;
    FILE* pipe = ::popen(("/bin/gzip " + arguments + " 2>/dev/null").c_str(), "r");
    if (!pipe) return output;
    char chunk[65536];
    for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;)
        output.append(chunk, got);
    return ::pclose(pipe) == 0 ? output : "gzip failed";
}

std::string gunzip(const fs::path& path) {
    return gzip("-dc '" + path.string() + "'");
}

class LogFileWriterTest : public ::testing::Test {
  protected:
    void appendLines(int count, std::string_view line = "line\n") {
        for (int i = 0; i < count; ++i)
            writer.append(line);
    }
    fs::path generation(int number) const {
        return log.string() + "." + std::to_string(number) + ".gz";
    }

    TempDir dir;
    VirtualClock clock;
    fs::path log = dir / "ostrel.log";
    LogFileWriter writer{log, clock};
};

std::string lines(int count, std::string_view line = "line\n") {
    std::string text;
    for (int i = 0; i < count; ++i)
        text.append(line);
    return text;
}

TEST_F(LogFileWriterTest, WritesTenLinesAtOnceOrWhenFiveSecondsHavePassed) {
    appendLines(9);
    EXPECT_FALSE(fs::exists(log));
    appendLines(1);
    EXPECT_EQ(readFile(log), lines(10));

    clock.advance(4999ms);
    appendLines(1);
    EXPECT_EQ(readFile(log), lines(10));
    clock.advance(1ms);
    appendLines(1);
    EXPECT_EQ(readFile(log), lines(12));

    clock.advance(6s);
    writer.append("alone\n");
    EXPECT_EQ(readFile(log), lines(12) + "alone\n");
}

TEST_F(LogFileWriterTest, RotatesAtTenMebibytesIntoThreeGenerationsThatGzipAccepts) {
    for (int number = 1; number <= 3; ++number) {
        const auto plain = dir.write("ostrel.log." + std::to_string(number),
                                     "generation " + std::to_string(number) + "\n");
        ASSERT_EQ(gzip("'" + plain.string() + "'"), "");
    }
    dir.write("ostrel.log", "");
    fs::resize_file(log, kLimit - 3);
    writer.append("x\n");
    writer.flushBuffer();
    EXPECT_EQ(fs::file_size(log), kLimit - 1);
    EXPECT_EQ(gunzip(generation(1)), "generation 1\n") << "one byte short: no rotation";

    writer.append("\n");
    writer.flushBuffer();
    EXPECT_FALSE(fs::exists(log));
    EXPECT_FALSE(fs::exists(log.string() + ".1"));
    EXPECT_EQ(gunzip(generation(2)), "generation 1\n");
    EXPECT_EQ(gunzip(generation(3)), "generation 2\n");
    EXPECT_FALSE(fs::exists(generation(4)));
    const std::string newest = gunzip(generation(1));
    EXPECT_EQ(newest.size(), kLimit);
    EXPECT_EQ(newest.substr(kLimit - 3), "x\n\n");
    for (int number = 1; number <= 3; ++number) {
        EXPECT_EQ(gzip("-t '" + generation(number).string() + "'"), "") << number;
    }
    // The header names the file it came from, as gzip itself would.
    EXPECT_NE(gzip("-lN '" + generation(1).string() + "'").find("ostrel.log.1"), std::string::npos);

    // The next batch starts a new file.
    writer.append("fresh\n");
    writer.flushBuffer();
    EXPECT_EQ(readFile(log), "fresh\n");
}

TEST_F(LogFileWriterTest, DeletedFileGoesUnnoticedUntilTheHandleIsReopened) {
    appendLines(10);
    fs::remove(log);
    appendLines(10, "unseen\n");
    EXPECT_FALSE(fs::exists(log));

    writer.close();
    appendLines(10, "anew\n");
    EXPECT_EQ(readFile(log), lines(10, "anew\n"));
}

}  // namespace
}  // namespace ostrel
