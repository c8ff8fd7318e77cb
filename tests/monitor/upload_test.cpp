#include "monitor_fixture.h"
#include "support/sample_records.h"
#include "upload/curl_transport.h"

namespace ostrel::testing {
namespace {

// libcurl, with a hook after each post so a test can change the collector's answer mid-cycle.
struct SteeredTransport : HttpTransport {
    tl::expected<HttpResponse, TransportError> perform(const HttpRequest& request) override {
        auto response = curl.perform(request);
        if (request.method == "POST" && afterPost) afterPost(++posts);
        return response;
    }
    CurlTransport curl{false};
    std::function<void(int)> afterPost;
    int posts = 0;
};

class UploadTest : public MonitorFixture {
  protected:
    UploadTest() { hecOptions.transport = transport; }

    std::filesystem::path queueFile(const std::string& name,
                                    const std::vector<std::string>& lines) {
        std::string text;
        for (const auto& line : lines)
            text += line + "\n";
        return dir.write(std::filesystem::path("data") / "upload" / name, text);
    }
    std::string sampleLine(int sequence) const {
        return *encodeJson(realisticSample(dispatcher.clock().now(), sequence));
    }
    // Runs detached work and what it posts back until the cycle has reported.
    void finishCycle() {
        dispatcher.runUntilIdle();
        ASSERT_FALSE(monitor->isUploading.get());
    }

