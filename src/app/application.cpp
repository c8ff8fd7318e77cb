#include "app/application.h"

#include <fmt/format.h>

#include <thread>

#include "app/app_delegate.h"
#include "app/single_instance.h"
#include "logging/logger.h"
#include "platform/app_paths.h"
#include "platform/command_channel.h"
#include "platform/notifier.h"
#include "platform/standard_preferences.h"
#include "platform/termination_signals.h"

namespace ostrel {

int runApplication(EventLoop loop) {
    const std::shared_ptr<PreferencesStore> preferences = openStandardPreferences();
    Logger::setPreferences(preferences);

    // Before anything else runs, so that a second launch neither samples nor writes.
    std::unique_ptr<CommandChannel> channel = makeCommandChannel(paths::commandChannelDirectory());
    const auto claim = claimInstanceOrHandOver(
        *channel, *preferences, [](Duration step) { std::this_thread::sleep_for(step); });
    if (!claim) {
        Logger::flush();
        return 0;
    }

    const bool ownLoop = !loop.mainQueue;
    const std::unique_ptr<MainLoopDispatcher> dispatcher =
        makeThreadDispatcher(std::move(loop.mainQueue));
    Dispatcher& threads = *dispatcher;
    {
        AppDelegate delegate({
            .dispatcher = dispatcher.get(),
            .preferences = preferences,
            .notifier = makeDesktopNotifier(sessionBusAddress()),
            .channel = std::move(channel),
            .monitorDependencies =
                [&](AlertManager& alerts) {
                    return MonitorDependencies::forThisMachine(threads, alerts, preferences,
                                                               paths::applicationSupport());
                },
            .makeUserInterface = std::move(loop.makeUserInterface),
            .endMainLoop = ownLoop ? std::function<void()>([&] { dispatcher->quitMainLoop(); })
                                   : std::move(loop.quit),
        });
        // A service stop or Ctrl-C ends the process like the quit command does.
        const auto signals = watchTerminationSignals([&](int signal) {
            Logger::info(fmt::format("Received signal {}, shutting down", signal),
                         Logger::Category::general);
            threads.mainQueue().async([&] { delegate.terminate(); });
        });
        delegate.applicationDidFinishLaunching();
        if (ownLoop) {
            dispatcher->runMainLoop();
        } else {
            loop.run();
        }
        delegate.applicationWillTerminate();
    }
    return 0;
}

}  // namespace ostrel
