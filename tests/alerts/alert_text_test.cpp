#include "alerts/alert_text.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(AlertText, CustomCpuBodyFillsEveryPlaceholderButTheTitleIsShownAsTyped) {
    MonitorConfig config;
    config.alertCPUThreshold = 80;
    config.alertCPUNotificationTitle = "{value} of {threshold}";
    config.alertCPUNotificationBody = "{value}/{threshold}, still {value}";
    const AlertText text = AlertText::cpu(88.04, config);
    EXPECT_EQ(text.title, "{value} of {threshold}");
    EXPECT_EQ(text.body, "88.0%/80%, still 88.0%");

    config.alertCPUNotificationTitle.clear();
    config.alertCPUNotificationBody = "   ";
    EXPECT_EQ(AlertText::cpu(88.04, config).title, "High CPU Usage");
    EXPECT_EQ(AlertText::cpu(88.04, config).body, "   ") << "blanks are not empty";
}

TEST(AlertText, CustomMemoryTextsFillPlaceholdersAndBuiltInOnesFollowSeverity) {
    MonitorConfig config;
    config.alertMemoryPressureLevel = 2;
    AlertText text = AlertText::memory(4, config);
    EXPECT_EQ(text.title, "Critical Memory Pressure");
    EXPECT_EQ(text.body,
              "macOS is reporting critical memory pressure. Close some applications to free "
              "memory.");
    text = AlertText::memory(2, config);
    EXPECT_EQ(text.title, "Warning: Memory Pressure");
    EXPECT_EQ(text.body,
              "macOS is reporting elevated memory pressure. Consider closing some applications.");

    config.alertMemoryNotificationTitle = "{level} ({threshold})";
    config.alertMemoryNotificationBody = "{value} > {threshold} = {level}{value}";
    text = AlertText::memory(4, config);
    EXPECT_EQ(text.title, "critical (warning)");
    EXPECT_EQ(text.body, "critical > warning = criticalcritical");
}

}  // namespace
}  // namespace ostrel
