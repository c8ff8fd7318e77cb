#include "app/status_report.h"

#include <gtest/gtest.h>

#include "records/formatters.h"

namespace ostrel {
namespace {

// Dates show as their ISO text, so the expected report does not depend on locale or zone.
std::string shown(Date date) {
    return "<" + Formatters::iso8601(date) + ">";
}

TEST(StatusReport, RunningWithEveryEntryPrintsEveryLine) {
    const PreferenceDictionary status{
        {"isRunning", true},
        {"storageEnabled", true},
        {"intervalSeconds", 3},
        {"captureDurationMinutes", 60},
        {"headlessMode", false},
        {"minimalUI", true},
        {"successCount", 120},
        {"errorCount", 2},
        {"storedRecordsCount", 5000},
        {"pendingUploadCount", 7},
        {"storageSizeMB", 12.34},
        {"uploadEnabled", true},
        {"totalUploadedCount", 4000},
        {"stoppedByDurationLimit", false},
        {"timestamp", "2026-11-22T10:05:00Z"},
        {"captureStartTime", "2026-11-22T10:00:00Z"},
        {"captureEndTime", "2026-11-22T11:00:00Z"},
        {"lastCollection", "2026-11-22T10:04:57Z"},
        {"lastUploadDate", "2026-11-22T10:03:00Z"},
        {"lastUploadCount", 40},
    };
    EXPECT_EQ(statusReport(status, shown),
              "Ostrel Status\n"
              "==================\n"
              "Running: Yes\n"
              "Logging: Active\n"
              "Started: <2026-11-22T10:00:00Z>\n"
              "Last collected: <2026-11-22T10:04:57Z>\n"
              "Scheduled Stop: <2026-11-22T11:00:00Z>\n"
              "Collection interval: 3s\n"
              "Duration limit: 60 minutes\n"
              "UI Mode: Minimal (status only)\n"
              "Records collected: 120\n"
              "Errors: 2\n"
              "Stored records: 5000\n"
              "Storage size: 12.3 MB\n"
              "Upload enabled: Yes\n"
              "Total uploaded: 4000\n"
              "Pending upload: 7\n"
              "Last upload: <2026-11-22T10:03:00Z> (40 records)\n");
}

TEST(StatusReport, MissingOrMistypedEntriesTakeTheirDefaults) {
    const PreferenceDictionary status{
        {"intervalSeconds", "fast"},
        {"successCount", true},
        {"captureStartTime", "yesterday"},
    };
    EXPECT_EQ(statusReport(status, shown),
              "Ostrel Status\n"
              "==================\n"
              "Running: No\n"
              "Logging: Disabled\n"
              "Collection interval: 5s\n"
              "Duration limit: Unlimited\n"
              "UI Mode: Full\n"
              "Records collected: 0\n"
              "Errors: 0\n"
              "Stored records: 0\n"
              "Storage size: 0.0 MB\n"
              "Upload enabled: No\n");
}

TEST(StatusReport, StoppedMonitorHidesLastCollectionAndShowsWhyItStopped) {
    const PreferenceDictionary status{
        {"isRunning", false},
        {"storageEnabled", true},
        {"headlessMode", true},
        {"minimalUI", true},
        {"stoppedByDurationLimit", true},
        {"lastCollection", "2026-11-22T10:04:57Z"},
        {"storageSizeMB", int64_t{3}},
        {"uploadEnabled", true},
    };
    const std::string report = statusReport(status, shown);
    EXPECT_NE(report.find("Logging: Stopped\n"), std::string::npos);
    EXPECT_EQ(report.find("Last collected"), std::string::npos);
    EXPECT_NE(report.find("Stopped by duration limit: Yes\n"), std::string::npos);
    EXPECT_NE(report.find("UI Mode: Headless (no UI)\n"), std::string::npos);
    EXPECT_NE(report.find("Storage size: 3.0 MB\n"), std::string::npos);
    EXPECT_TRUE(report.ends_with("Pending upload: 0\nLast upload: Never\n"));
}

}  // namespace
}  // namespace ostrel
