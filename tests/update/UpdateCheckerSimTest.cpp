// A whole check on the simulated desktop: canned replies from the site, the alert answered
// as queued, opened URLs recorded, the main queue run by hand.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "UpdateTestSupport.h"
#include "platform/BuildSettings.h"
#include "sim/SimDesktop.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

using test::LogCapture;
using test::RecordingButton;
using Strings = std::vector<std::string>;

const std::string kEndpoint = std::string(build::siteURL) + "/api/latest";
const std::string kDownload = "https://quelto.app/download/Quelto-1.2.dmg";

HttpResult ok(std::string body, std::optional<int> status = 200) {
    HttpResult r;
    r.statusCode = status;
    r.body = std::move(body);
    return r;
}

std::string offer(const std::string& build, const std::string& extra = "") {
    return R"({"version":"1.2","build":)" + build + R"(,"url":")" + kDownload + "\"" + extra + "}";
}

std::string failureText(const std::string& detail = "") {
    std::string host = build::siteHost;
    return (detail.empty() ? "" : detail + "\n\n") +
           "Nothing is wrong with Quelto — it just couldn’t reach " + host +
           ". You can always see the current version at " + host + "/changelog.";
}

// Records each request on its way to the desktop.
class RecordingHttp final : public HttpClient {
  public:
    explicit RecordingHttp(HttpClient& inner) : inner_(inner) {}
    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override {
        sent.push_back(request);
        inner_.send(request, std::move(completion));
    }
    std::vector<HttpRequest> sent;

  private:
    HttpClient& inner_;
};

class UpdateCheckerSim : public ::testing::Test {
  protected:
    void SetUp() override {
        desktop.clockTheLog();
        UpdateChecker::setSite(std::nullopt);
        desktop.setBundleInfo("CFBundleShortVersionString", "1.1");
        desktop.setBundleInfo("CFBundleVersion", "41");
    }
    void TearDown() override { UpdateChecker::setSite(std::nullopt); }

    // One check, its reply delivered and its alert answered.
    void checkAndFinish(UpdateButton* from = nullptr) {
        UpdateChecker::check(context(), from);
        desktop.advance(1);
    }

    // The desktop's services, with the recording client in front of its HTTP.
    UpdateContext context() {
        UpdateContext c = desktop.shellContext().updateContext();
        c.http = &http;
        return c;
    }

    LogCapture logged;
    sim::SimDesktop desktop;
    RecordingHttp http{desktop};
};

TEST_F(UpdateCheckerSim, SameBuildIsUpToDate) {
    desktop.setBundleInfo("CFBundleShortVersionString", "1.2");
    desktop.setBundleInfo("CFBundleVersion", "42");
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(
        desktop.shownAlerts()[0],
        (AlertDescription{
            "Quelto is up to date", "You have version 1.2 (build 42), which is the latest.", {}}));
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.2, build 42)",
                                          "up to date — the site offers 1.2 build 42"}));
    EXPECT_TRUE(desktop.openedURLs().empty());
}

TEST_F(UpdateCheckerSim, OlderBuildIsOfferedTheDownload) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    desktop.queueAlertAnswer(Alerts::firstButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0],
              (AlertDescription{
                  "Quelto 1.2 is available", "You have 1.1 (build 41).", {"Download", "Not Now"}}));
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1, build 41)",
                                          "update available: 1.2 build 42 at " + kDownload,
                                          "opening the download for 1.2"}));
    EXPECT_EQ(desktop.openedURLs(), Strings{kDownload});
}

TEST_F(UpdateCheckerSim, TheAlertRunsFromTheRunLoopNotInsideTheMainQueueBlock) {
    // Left on screen for 30 s: the main queue keeps running meanwhile, and the answer comes
    // back once the user gives it.
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    desktop.holdNextAlert(30);
    bool ranUnderTheAlert = false;
    desktop.asyncAfter(5, [&] { ranUnderTheAlert = desktop.isAlertOnScreen(); });
    UpdateChecker::check(context(), nullptr);
    desktop.advance(40);
    EXPECT_TRUE(ranUnderTheAlert);
    EXPECT_FALSE(desktop.isAlertOnScreen());
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1, build 41)",
                                          "update available: 1.2 build 42 at " + kDownload,
                                          "opening the download for 1.2"}));
}

TEST_F(UpdateCheckerSim, NotNowDoesNothingMore) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1, build 41)",
                                          "update available: 1.2 build 42 at " + kDownload}));
    EXPECT_TRUE(desktop.openedURLs().empty());
}

TEST_F(UpdateCheckerSim, NewerRunningBuildIsUpToDate) {
    desktop.setBundleInfo("CFBundleVersion", "43");
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].messageText, "Quelto is up to date");
    EXPECT_EQ(desktop.shownAlerts()[0].informativeText,
              "You have version 1.1 (build 43), which is the latest.");
}

