#include <gtest/gtest.h>

#include "app/login_item_manager.h"
#include "platform/linux/autostart_entry.h"
#include "support/log_recorder.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

TEST(LoginItem, RegistrationIsReadBackFromTheAutostartFolderAndRefusalKeepsItOff) {
    testing::TempDir home;
    testing::LogRecorder log;
    const auto folder = home / "autostart";
    LoginItemManager manager(makeLoginService(folder, "/opt/my tools/ostrel"));
    EXPECT_FALSE(manager.isEnabled.get());

    manager.setEnabled(true);
    EXPECT_TRUE(manager.isEnabled.get());
    const std::string entry = testing::readFile(folder / "ostrel.desktop");
    EXPECT_NE(entry.find("\nExec=\"/opt/my tools/ostrel\"\n"), std::string::npos) << entry;
    // A second manager, as at the next launch, finds it from the file alone.
    EXPECT_TRUE(LoginItemManager(makeLoginService(folder, "/x")).isEnabled.get());

    manager.setEnabled(false);
    EXPECT_FALSE(manager.isEnabled.get());
    EXPECT_FALSE(std::filesystem::exists(folder / "ostrel.desktop"));
    EXPECT_EQ(log.matching("Registered as login item").size(), 1u);
    EXPECT_EQ(log.matching("Unregistered from login items").size(), 1u);

    // A file where the folder should be: the registration is refused and the toggle stays off.
    LoginItemManager refused(makeLoginService(home.write("blocked", "x"), "/usr/bin/ostrel"));
    refused.setEnabled(true);
    EXPECT_FALSE(refused.isEnabled.get());
    EXPECT_EQ(log.entries().back().level, Logger::Level::error);
    EXPECT_TRUE(log.entries().back().message.starts_with("Failed to register login item: "));
}

TEST(LoginItem, EntriesThatASessionWouldSkipReadAsOff) {
    EXPECT_TRUE(autostartEntryEnabled(autostartEntry("/usr/bin/ostrel")));
    EXPECT_TRUE(autostartEntryEnabled("# mine\n[Desktop Entry]\r\nExec = ostrel \r\n"));
    EXPECT_FALSE(autostartEntryEnabled("[Desktop Entry]\nExec=ostrel\nHidden=true\n"));
    EXPECT_FALSE(
        autostartEntryEnabled("[Desktop Entry]\nExec=ostrel\nX-GNOME-Autostart-enabled=false\n"));
    EXPECT_FALSE(autostartEntryEnabled("[Desktop Entry]\nExec=\n"));
    // Keys of another group belong to an action, not to the entry.
    EXPECT_FALSE(autostartEntryEnabled("[Desktop Action x]\nExec=ostrel\n"));
    // Characters the Exec key reserves are quoted; a percent sign is not a field code.
    EXPECT_NE(autostartEntry("/opt/a$b\\c/100%").find("Exec=\"/opt/a\\\\$b\\\\\\\\c/100%%\"\n"),
              std::string::npos);
}

}  // namespace
}  // namespace ostrel
