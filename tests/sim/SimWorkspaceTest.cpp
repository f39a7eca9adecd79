// Running applications, launches, terminations and polite quit requests on the simulated
// desktop.

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto::sim {
namespace {

TEST(SimWorkspace, RunningApplicationsInInsertionOrder) {
    SimDesktop desktop;
    desktop.addApp(testing::app(30, "C", "c"));
    desktop.addApp([] {
        auto s = testing::app(10, "A");
        s.policy = ActivationPolicy::accessory;
        return s;
    }());
    desktop.addApp(testing::app(20));
    auto apps = desktop.runningApplications();
    ASSERT_EQ(apps.size(), 3u);
    EXPECT_EQ(apps[0]->processIdentifier(), 30);
    EXPECT_EQ(apps[0]->bundleIdentifier(), "c");
    EXPECT_EQ(apps[1]->activationPolicy(), ActivationPolicy::accessory);
    EXPECT_EQ(apps[2]->localizedName(), std::nullopt);
    EXPECT_EQ(apps[2]->bundleIdentifier(), std::nullopt);
    EXPECT_EQ(desktop.runningApplication(10), apps[1]);
    EXPECT_EQ(desktop.runningApplication(99), nullptr);
}

TEST(SimWorkspace, LaunchAndTerminationNotificationsOnTheMainQueue) {
    SimDesktop desktop;
    std::vector<std::string> events;
    Subscription launches = desktop.observeLaunches([&](const RunningApplicationRef& app) {
        events.push_back("launch " + std::to_string(app->processIdentifier()));
    });
    Subscription terminations = desktop.observeTerminations([&](const RunningApplicationRef& app) {
        events.push_back("quit " + std::to_string(app->processIdentifier()) +
                         (app->isTerminated() ? " terminated" : " running"));
    });
    desktop.launchApp(testing::app(5));
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 5);
    desktop.runDue();
    desktop.terminateApp(5);
    EXPECT_EQ(desktop.runningApplication(5), nullptr);
    EXPECT_EQ(desktop.frontmostApplication(), nullptr);
    desktop.runDue();
    EXPECT_EQ(events, (std::vector<std::string>{"launch 5", "quit 5 terminated"}));

    launches.cancel();
    desktop.launchApp(testing::app(6));
    desktop.runDue();
    EXPECT_EQ(events.size(), 2u);
}

TEST(SimWorkspace, NotificationsWithoutApplication) {
    SimDesktop desktop;
    int nulls = 0;
    Subscription s = desktop.observeTerminations([&](const RunningApplicationRef& app) {
        if (!app) ++nulls;
    });
    desktop.postTerminationNotificationWithoutApplication();
    desktop.runDue();
    EXPECT_EQ(nulls, 1);
}

TEST(SimWorkspace, PoliteQuitIsHonouredAfterTheDelay) {
    SimDesktop desktop(Date{100.0});
    desktop.addApp([] {
        auto s = testing::app(5);
        s.quitDelay = 0.5;
        return s;
    }());
    desktop.addWindow(5, WindowDescription{});
    auto app = desktop.runningApplication(5);
    EXPECT_TRUE(app->terminate());
    ASSERT_EQ(desktop.quitRequests().size(), 1u);
    EXPECT_EQ(desktop.quitRequests()[0].pid, 5);
    EXPECT_EQ(desktop.quitRequests()[0].at, Date{100.0});
    EXPECT_FALSE(desktop.quitRequests()[0].forced);
    desktop.advance(0.4);
    EXPECT_TRUE(desktop.isRunning(5));
    desktop.advance(0.1);
    EXPECT_FALSE(desktop.isRunning(5));
    EXPECT_TRUE(app->isTerminated());
    EXPECT_TRUE(desktop.windowsOf(5).empty());
    EXPECT_FALSE(app->terminate());  // nobody left to ask
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
}

TEST(SimWorkspace, DecliningApplicationKeepsRunning) {
    SimDesktop desktop;
    desktop.addApp([] {
        auto s = testing::app(5);
        s.declinesQuit = true;
        return s;
    }());
    EXPECT_TRUE(desktop.runningApplication(5)->terminate());
    desktop.advance(60);
    EXPECT_TRUE(desktop.isRunning(5));
    desktop.setQuitBehaviour(5, false, 1.0);
    desktop.runningApplication(5)->terminate();
    desktop.advance(1.0);
    EXPECT_FALSE(desktop.isRunning(5));
    EXPECT_EQ(desktop.quitRequests().size(), 2u);
}

TEST(SimWorkspace, ApplicationQuittingWithItsLastWindow) {
    SimDesktop desktop;
    desktop.addApp([] {
        auto s = testing::app(5);
        s.quitsWithLastWindow = true;
        return s;
    }());
    ElementId a = desktop.addWindow(5, WindowDescription{});
    ElementId b = desktop.addWindow(5, WindowDescription{});
    desktop.destroyWindow(a);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isRunning(5));
    desktop.destroyWindow(b);
    desktop.advance(0.09);
    EXPECT_TRUE(desktop.isRunning(5));
    desktop.advance(0.01);
    EXPECT_FALSE(desktop.isRunning(5));
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST(SimWorkspace, ActivateAndFrontmost) {
    SimDesktop desktop;
    desktop.addApp(testing::app(5));
    desktop.addApp(testing::app(6));
    EXPECT_EQ(desktop.frontmostApplication(), nullptr);
    desktop.setFrontmost(6);
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 6);
    EXPECT_TRUE(desktop.runningApplication(5)->activate());
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 5);
    EXPECT_EQ(desktop.activatedApps(), (std::vector<Pid>{5}));
    desktop.setFrontmost(std::nullopt);
    EXPECT_EQ(desktop.frontmostApplication(), nullptr);
}

