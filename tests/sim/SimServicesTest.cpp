// The simulated desktop's smaller services.

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"

namespace quelto::sim {
namespace {

TEST(SimServices, TrustAndItsPrompt) {
    SimDesktop desktop;
    EXPECT_TRUE(desktop.isProcessTrusted());
    EXPECT_TRUE(desktop.isProcessTrustedWithPrompt());
    EXPECT_EQ(desktop.trustPromptCount(), 0);
    desktop.setTrusted(false);
    EXPECT_FALSE(desktop.isProcessTrustedWithPrompt());
    EXPECT_FALSE(desktop.isProcessTrusted());
    EXPECT_EQ(desktop.trustPromptCount(), 1);
}

TEST(SimServices, LoginItem) {
    SimDesktop desktop;
    EXPECT_EQ(desktop.status(), LoginItem::Status::notRegistered);
    EXPECT_EQ(desktop.registerItem(), std::nullopt);
    EXPECT_EQ(desktop.status(), LoginItem::Status::enabled);
    desktop.setLoginItemError("Operation not permitted");
    EXPECT_EQ(desktop.unregisterItem(), "Operation not permitted");
    EXPECT_EQ(desktop.status(), LoginItem::Status::enabled);
    EXPECT_EQ(desktop.unregisterItem(), std::nullopt);
    EXPECT_EQ(desktop.status(), LoginItem::Status::notRegistered);
    desktop.setLoginItemStatus(LoginItem::Status::requiresApproval);
    EXPECT_EQ(desktop.status(), LoginItem::Status::requiresApproval);
}

TEST(SimServices, BundleAndMachine) {
    SimDesktop desktop;
    EXPECT_TRUE(desktop.bundleInfoString("CFBundleShortVersionString").has_value());
    desktop.setBundleInfo("CFBundleVersion", "77");
    EXPECT_EQ(desktop.bundleInfoString("CFBundleVersion"), "77");
    desktop.setBundleInfo("CFBundleVersion", std::nullopt);
    EXPECT_EQ(desktop.bundleInfoString("CFBundleVersion"), std::nullopt);
    desktop.setMachine("x86_64", SystemInfo::OSVersion{13, 6, 1});
    EXPECT_EQ(desktop.machineName(), "x86_64");
    EXPECT_EQ(desktop.operatingSystemVersion().minor, 6);
}

TEST(SimServices, AlertsAnswerFromTheQueueThenTheDefault) {
    SimDesktop desktop;
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    AlertDescription desc{"Title", "Info", {"OK", "Cancel"}};
    EXPECT_EQ(desktop.runModal(desc), Alerts::secondButtonReturn);
    EXPECT_EQ(desktop.runModal(desc), Alerts::firstButtonReturn);
    ASSERT_EQ(desktop.shownAlerts().size(), 2u);
    EXPECT_EQ(desktop.shownAlerts()[0], desc);
}

// Quelto activates itself before it shows an alert, so the alert is not left behind the
// windows of the app in front; it stays the active app once the alert is answered.
TEST(SimServices, AnAlertBringsQueltoToTheFront) {
    SimDesktop desktop;
    desktop.setOwnPid(1);
    desktop.addApp(AppDescription{1, "app.quelto.Quelto", "Quelto", ActivationPolicy::accessory});
    desktop.launchApp(AppDescription{40, "com.apple.TextEdit", "TextEdit"});
    ASSERT_EQ(desktop.frontmostApplication()->processIdentifier(), 40);
    bool answered = false;
    desktop.present(AlertDescription{"Title", "Info", {"OK"}}, [&](long) { answered = true; });
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 40);  // not before it shows
    desktop.runDue();
    EXPECT_TRUE(answered);
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 1);
}

TEST(SimServices, Pasteboard) {
    SimDesktop desktop;
    desktop.setString("hello");
    EXPECT_EQ(desktop.pasteboardText(), "hello");
}

TEST(SimServices, HttpRepliesArriveOnTheMainQueue) {
    SimDesktop desktop;
    HttpResult canned;
    canned.statusCode = 200;
    canned.body = "{}";
    desktop.setHttpReply("https://quelto.app/api/latest", canned);
    std::vector<HttpResult> results;
    HttpRequest latest;
    latest.url = "https://quelto.app/api/latest";
    HttpRequest elsewhere;
    elsewhere.url = "https://elsewhere";
    desktop.send(latest, [&](HttpResult r) { results.push_back(r); });
    desktop.send(elsewhere, [&](HttpResult r) { results.push_back(r); });
    EXPECT_TRUE(results.empty());
    desktop.runDue();
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].statusCode, 200);
    EXPECT_EQ(results[0].body, "{}");
    EXPECT_TRUE(results[1].transportError.has_value());
    EXPECT_EQ(desktop.httpRequests().size(), 2u);
}

TEST(SimServices, HttpBodyPastTheLimitIsNotRead) {
    SimDesktop desktop;
    HttpResult big;
    big.statusCode = 200;
    big.body = std::string(HttpClient::maxBodyBytes + 1, 'x');
    desktop.setHttpReply("https://quelto.app/big", big);
    HttpResult atLimit;
    atLimit.statusCode = 200;
    atLimit.body = std::string(HttpClient::maxBodyBytes, 'x');
    desktop.setHttpReply("https://quelto.app/limit", atLimit);
    std::vector<HttpResult> results;
    for (const char* url : {"https://quelto.app/big", "https://quelto.app/limit"}) {
        HttpRequest request;
        request.url = url;
        desktop.send(request, [&](HttpResult r) { results.push_back(std::move(r)); });
    }
    desktop.runDue();
    ASSERT_EQ(results.size(), 2u);
    EXPECT_TRUE(results[0].bodyTooLarge);
    EXPECT_FALSE(results[0].body);
    EXPECT_FALSE(results[0].transportError);
    EXPECT_FALSE(results[1].bodyTooLarge);
    ASSERT_TRUE(results[1].body);
    EXPECT_EQ(results[1].body->size(), HttpClient::maxBodyBytes);
}

}  // namespace
}  // namespace quelto::sim