    HecTestServer server;
    std::shared_ptr<SteeredTransport> transport = std::make_shared<SteeredTransport>();
};

TEST_F(UploadTest, ARefusedFileAndAllLaterOnesStayUntilTheNextCycleAndNothingGoesTwice) {
    build();
    monitor->configure(uploadingTo(server));
    const auto first = queueFile("uploading-100.jsonl", {sampleLine(1), sampleLine(2)});
    const auto unreadable = dir / "data" / "upload" / "uploading-150.jsonl";
    std::filesystem::create_directories(unreadable);
    const auto refused =
        queueFile("uploading-200.jsonl",
                  {sampleLine(3), "not json at all",
                   *encodeJson(realisticWatchedEvent(dispatcher.clock().now(), 4)), sampleLine(5)});
    const auto later = queueFile("uploading-300.jsonl",
                                 {*encodeJson(realisticAlertEvent(dispatcher.clock().now()))});
    transport->afterPost = [&](int post) {
        if (post == 1) server.answerAsBusyCollector();
    };

    monitor->uploadNow();
    EXPECT_TRUE(monitor->isUploading.get());
    finishCycle();
    EXPECT_EQ(server.events().size(), 2u);
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_TRUE(std::filesystem::exists(refused));
    EXPECT_TRUE(std::filesystem::exists(later));
    EXPECT_EQ(log.matching("Failed to read file for upload: uploading-150.jsonl").size(), 1u);
    EXPECT_EQ(log.matching("Upload failed for uploading-200.jsonl (3 records) — aborting batch, "
                           "all files retained")
                  .size(),
              1u);
    ASSERT_EQ(audits("upload").size(), 1u);
    EXPECT_TRUE(audits("upload")[0].starts_with(
        "[upload] records_uploaded=2, records_failed=3, files_deleted=1, files_attempted=4, "
        "aborted=true, duration_seconds="));
    EXPECT_EQ(monitor->lastError.get(), "Failed to upload 3 records");
    EXPECT_EQ(monitor->lastUploadCount.get(), 2);

    server.answerAsCollector();
    monitor->uploadNow();
    finishCycle();
    const auto events = server.events();
    ASSERT_EQ(events.size(), 6u) << "the undecodable line is dropped, nothing is sent twice";
    EXPECT_NE(events[3].event.find("\"event_type\":\"watched_process\""), std::string::npos)
        << "a watched-process event goes as itself, not as a sample";
    EXPECT_EQ(events[5].event.find("\"alert\""), std::string::npos)
        << "an alert goes as a bare sample";
    EXPECT_FALSE(std::filesystem::exists(refused));
    EXPECT_FALSE(std::filesystem::exists(later));
    EXPECT_TRUE(std::filesystem::exists(unreadable)) << "it comes up again next cycle";
    EXPECT_FALSE(monitor->lastError.get());
    EXPECT_EQ(monitor->totalUploadedCount.get(), 6);
}

// A file that retrying cannot help goes aside and the pass goes on; a refusal that may pass
// later (a token, a busy collector) still ends the pass. A cycle still running holds the timer's
// next one back, so nothing is listed and sent twice.
TEST_F(UploadTest, RefusedForGoodIsSetAsideAndCyclesNeverOverlap) {
    build();
    MonitorConfig config = uploadingTo(server);
    config.uploadIntervalMinutes = 1;
    config.storageEnabled = false;  // only the files below are in the queue
    monitor->configure(config);
    const auto first = queueFile("uploading-100.jsonl", {sampleLine(1)});
    const std::string refusedLines = sampleLine(2) + "\n" + sampleLine(3) + "\n";
    queueFile("uploading-200.jsonl", {sampleLine(2), sampleLine(3)});
    const auto last = queueFile("uploading-300.jsonl", {sampleLine(4)});
    transport->afterPost = [&](int post) {
        if (post == 1) {
            server.answerWith(400, R"({"text":"Invalid data format","code":6})");
            // The timer fires while this cycle is still out.
            monitor->performUpload();
            EXPECT_TRUE(monitor->isUploading.get());
        }
        if (post == 2) server.answerAsCollector();
    };
    monitor->start();
    dispatcher.advance(61s);
    finishCycle();

    EXPECT_EQ(server.events().size(), 2u);
    EXPECT_EQ(server.exchanges().size(), 3u) << "one cycle, each file once";
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_FALSE(std::filesystem::exists(last));
    EXPECT_EQ(readFile(dir / "data/upload/rejected/uploading-200.jsonl"), refusedLines);
    EXPECT_EQ(log.matching("Collector refused uploading-200.jsonl (2 records) for good, moved to "
                           "upload/rejected/: HTTP 400: {\"text\":\"Invalid data format\"")
                  .size(),
              1u);
    ASSERT_EQ(audits("upload").size(), 1u);
    EXPECT_TRUE(audits("upload")[0].ends_with("records_rejected=2"));
    EXPECT_EQ(monitor->rejectedUploadCount.get(), 2);
    EXPECT_EQ(monitor->lastError.get(), "Collector refused 2 records; kept in upload/rejected");

    transport->afterPost = {};
    const auto blocked = queueFile("uploading-400.jsonl", {sampleLine(5)});
    const auto behind = queueFile("uploading-500.jsonl", {sampleLine(6)});
    server.answerWith(403, R"({"text":"Invalid token","code":4})");
    dispatcher.advance(60s);
    finishCycle();
    EXPECT_TRUE(std::filesystem::exists(blocked));
    EXPECT_TRUE(std::filesystem::exists(behind));
    EXPECT_EQ(monitor->lastError.get(), "Failed to upload 1 records");
}

TEST_F(UploadTest, WithoutAClientOrWithUploadOffNothingIsTakenFromTheQueue) {
    build();
    monitor->uploadNow();
    EXPECT_EQ(monitor->lastError.get(), "Upload not enabled");
    EXPECT_EQ(log.matching("Upload skipped: Upload not enabled").size(), 1u);

    MonitorConfig config = uploadingTo(server);
    config.hecEndpoint = "http://127.0.0.1:1/services/collector/event";
    monitor->configure(config);
    EXPECT_EQ(monitor->lastError.get(), "HEC endpoint must use HTTPS");
    const auto waiting = queueFile("uploading-100.jsonl", {sampleLine(1)});
    monitor->uploadNow();
    EXPECT_EQ(monitor->lastError.get(), "HEC not configured");
    EXPECT_EQ(audits("upload_failed"),
              std::vector<std::string>{"[upload_failed] reason=hec_not_configured"});
    EXPECT_TRUE(std::filesystem::exists(waiting));

    monitor->configure(uploadingTo(server));
    std::filesystem::remove(waiting);
    monitor->performUpload();  // an empty queue starts no cycle
    EXPECT_FALSE(monitor->isUploading.get());
    dispatcher.runUntilIdle();
    EXPECT_FALSE(monitor->lastUploadDate.get());
    EXPECT_TRUE(audits("upload").empty());
}

}  // namespace
}  // namespace ostrel::testing
