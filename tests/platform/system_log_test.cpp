#include "platform/system_log.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace ostrel {
namespace {

TEST(SystemLogTest, WithoutLogServicesMessagesGoToStandardError) {
    // A plain file where a socket belongs is no log service either.
    testing::TempDir dir;
    const auto notASocket = dir.write("log", "");
    auto log = makeSystemLog("com.ostrel.agent", {dir / "journal", notASocket});

    ::testing::internal::CaptureStderr();
    log->write(SystemLog::Severity::warning, "storage", "disk low");
    log->write(SystemLog::Severity::fault, "general", "broken");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "ostrel warning [storage] disk low\nostrel fault [general] broken\n");
}

}  // namespace
}  // namespace ostrel