TEST_F(UpdateCheckerSim, OnlyBuildsAreCompared) {
    desktop.setBundleInfo("CFBundleShortVersionString", "9.9");
    desktop.setBundleInfo("CFBundleVersion", "49");
    desktop.setHttpReply(kEndpoint,
                         ok(R"({"version":"0.1","build":50,"url":")" + kDownload + "\"}"));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].messageText, "Quelto 0.1 is available");
}

TEST_F(UpdateCheckerSim, NotesBecomeTheWhatsNewSection) {
    desktop.setHttpReply(kEndpoint, ok(offer("42", R"(,"notes":["Faster","Quieter log"])")));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].informativeText,
              "You have 1.1 (build 41).\n\nWhat’s new:\n  •  Faster\n  •  Quieter log");
}

TEST_F(UpdateCheckerSim, NotesHoldingANumberStillSucceedWithoutWhatsNew) {
    desktop.setHttpReply(kEndpoint, ok(offer("42", R"(,"notes":["Faster",3])")));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0],
              (AlertDescription{
                  "Quelto 1.2 is available", "You have 1.1 (build 41).", {"Download", "Not Now"}}));
}

TEST_F(UpdateCheckerSim, BuildAsStringFailsWithNoDetail) {
    desktop.setHttpReply(kEndpoint, ok(offer("\"42\"")));
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(
        desktop.shownAlerts()[0],
        (AlertDescription{"Couldn’t check for updates", failureText(), {"OK", "Open Changelog"}}));
    auto messages = logged.messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[1], "update check failed: no detail");
    EXPECT_TRUE(desktop.openedURLs().empty());
}

TEST_F(UpdateCheckerSim, EveryMalformedReplyFailsWithNoDetail) {
    const std::vector<HttpResult> replies = {
        ok("[" + offer("42") + "]"),                          // an array
        ok(offer("42.5")),                                    // not an exact integer
        ok(offer("true")),                                    // a boolean
        ok(R"({"version":"1.2","build":42,"url":""})"),       // empty address
        ok(R"({"version":"1.2","build":42})"),                // no address
        ok("<html>oops</html>"),                              // not JSON
        ok(""),                                               // empty body
        HttpResult{std::nullopt, 200, std::nullopt},          // no body
        HttpResult{std::nullopt, std::nullopt, offer("42")},  // not an HTTP response
    };
    for (const HttpResult& reply : replies) {
        desktop.setHttpReply(kEndpoint, reply);
        checkAndFinish();
    }
    ASSERT_EQ(desktop.shownAlerts().size(), replies.size());
    for (const AlertDescription& alert : desktop.shownAlerts())
        EXPECT_EQ(alert,
                  (AlertDescription{
                      "Couldn’t check for updates", failureText(), {"OK", "Open Changelog"}}));
    auto messages = logged.messages();
    ASSERT_EQ(messages.size(), 2 * replies.size());
    for (std::size_t i = 1; i < messages.size(); i += 2)
        EXPECT_EQ(messages[i], "update check failed: no detail");
}

TEST_F(UpdateCheckerSim, BuildGivenAsWholeFloatIsAccepted) {
    desktop.setBundleInfo("CFBundleVersion", "42");
    desktop.setHttpReply(kEndpoint, ok(offer("42.0")));
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].messageText, "Quelto is up to date");
    EXPECT_EQ(logged.messages().back(), "up to date — the site offers 1.2 build 42");
}

TEST_F(UpdateCheckerSim, NonIntegerRunningBuildCountsAsZero) {
    desktop.setBundleInfo("CFBundleVersion", "1.2.3");
    desktop.setHttpReply(kEndpoint, ok(offer("1")));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0],
              (AlertDescription{
                  "Quelto 1.2 is available", "You have 1.1 (build 0).", {"Download", "Not Now"}}));
    EXPECT_EQ(logged.messages()[0], "checking for updates (this build is 1.1, build 0)");
}

TEST_F(UpdateCheckerSim, MissingBundleValuesShowAsQuestionMarkAndZero) {
    desktop.setBundleInfo("CFBundleShortVersionString", std::nullopt);
    desktop.setBundleInfo("CFBundleVersion", std::nullopt);
    desktop.setHttpReply(kEndpoint, ok(offer("0")));
    checkAndFinish();
    EXPECT_EQ(logged.messages()[0], "checking for updates (this build is ?, build 0)");
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].informativeText,
              "You have version ? (build 0), which is the latest.");
}

TEST_F(UpdateCheckerSim, StatusOtherThan200FailsWithoutDetail) {
    desktop.setHttpReply(kEndpoint, ok(offer("42"), 404));
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].informativeText, failureText());
    EXPECT_EQ(logged.messages().back(), "update check failed: no detail");
}

TEST_F(UpdateCheckerSim, UnreachableSiteShowsTheNetworkError) {
    HttpResult offline;
    offline.transportError = "The Internet connection appears to be offline.";
    desktop.setHttpReply(kEndpoint, offline);
    checkAndFinish();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    const AlertDescription& alert = desktop.shownAlerts()[0];
    EXPECT_EQ(alert.messageText, "Couldn’t check for updates");
    EXPECT_EQ(alert.informativeText.rfind("The Internet connection appears to be offline.\n\n", 0),
              0u);
    EXPECT_EQ(alert.informativeText, failureText("The Internet connection appears to be offline."));
    EXPECT_EQ(logged.messages().back(),
              "update check failed: The Internet connection appears to be offline.");
}

