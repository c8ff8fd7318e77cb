#include "upload/hec_batch_encoder.h"

#include <gtest/gtest.h>

#include "support/sample_records.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

TEST(HecBatchEncoder, EventsAreEnvelopesJoinedWithNothingBetween) {
    const testing::VirtualClock clock(Date(1700000000500ms));
    const Date when = Date(1763190252345ms);
    SystemMetrics sample = testing::realisticSample(when, 1);
    sample.timestamp = "2025-11-15T02:04:12.345-05:00";
    sample.hostname = "mac/01";
    const WatchedProcessEvent watched = testing::realisticWatchedEvent(when + 2s, 2);
    // An alert line sent as a bare sample carries whole seconds only: it takes the clock's time.
    const SystemMetrics bare{.timestamp = "2025-11-15T07:04:12Z", .hostname = "mac-01"};

    const std::vector<HECBatchEntry> entries = {{sample, sample.timestamp, sample.hostname},
                                                {watched, watched.timestamp, watched.hostname},
                                                {bare, bare.timestamp, bare.hostname}};
    const auto body = HECBatchEncoder("main", "macos:ostrel").encode(entries, clock);
    ASSERT_TRUE(body) << body.error().message();

    // The record inside is byte for byte the line a metric file holds.
    const std::string fixed = R"("source":"ostrel","sourcetype":"macos:ostrel","index":"main")";
    const std::string expected =
        R"({"time":1763190252.345,"host":"mac\/01",)" + fixed + R"(,"event":)" +
        *encodeJson(sample) + "}" +
        R"({"time":1763190254.345,"host":"ops-laptop-07.corp.example.com",)" + fixed +
        R"(,"event":)" + *encodeJson(watched) + "}" + R"({"time":1700000000.5,"host":"mac-01",)" +
        fixed + R"(,"event":)" + *encodeJson(bare) + "}";
    EXPECT_EQ(*body, expected);
}

TEST(HecBatchEncoder, TimestampWithoutFractionTakesTheTimeOfUpload) {
    const testing::VirtualClock clock(Date(1700000000500ms));
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.5Z", clock), 1763190252.5);
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.123456789+00:00", clock),
                     1763190252.123456789);
    EXPECT_DOUBLE_EQ(parseTimestamp("", clock), 1700000000.5);
}

}  // namespace
}  // namespace ostrel
