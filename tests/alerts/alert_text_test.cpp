#include "alerts/alert_text.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// The placeholder rules differ by kind on purpose; the notification tests of AlertManager
// cover the plain cases.
TEST(AlertText, PlaceholdersRepeatBlankBodiesStandAndMemoryDefaultsFollowSeverity) {
    MonitorConfig config;
    config.alertCPUNotificationBody = "{value}/{threshold}, still {value}";
    EXPECT_EQ(AlertText::cpu(88.04, config).body, "88.0%/90%, still 88.0%");
    config.alertCPUNotificationBody = "   ";
    EXPECT_EQ(AlertText::cpu(88.04, config).body, "   ") << "blanks are not empty";

    config.alertMemoryPressureLevel = 2;
    EXPECT_EQ(AlertText::memory(4, config).body,
              "macOS is reporting critical memory pressure. Close some applications to free "
              "memory.");
    EXPECT_EQ(AlertText::memory(2, config).body,
              "macOS is reporting elevated memory pressure. Consider closing some applications.");
    config.alertMemoryNotificationBody = "{value} > {threshold} = {level}{value}";
    EXPECT_EQ(AlertText::memory(4, config).body, "critical > warning = criticalcritical");
}

}  // namespace
}  // namespace ostrel