TEST_F(UpdateCheckerSim, OpenChangelogOpensTheSitesChangelog) {
    desktop.setHttpReply(kEndpoint, ok("{}", 500));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();
    EXPECT_EQ(desktop.openedURLs(), Strings{std::string(build::siteURL) + "/changelog"});
    desktop.queueAlertAnswer(Alerts::firstButtonReturn);
    checkAndFinish();
    EXPECT_EQ(desktop.openedURLs().size(), 1u);  // "OK" opens nothing
}

TEST_F(UpdateCheckerSim, RequestAsksForJsonWithTwentySecondsIgnoringTheCache) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    checkAndFinish();
    ASSERT_EQ(http.sent.size(), 1u);
    const HttpRequest& request = http.sent[0];
    EXPECT_EQ(request.url, kEndpoint);
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.headers,
              (std::vector<std::pair<std::string, std::string>>{{"Accept", "application/json"}}));
    EXPECT_EQ(request.timeoutSeconds, 20);
    EXPECT_TRUE(request.ignoreLocalCache);
}

TEST_F(UpdateCheckerSim, NothingIsShownBeforeTheMainQueueRuns) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    RecordingButton button;
    UpdateChecker::check(context(), &button);
    EXPECT_FALSE(button.enabled());
    EXPECT_TRUE(desktop.shownAlerts().empty());
    desktop.advance(1);
    EXPECT_TRUE(button.enabled());
    EXPECT_EQ(desktop.shownAlerts().size(), 1u);
}

TEST_F(UpdateCheckerSim, ButtonIsDisabledDuringTheCheckAndEnabledBeforeAnyAlert) {
    const std::vector<HttpResult> outcomes = {ok(offer("42")), ok(offer("41")), ok("x"),
                                              HttpResult{"offline", std::nullopt, std::nullopt}};
    for (const HttpResult& outcome : outcomes) {
        desktop.setHttpReply(kEndpoint, outcome);
        std::size_t before = desktop.shownAlerts().size();
        RecordingButton button([&] { return desktop.shownAlerts().size() - before; });
        checkAndFinish(&button);
        ASSERT_EQ(button.changes.size(), 2u);
        EXPECT_FALSE(button.changes[0].enabled);
        EXPECT_TRUE(button.changes[1].enabled);
        EXPECT_EQ(button.changes[1].alertsShownBefore, 0u);
        EXPECT_EQ(desktop.shownAlerts().size(), before + 1);
    }
}

TEST_F(UpdateCheckerSim, InvalidSiteAddressStopsSilentlyAndEnablesTheButton) {
    UpdateChecker::setSite(UpdateChecker::Site{"not a site", "nowhere"});
    RecordingButton button;
    checkAndFinish(&button);
    EXPECT_TRUE(button.enabled());
    ASSERT_EQ(button.changes.size(), 2u);
    EXPECT_TRUE(http.sent.empty());
    EXPECT_TRUE(desktop.shownAlerts().empty());
    EXPECT_EQ(logged.messages(), Strings{"checking for updates (this build is 1.1, build 41)"});
}

TEST_F(UpdateCheckerSim, ButtonGoneDuringTheCheckIsLeftAlone) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    auto button = std::make_unique<RecordingButton>();
    UpdateChecker::check(context(), button.get());
    button.reset();  // the settings window closed while the check was in flight
    desktop.advance(1);
    EXPECT_EQ(desktop.shownAlerts().size(), 1u);
}

TEST_F(UpdateCheckerSim, TwoChecksFromTheMenusShowTwoAlerts) {
    desktop.setHttpReply(kEndpoint, ok(offer("42")));
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    UpdateChecker::check(context(), nullptr);
    UpdateChecker::check(context(), nullptr);
    desktop.advance(1);
    EXPECT_EQ(desktop.shownAlerts().size(), 2u);
    EXPECT_EQ(http.sent.size(), 2u);
}

TEST_F(UpdateCheckerSim, OtherSiteIsUsedForTheRequestAndTheFailureText) {
    UpdateChecker::setSite(
        UpdateChecker::Site{"https://updates.example.org", "updates.example.org"});
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    checkAndFinish();  // no canned reply there: the desktop fails the request
    ASSERT_EQ(http.sent.size(), 1u);
    EXPECT_EQ(http.sent[0].url, "https://updates.example.org/api/latest");
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_NE(desktop.shownAlerts()[0].informativeText.find(
                  "it just couldn’t reach updates.example.org. You can always see the current "
                  "version at updates.example.org/changelog."),
              std::string::npos);
    EXPECT_EQ(desktop.openedURLs(), Strings{"https://updates.example.org/changelog"});
}

}  // namespace
}  // namespace quelto
