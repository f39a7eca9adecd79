// A whole check over the network: the libcurl client against a site served on the loopback
// interface, a real main queue that waits for the reply, alerts recorded and answered.
#if !defined(__APPLE__)

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "LoopbackServer.h"
#include "UpdateTestSupport.h"
#include "platform/linux/BlockingMainQueue.h"
#include "platform/linux/ConsoleWorkspace.h"
#include "platform/linux/CurlHttpClient.h"
#include "platform/linux/FixedSystemInfo.h"
#include "platform/linux/QueueHoldingHttpClient.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

using test::LogCapture;
using test::LoopbackServer;
using test::RecordingAlerts;
using test::RecordingButton;
using Strings = std::vector<std::string>;

// Shortens every request's time-out once told to (so a test of a slow site ends quickly) and
// remembers the time-out the request asked for. Until then requests keep their own time-out:
// a loaded machine may well need more than a fraction of a second for a large reply.
class ShortTimeout final : public HttpClient {
  public:
    explicit ShortTimeout(HttpClient& inner) : inner_(inner) {}
    void limitTo(double seconds) { seconds_ = seconds; }
    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override {
        asked.push_back(request.timeoutSeconds);
        HttpRequest shorter = request;
        shorter.timeoutSeconds = std::min(request.timeoutSeconds, seconds_);
        inner_.send(shorter, std::move(completion));
    }
    std::vector<double> asked;

  private:
    HttpClient& inner_;
    double seconds_ = std::numeric_limits<double>::infinity();
};

class UpdateCheckerNetwork : public ::testing::Test {
  protected:
    void SetUp() override {
        system.set("CFBundleShortVersionString", "1.1");
        system.set("CFBundleVersion", "41");
    }
    void TearDown() override { UpdateChecker::setSite(std::nullopt); }

    void useSite(const std::string& url) {
        UpdateChecker::setSite(UpdateChecker::Site{url, "loopback.test"});
    }

    // Runs a check to its end: the reply, the alert and what the answer does.
    void checkAndWait(UpdateButton* from = nullptr) {
        UpdateChecker::check(context, from);
        ASSERT_TRUE(queue.run(60));
    }

    std::string failureText(const std::string& detail = "") {
        return (detail.empty() ? "" : detail + "\n\n") +
               "Nothing is wrong with Quelto — it just couldn’t reach loopback.test. You can "
               "always see the current version at loopback.test/changelog.";
    }

    LogCapture logged;
    // The queue outlives the client, whose threads end in its destructor.
    BlockingMainQueue queue;
    CurlHttpClient curl;
    ShortTimeout shortTimeout{curl};
    QueueHoldingHttpClient held{shortTimeout, queue};
    RecordingAlerts alerts;
    std::ostringstream console;
    ConsoleWorkspace workspace{console};
    FixedSystemInfo system;
    // What the checks are handed: the real HTTP client, the console's workspace.
    UpdateContext context{.mainQueue = queue,
                          .workspace = workspace,
                          .system = &system,
                          .http = &held,
                          .alerts = &alerts};
};

const char* const kOffer =
    R"({"version":"1.2","build":42,"url":"https://quelto.app/download/Quelto-1.2.dmg",
        "notes":["Faster","Quieter log"]})";

TEST_F(UpdateCheckerNetwork, UpToDateOverTheNetwork) {
    system.set("CFBundleVersion", "42");
    LoopbackServer server(LoopbackServer::always({200, {}, kOffer}));
    useSite(server.baseURL());
    checkAndWait();
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0], (AlertDescription{"Quelto is up to date",
                                          "You have version 1.1 (build 42), which is the latest.",
                                          {}}));
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1, build 42)",
                                          "up to date — the site offers 1.2 build 42"}));
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].target, "/api/latest");
    EXPECT_EQ(requests[0].header("Accept"), "application/json");
    EXPECT_EQ(shortTimeout.asked, std::vector<double>{20});
}

TEST_F(UpdateCheckerNetwork, UpdateOfferedAndDownloadOpened) {
    LoopbackServer server(LoopbackServer::always({200, {}, kOffer}));
    useSite(server.baseURL());
    RecordingButton button([&] { return alerts.shown().size(); });
    checkAndWait(&button);
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(
        shown[0],
        (AlertDescription{"Quelto 1.2 is available",
                          "You have 1.1 (build 41).\n\nWhat’s new:\n  •  Faster\n  •  Quieter log",
                          {"Download", "Not Now"}}));
    EXPECT_EQ(
        logged.messages(),
        (Strings{"checking for updates (this build is 1.1, build 41)",
                 "update available: 1.2 build 42 at https://quelto.app/download/Quelto-1.2.dmg",
                 "opening the download for 1.2"}));
    EXPECT_EQ(workspace.openedURLs(), Strings{"https://quelto.app/download/Quelto-1.2.dmg"});
    ASSERT_EQ(button.changes.size(), 2u);
    EXPECT_FALSE(button.changes[0].enabled);
    EXPECT_TRUE(button.changes[1].enabled);
    EXPECT_EQ(button.changes[1].alertsShownBefore, 0u);
}

