#include "upload/hec_batch_encoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "records/alert_event.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

struct FixedClock : Clock {
    Date at;
    Date now() const override { return at; }
    Duration monotonic() const override { return {}; }
};

Date fromSeconds(std::chrono::milliseconds sinceEpoch) {
    return Date(sinceEpoch);
}

TEST(HecBatchEncoder, EventsAreEnvelopesJoinedWithNothingBetween) {
    FixedClock clock;
    const Date when = fromSeconds(1763190252345ms);
    SystemMetrics sample = testing::realisticSample(when, 1);
    sample.timestamp = "2025-11-15T02:04:12.345-05:00";
    sample.hostname = "mac/01";
    const WatchedProcessEvent watched = testing::realisticWatchedEvent(when + 2s, 2);

    const std::vector<HECBatchEntry> entries = {{sample, sample.timestamp, sample.hostname},
                                                {watched, watched.timestamp, watched.hostname}};
    const auto body = HECBatchEncoder("main", "macos:ostrel").encode(entries, clock);
    ASSERT_TRUE(body) << body.error().message();

    // The record inside is byte for byte the line a metric file holds.
    const std::string expected =
        R"({"time":1763190252.345,"host":"mac\/01","source":"ostrel","sourcetype":"macos:ostrel",)"
        R"("index":"main","event":)" +
        *encodeJson(sample) + "}" +
        R"({"time":1763190254.345,"host":"ops-laptop-07.corp.example.com","source":"ostrel",)"
        R"("sourcetype":"macos:ostrel","index":"main","event":)" +
        *encodeJson(watched) + "}";
    EXPECT_EQ(*body, expected);
}

TEST(HecBatchEncoder, TimestampWithoutFractionTakesTheTimeOfUpload) {
    FixedClock clock;
    clock.at = fromSeconds(1700000000500ms);
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.5Z", clock), 1763190252.5);
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.123456789+00:00", clock),
                     1763190252.123456789);
    // An alert line sent as a bare sample carries whole seconds only.
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12Z", clock), 1700000000.5);
    EXPECT_DOUBLE_EQ(parseTimestamp("", clock), 1700000000.5);

    SystemMetrics bare{.timestamp = "2025-11-15T07:04:12Z", .hostname = "mac-01"};
    const std::vector<HECBatchEntry> entries = {{bare, bare.timestamp, bare.hostname}};
    const auto body = HECBatchEncoder("i", "s").encode(entries, clock);
    ASSERT_TRUE(body);
    EXPECT_EQ(body->rfind(R"({"time":1700000000.5,"host":"mac-01",)", 0), 0u) << *body;
}

TEST(HecBatchEncoder, OneRecordThatCannotBeEncodedFailsTheWholeBatch) {
    FixedClock clock;
    std::vector<HECBatchEntry> entries;
    for (int i = 0; i < 1000; ++i) {
        SystemMetrics sample = testing::realisticSample(fromSeconds(i * 2000ms), i);
        if (i == 998) sample.cpu->loadPercent = std::numeric_limits<double>::quiet_NaN();
        entries.push_back({sample, sample.timestamp, sample.hostname});
    }
    const auto body = HECBatchEncoder("main", "macos:ostrel").encode(entries, clock);
    ASSERT_FALSE(body);
    EXPECT_EQ(body.error().kind, JsonError::Kind::nonFiniteNumber);
}

}  // namespace
}  // namespace ostrel
