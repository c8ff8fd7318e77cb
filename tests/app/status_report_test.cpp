#include "app/status_report.h"

#include <gtest/gtest.h>

#include "app/medium_date_time.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

// Dates show as their ISO text, so the report does not depend on locale or zone.
std::string iso(Date date) {
    return Formatters::iso8601(date);
}

TEST(StatusReport, StoppedMonitorHidesLastCollectionAndUploadShowsNever) {
    const PreferenceDictionary status{
        {"storageEnabled", true},
        {"minimalUI", true},
        {"stoppedByDurationLimit", true},
        {"captureStartTime", "2026-11-22T10:00:00Z"},
        {"lastCollection", "2026-11-22T10:04:57Z"},
        {"captureEndTime", "yesterday"},
        {"storageSizeMB", int64_t{3}},
        {"successCount", true},
        {"uploadEnabled", true},
    };
    EXPECT_EQ(statusReport(status, iso),
              "Ostrel Status\n==================\nRunning: No\nLogging: Stopped\n"
              "Started: 2026-11-22T10:00:00Z\nStopped by duration limit: Yes\n"
              "Collection interval: 5s\nDuration limit: Unlimited\n"
              "UI Mode: Minimal (status only)\nRecords collected: 0\nErrors: 0\n"
              "Stored records: 0\nStorage size: 3.0 MB\nUpload enabled: Yes\n"
              "Total uploaded: 0\nPending upload: 0\nLast upload: Never\n");
}

TEST(MediumDateTime, ShowsMonthDayYearAndTheLocaleTime) {
    setenv("LC_ALL", "C", 1);
    setenv("TZ", "America/New_York", 1);
    tzset();
    EXPECT_EQ(mediumDateTime(Date(std::chrono::seconds(1795341600))), "Nov 22, 2026, 05:00:00");
}

}  // namespace
}  // namespace ostrel