TEST_F(UpdateCheckerNetwork, ServerErrorFailsWithoutDetail) {
    LoopbackServer server(LoopbackServer::always({500, {}, kOffer}));
    useSite(server.baseURL());
    alerts.queueAnswer(Alerts::secondButtonReturn);
    checkAndWait();
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(
        shown[0],
        (AlertDescription{"Couldn’t check for updates", failureText(), {"OK", "Open Changelog"}}));
    EXPECT_EQ(logged.messages().back(), "update check failed: no detail");
    EXPECT_EQ(workspace.openedURLs(), Strings{server.baseURL() + "/changelog"});
}

TEST_F(UpdateCheckerNetwork, MalformedBodiesFailWithoutDetail) {
    const Strings bodies = {
        "[1,2,3]",
        R"({"version":"1.2","build":42.5,"url":"https://a.b/d"})",
        R"({"version":"1.2","build":true,"url":"https://a.b/d"})",
        R"({"version":"1.2","build":"42","url":"https://a.b/d"})",
        R"({"version":"1.2","build":42,"url":""})",
        "{\"version\":",
    };
    for (const std::string& body : bodies) {
        LoopbackServer server(LoopbackServer::always({200, {}, body}));
        useSite(server.baseURL());
        checkAndWait();
    }
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), bodies.size());
    for (const AlertDescription& alert : shown) EXPECT_EQ(alert.informativeText, failureText());
    auto messages = logged.messages();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), "update check failed: no detail"),
              static_cast<long>(bodies.size()));
}

TEST_F(UpdateCheckerNetwork, BuildAsWholeFloatIsAccepted) {
    system.set("CFBundleVersion", "42");
    LoopbackServer server(LoopbackServer::always(
        {200, {}, R"({"version":"1.2","build":42.0,"url":"https://quelto.app/d"})"}));
    useSite(server.baseURL());
    checkAndWait();
    ASSERT_EQ(alerts.shown().size(), 1u);
    EXPECT_EQ(alerts.shown()[0].messageText, "Quelto is up to date");
}

TEST_F(UpdateCheckerNetwork, RefusedConnectionShowsCurlsErrorAsTheDetail) {
    useSite("http://127.0.0.1:" + std::to_string(LoopbackServer::closedPort()));
    checkAndWait();
    auto messages = logged.messages();
    ASSERT_EQ(messages.size(), 2u);
    const std::string prefix = "update check failed: ";
    ASSERT_EQ(messages[1].rfind(prefix, 0), 0u);
    std::string detail = messages[1].substr(prefix.size());
    EXPECT_NE(detail, "no detail");
    EXPECT_NE(detail.find("127.0.0.1"), std::string::npos) << detail;
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].informativeText, failureText(detail));
    EXPECT_EQ(shown[0].informativeText.rfind(detail + "\n\n", 0), 0u);
}

TEST_F(UpdateCheckerNetwork, SlowSiteTimesOutIntoTheFailureAlert) {
    LoopbackServer server(LoopbackServer::always({200, {}, kOffer, /*delaySeconds=*/10}));
    useSite(server.baseURL());
    shortTimeout.limitTo(0.5);
    checkAndWait();
    EXPECT_EQ(shortTimeout.asked, std::vector<double>{20});
    auto messages = logged.messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[1].rfind("update check failed: ", 0), 0u);
    EXPECT_NE(messages[1].find("timed out"), std::string::npos) << messages[1];
    ASSERT_EQ(alerts.shown().size(), 1u);
    EXPECT_EQ(alerts.shown()[0].messageText, "Couldn’t check for updates");
}

TEST_F(UpdateCheckerNetwork, ReplyOfExactlyOneMegabyteIsRead) {
    const std::string head =
        R"({"version":"1.2","build":42,"url":"https://quelto.app/d","notes":[")";
    const std::string tail = "\"]}";
    std::string note(HttpClient::maxBodyBytes - head.size() - tail.size(), 'n');
    ASSERT_EQ((head + note + tail).size(), HttpClient::maxBodyBytes);
    LoopbackServer server(LoopbackServer::always({200, {}, head + note + tail}));
    useSite(server.baseURL());
    alerts.queueAnswer(Alerts::secondButtonReturn);
    checkAndWait();
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].informativeText, "You have 1.1 (build 41).\n\nWhat’s new:\n  •  " + note);
}

TEST_F(UpdateCheckerNetwork, TwoMegabyteReplyFailsWithoutDetail) {
    std::string note(2 * HttpClient::maxBodyBytes, 'n');
    LoopbackServer server(LoopbackServer::always(
        {200,
         {},
         R"({"version":"1.2","build":42,"url":"https://quelto.app/d","notes":[")" + note +
             "\"]}"}));
    useSite(server.baseURL());
    checkAndWait();
    EXPECT_EQ(logged.messages().back(), "update check failed: no detail");
    auto shown = alerts.shown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].messageText, "Couldn’t check for updates");
    EXPECT_EQ(shown[0].informativeText, failureText());
}

TEST_F(UpdateCheckerNetwork, GzipBombFailsWithoutDetail) {
    LoopbackServer server(
        LoopbackServer::always({200,
                                {{"Content-Encoding", "gzip"}},
                                LoopbackServer::gzipOfRepeated(' ', 16u * 1024 * 1024)}));
    useSite(server.baseURL());
    checkAndWait();
    EXPECT_EQ(logged.messages().back(), "update check failed: no detail");
    ASSERT_EQ(alerts.shown().size(), 1u);
    EXPECT_EQ(alerts.shown()[0].informativeText, failureText());
}

}  // namespace
}  // namespace quelto

#endif  // !defined(__APPLE__)
