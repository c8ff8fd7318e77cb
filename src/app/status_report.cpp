#include "app/status_report.h"

#include <fmt/format.h>

#include "app/dictionary_entries.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

class Report {
  public:
    Report(const PreferenceDictionary& status, const DateDisplay& showDate)
        : status_(status), showDate_(showDate) {}

    void line(std::string_view text) {
        text_ += text;
        text_ += '\n';
    }
    // The date's line, only when the entry holds a date that reads.
    void dateLine(std::string_view label, std::string_view key) {
        if (auto shown = date(key)) line(fmt::format("{}: {}", label, *shown));
    }
    std::optional<std::string> date(std::string_view key) const {
        const auto text = stringEntry(status_, key);
        const auto parsed = text ? Formatters::parseIso8601(*text) : std::nullopt;
        if (!parsed) return std::nullopt;
        return showDate_(*parsed);
    }
    int64_t count(std::string_view key, int64_t fallback = 0) const {
        return integerEntry(status_, key).value_or(fallback);
    }
    bool flag(std::string_view key) const { return boolEntry(status_, key).value_or(false); }
    double number(std::string_view key) const { return numberEntry(status_, key).value_or(0); }
    std::string text() && { return std::move(text_); }

  private:
    const PreferenceDictionary& status_;
    const DateDisplay& showDate_;
    std::string text_;
};

std::string_view yesNo(bool value) {
    return value ? "Yes" : "No";
}

}  // namespace

std::string statusReport(const PreferenceDictionary& status, const DateDisplay& showDate) {
    Report report(status, showDate);
    const bool running = report.flag("isRunning");

    report.line("Ostrel Status");
    report.line("==================");
    report.line(fmt::format("Running: {}", yesNo(running)));
    report.line(!report.flag("storageEnabled") ? "Logging: Disabled"
                : running                      ? "Logging: Active"
                                               : "Logging: Stopped");
    report.dateLine("Started", "captureStartTime");
    if (running) report.dateLine("Last collected", "lastCollection");
    report.dateLine("Scheduled Stop", "captureEndTime");
    if (report.flag("stoppedByDurationLimit")) report.line("Stopped by duration limit: Yes");
    report.line(fmt::format("Collection interval: {}s", report.count("intervalSeconds", 5)));
    const int64_t duration = report.count("captureDurationMinutes");
    report.line(duration == 0 ? std::string("Duration limit: Unlimited")
                              : fmt::format("Duration limit: {} minutes", duration));
    report.line(report.flag("headlessMode") ? "UI Mode: Headless (no UI)"
                : report.flag("minimalUI")  ? "UI Mode: Minimal (status only)"
                                            : "UI Mode: Full");
    report.line(fmt::format("Records collected: {}", report.count("successCount")));
    report.line(fmt::format("Errors: {}", report.count("errorCount")));
    report.line(fmt::format("Stored records: {}", report.count("storedRecordsCount")));
    report.line(fmt::format("Storage size: {:.1f} MB", report.number("storageSizeMB")));

    const bool uploadEnabled = report.flag("uploadEnabled");
    report.line(fmt::format("Upload enabled: {}", yesNo(uploadEnabled)));
    if (uploadEnabled) {
        report.line(fmt::format("Total uploaded: {}", report.count("totalUploadedCount")));
        report.line(fmt::format("Pending upload: {}", report.count("pendingUploadCount")));
        const auto lastUpload = report.date("lastUploadDate");
        report.line(lastUpload ? fmt::format("Last upload: {} ({} records)", *lastUpload,
                                             report.count("lastUploadCount"))
                               : std::string("Last upload: Never"));
    }
    if (const auto managed = stringEntry(status, "managedSettingsError")) {
        report.line(fmt::format("Managed settings: {}; running on defaults", *managed));
    }
    // What went wrong shows here, not only as a growing pending count.
    if (const int64_t rejected = report.count("rejectedUploadCount"); rejected > 0) {
        report.line(fmt::format("Refused by collector: {} records (in upload/rejected)", rejected));
    }
    if (const auto error = stringEntry(status, "lastError")) {
        report.line("Last error: " + *error);
    }
    return std::move(report).text();
}

}  // namespace ostrel
