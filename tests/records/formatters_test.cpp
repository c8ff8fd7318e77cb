#include "records/formatters.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace ostrel {
namespace {

using namespace std::chrono_literals;

// 2026-11-22T15:15:30.123Z
const Date kMoment = Date(1795360530s + 123ms);

// Sets the process's zone by a POSIX rule, which needs no zone database, while it lives.
struct InZone {
    explicit InZone(const char* rule) {
        setenv("TZ", rule, 1);
        tzset();
    }
    ~InZone() {
        unsetenv("TZ");
        tzset();
    }
};

TEST(Formatters, TheThreeFormsOfTimeAndTheirParsersInEachZone) {
    {
        InZone eastern("EST5");
        EXPECT_EQ(Formatters::localIso8601WithOffset(kMoment), "2026-11-22T10:15:30.123-05:00");
        EXPECT_EQ(Formatters::iso8601WithFractionalSeconds(kMoment), "2026-11-22T15:15:30.123Z");
        EXPECT_EQ(Formatters::iso8601(kMoment), "2026-11-22T15:15:30Z");
        EXPECT_EQ(Formatters::logStamp(kMoment), "2026-11-22T10:15:30.123");
        EXPECT_EQ(Formatters::dailyRotation(kMoment), "2026-11-22");
        EXPECT_EQ(Formatters::hourlyRotation(kMoment), "2026-11-22-10");
        // Milliseconds of dates before the epoch are not negative.
        EXPECT_EQ(Formatters::iso8601WithFractionalSeconds(Date(-1ms)), "1969-12-31T23:59:59.999Z");
        EXPECT_EQ(Formatters::parseIso8601WithFractionalSeconds(
                      Formatters::localIso8601WithOffset(kMoment)),
                  kMoment);
    }
    {
        // Offset zero prints Z, and odd offsets keep their minutes.
        InZone utc("UTC0");
        EXPECT_EQ(Formatters::localIso8601WithOffset(kMoment), "2026-11-22T15:15:30.123Z");
    }
    InZone india("IST-5:30");
    EXPECT_EQ(Formatters::localIso8601WithOffset(kMoment), "2026-11-22T20:45:30.123+05:30");
    EXPECT_EQ(Formatters::hourlyRotation(kMoment), "2026-11-22-20");

    EXPECT_EQ(Formatters::parseIso8601WithFractionalSeconds("2026-11-22T15:15:30.123Z"), kMoment);
    EXPECT_EQ(Formatters::parseIso8601("2026-11-22T15:15:30Z"), Date(1795360530s));
    EXPECT_EQ(Formatters::parseIso8601("2026-11-22T20:45:30+05:30"), Date(1795360530s));
    EXPECT_EQ(Formatters::parseIso8601("1969-12-31T23:59:59Z"), Date(-1s));
    // Each parser insists on its own form.
    EXPECT_FALSE(Formatters::parseIso8601("2026-11-22T15:15:30.123Z"));
    EXPECT_FALSE(Formatters::parseIso8601WithFractionalSeconds("2026-11-22T15:15:30Z"));
    for (const char* bad :
         {"", "2026-11-22", "2026-11-22T15:15:30", "2026-13-01T00:00:00Z", "2026-11-22T25:00:00Z",
          "2026-11-22T15:15:30Zjunk", "2026-11-22 15:15:30Z", "2026-11-22T15:15:30+5"}) {
        EXPECT_FALSE(Formatters::parseIso8601(bad)) << bad;
    }
}

TEST(Rounding, HalfAwayFromZero) {
    EXPECT_EQ(roundedTo(2.25, 1), 2.3);
    EXPECT_EQ(roundedTo(-2.25, 1), -2.3);
    EXPECT_EQ(roundedTo(0.5, 0), 1);
    EXPECT_EQ(roundedTo(-0.5, 0), -1);
    EXPECT_EQ(roundedTo(1.005, 2), 1.0);  // 1.005 is stored just below, so it rounds down
    EXPECT_EQ(roundedTo(12.345678, 2), 12.35);
}

}  // namespace
}  // namespace ostrel