TEST(SimWorkspace, OwnPid) {
    SimDesktop desktop;
    desktop.setOwnPid(77);
    EXPECT_EQ(desktop.ownProcessIdentifier(), 77);
}

TEST(SimWorkspace, InstalledApplicationsAndFileServices) {
    SimDesktop desktop;
    desktop.installApplication("/Applications/Notes.app", "com.apple.Notes", "Notes");
    EXPECT_EQ(desktop.pathForApplication("com.apple.Notes"), "/Applications/Notes.app");
    EXPECT_EQ(desktop.pathForApplication("com.nope"), std::nullopt);
    EXPECT_EQ(desktop.displayName("/Applications/Notes.app"), "Notes");
    EXPECT_EQ(desktop.displayName("/Applications/Other.app"), "Other.app");
    EXPECT_EQ(desktop.bundleIdentifierAtPath("/Applications/Notes.app"), "com.apple.Notes");
    EXPECT_EQ(desktop.bundleIdentifierAtPath("/nowhere"), std::nullopt);
    EXPECT_TRUE(desktop.openURL("https://example.com"));
    desktop.selectFile("/tmp/x.log");
    EXPECT_EQ(desktop.openedURLs(), (std::vector<std::string>{"https://example.com"}));
    EXPECT_EQ(desktop.revealedFiles(), (std::vector<std::string>{"/tmp/x.log"}));
}

TEST(SimWorkspace, OpenedLinksRevealedFilesAndPromptsAreRecordedInOrder) {
    SimDesktop desktop(Date{1000});
    EXPECT_TRUE(desktop.openURL("https://example.com"));
    EXPECT_FALSE(desktop.openURL(""));
    desktop.advance(2);
    desktop.selectFile("/tmp/x.log");
    EXPECT_TRUE(desktop.isProcessTrustedWithPrompt());  // trusted: the system shows no prompt
    desktop.setTrusted(false);
    EXPECT_FALSE(desktop.isProcessTrustedWithPrompt());
    EXPECT_FALSE(desktop.isProcessTrusted());  // asking without the option shows nothing
    const auto& items = desktop.openedItems();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].kind, OpenedItem::Kind::link);
    EXPECT_EQ(items[0].target, "https://example.com");
    EXPECT_EQ(items[0].at, Date{1000});
    EXPECT_EQ(items[1].kind, OpenedItem::Kind::revealedFile);
    EXPECT_EQ(items[1].target, "/tmp/x.log");
    EXPECT_EQ(items[1].at, Date{1002});
    EXPECT_EQ(items[2].kind, OpenedItem::Kind::accessibilityPrompt);
    EXPECT_EQ(desktop.trustPromptCount(), 1);
}

TEST(SimWorkspace, ActivationPolicyIsLiveOnTheRunningApplication) {
    SimDesktop desktop;
    AppDescription own = testing::app(1, "Quelto");
    own.policy = ActivationPolicy::accessory;
    desktop.addApp(own);
    RunningApplicationRef handle = desktop.runningApplication(1);
    EXPECT_EQ(handle->activationPolicy(), ActivationPolicy::accessory);
    desktop.setActivationPolicy(1, ActivationPolicy::regular);
    EXPECT_EQ(handle->activationPolicy(), ActivationPolicy::regular);
    EXPECT_EQ(desktop.runningApplication(1)->activationPolicy(), ActivationPolicy::regular);
    desktop.setActivationPolicy(99, ActivationPolicy::regular);  // no such process: nothing
}

TEST(SimWorkspace, AppTurningAccessoryWhileFrontmostHandsTheFrontBack) {
    SimDesktop desktop;
    AppDescription own = testing::app(1, "Quelto");
    own.policy = ActivationPolicy::accessory;
    desktop.addApp(own);
    desktop.addApp(testing::app(5, "Mail"));
    desktop.addApp(testing::app(6, "Notes"));
    desktop.setFrontmost(5);
    desktop.setFrontmost(6);
    desktop.setActivationPolicy(1, ActivationPolicy::regular);
    desktop.setFrontmost(1);
    desktop.setActivationPolicy(1, ActivationPolicy::accessory);
    ASSERT_NE(desktop.frontmostApplication(), nullptr);
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 6);

    // The app before it has quit meanwhile: the one before that.
    desktop.setActivationPolicy(1, ActivationPolicy::regular);
    desktop.setFrontmost(1);
    desktop.terminateApp(6);
    desktop.setActivationPolicy(1, ActivationPolicy::accessory);
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 5);

    // Not frontmost: the front stays where it is.
    desktop.setActivationPolicy(1, ActivationPolicy::regular);
    desktop.setActivationPolicy(1, ActivationPolicy::accessory);
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 5);

    // No regular app was in front before it: nothing is.
    SimDesktop alone;
    alone.addApp(own);
    alone.setActivationPolicy(1, ActivationPolicy::regular);
    alone.setFrontmost(1);
    alone.setActivationPolicy(1, ActivationPolicy::accessory);
    EXPECT_EQ(alone.frontmostApplication(), nullptr);
}

TEST(SimWorkspace, RunningApplicationOutlivingTheDesktop) {
    RunningApplicationRef app;
    {
        SimDesktop desktop;
        desktop.addApp(testing::app(5));
        app = desktop.runningApplication(5);
    }
    EXPECT_TRUE(app->isTerminated());
    EXPECT_FALSE(app->terminate());
}

}  // namespace
}  // namespace quelto::sim
