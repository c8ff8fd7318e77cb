#include "collectors/metrics_aggregator.h"
#include "monitor/performance_monitor.h"
#include "platform/collection_sources.h"
#include "platform/process_source.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

// Lets the collector and the monitor's network wait read one power source.
class SharedPowerSource final : public PowerSource {
  public:
    explicit SharedPowerSource(std::shared_ptr<PowerSource> source) : source_(std::move(source)) {}
    std::vector<PowerSourceDescription> powerSources() override { return source_->powerSources(); }
    tl::expected<std::vector<SleepAssertion>, ReadError> sleepAssertions() override {
        return source_->sleepAssertions();
    }

  private:
    std::shared_ptr<PowerSource> source_;
};

}  // namespace

HECClientFactory MonitorDependencies::hecClientFactory(const Clock& clock,
                                                       HECClientOptions options) {
    options.clock = &clock;
    return [options](const MonitorConfig& config)
               -> tl::expected<std::shared_ptr<SplunkHECClient>, HECError> {
        auto client =
            SplunkHECClient::create(config.hecEndpoint, config.hecToken, config.splunkIndex,
                                    config.sourcetype, config.verifySSL, options);
        if (!client) return tl::unexpected(client.error());
        return std::shared_ptr<SplunkHECClient>(std::move(*client));
    };
}

MonitorDependencies MonitorDependencies::forThisMachine(
    Dispatcher& dispatcher, AlertManager& alertManager,
    std::shared_ptr<PreferencesStore> preferences, std::filesystem::path storageDirectory) {
    const Clock& clock = dispatcher.clock();
    CollectionSources sources = makePlatformCollectionSources(clock);
    std::shared_ptr<PowerSource> power = std::move(sources.power);
    sources.power = std::make_unique<SharedPowerSource>(power);
    return {
        .dispatcher = &dispatcher,
        .alertManager = &alertManager,
        .preferences = std::move(preferences),
        .collector = std::make_shared<MetricsAggregator>(
            std::move(sources), makePlatformProcessSources(clock), dispatcher),
        .storage =
            std::make_shared<MetricsStorage>(MonitorConfig{}, std::move(storageDirectory), clock),
        .powerSources = std::move(power),
    };
}

}  // namespace ostrel
