// Quelto's main thread on the simulated desktop: Accessibility calls that take time, apps that
// hang, per-element and system-wide time-outs, stalls, run-loop modes and nested loops, the
// serial main queue, refused registrations and the scripted user.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"
#include "tests/support/AXNames.h"

namespace quelto::sim {
namespace {

std::vector<std::string>* deliveries = nullptr;

void record(AXObserver&, const AXElement&, const std::string& notification, void*) {
    if (deliveries) deliveries->push_back(notification);
}

class SimMainThread : public ::testing::Test {
  protected:
    SimMainThread() : desktop(Date{1000.0}) {
        deliveries = &seen;
        desktop.addApp(testing::app(42, "A"));
        window = desktop.addWindow(42, testing::window("Doc"));
    }
    ~SimMainThread() override { deliveries = nullptr; }

    // Reads the window's title as the core would, returning the error.
    AXError readTitle() {
        std::optional<AXValue> value;
        return desktop.element(window)->copyAttributeValue("AXTitle", value);
    }
    double now() { return desktop.now().seconds; }

    SimDesktop desktop;
    ElementId window = 0;
    std::vector<std::string> seen;
};

TEST_F(SimMainThread, AnAnsweredReadCostsATenthOfAMillisecond) {
    EXPECT_EQ(readTitle(), axerror::success);
    EXPECT_DOUBLE_EQ(now(), 1000.0001);
    desktop.setReadCost(0.002);
    EXPECT_EQ(readTitle(), axerror::success);
    EXPECT_DOUBLE_EQ(now(), 1000.0021);
}

TEST_F(SimMainThread, AHungAppsReadWaitsForThePlatformDefaultThenCannotComplete) {
    desktop.hangApp(42, std::nullopt);
    EXPECT_TRUE(desktop.isHung(42));
    EXPECT_EQ(readTitle(), axerror::cannotComplete);
    EXPECT_DOUBLE_EQ(now(), 1006.0);
    ASSERT_EQ(desktop.stalls().size(), 0u);  // still one stretch, not yet over
    desktop.runDue();
    ASSERT_EQ(desktop.stalls().size(), 1u);
    EXPECT_DOUBLE_EQ(desktop.stalls()[0].start.seconds, 1000.0);
    EXPECT_DOUBLE_EQ(desktop.stalls()[0].seconds, 6.0);
    desktop.recoverApp(42);
    EXPECT_EQ(readTitle(), axerror::success);
}

TEST_F(SimMainThread, TheApplicationElementsTimeOutIsItsOwnTheSystemWideOneIsEveryoneElses) {
    desktop.hangApp(42, std::nullopt);
    AXElement app = desktop.applicationElement(42);
    ASSERT_EQ(app->setMessagingTimeout(1.0f), axerror::success);
    std::optional<AXValue> value;
    EXPECT_EQ(app->copyAttributeValue("AXWindows", value), axerror::cannotComplete);
    EXPECT_DOUBLE_EQ(now(), 1001.0);
    EXPECT_EQ(readTitle(), axerror::cannotComplete);  // the window: still the 6 s default
    EXPECT_DOUBLE_EQ(now(), 1007.0);

    ASSERT_EQ(desktop.setSystemWideMessagingTimeout(1.0f), axerror::success);
    EXPECT_EQ(desktop.systemWideMessagingTimeout(), std::optional<float>(1.0f));
    EXPECT_DOUBLE_EQ(desktop.effectiveMessagingTimeout(window), 1.0);
    EXPECT_EQ(readTitle(), axerror::cannotComplete);
    EXPECT_DOUBLE_EQ(now(), 1008.0);

    ASSERT_EQ(desktop.setSystemWideMessagingTimeout(0.0f), axerror::success);  // the default
    EXPECT_DOUBLE_EQ(desktop.effectiveMessagingTimeout(window), 6.0);
    EXPECT_EQ(desktop.setSystemWideMessagingTimeout(-1.0f), axerror::illegalArgument);
}

TEST_F(SimMainThread, AnAppThatComesBackWithinTheTimeOutAnswersThen) {
    desktop.hangApp(42, 2.0);
    EXPECT_EQ(readTitle(), axerror::success);
    EXPECT_DOUBLE_EQ(now(), 1002.0001);
    EXPECT_FALSE(desktop.isHung(42));
}

TEST_F(SimMainThread, DelayedWorkRunsLateAfterABlockedThread) {
    desktop.hangApp(42, std::nullopt);
    std::vector<double> ran;
    desktop.async([&] { readTitle(); });
    desktop.asyncAfter(0.5, [&] { ran.push_back(now()); });
    desktop.advance(1.0);
    EXPECT_EQ(ran, std::vector<double>{1006.0});
    EXPECT_DOUBLE_EQ(now(), 1006.0);
}

TEST_F(SimMainThread, OtherAppsGoOnWhileTheMainThreadIsBlocked) {
    desktop.addApp(testing::app(43, "B"));
    ElementId other = desktop.addWindow(43, testing::window("Other", Rect{{900, 100}, {300, 300}}));
    desktop.hangApp(42, std::nullopt);
    auto button = desktop.closeButtonFrame(other);
    ASSERT_TRUE(button);
    bool goneDuringTheStall = false;
    desktop.async([&] {
        desktop.click(Point{button->origin.x + 2, button->origin.y + 2});  // closes in 0.05 s
        readTitle();
        goneDuringTheStall = !desktop.isElementAlive(other);
    });
    desktop.runDue();
    EXPECT_TRUE(goneDuringTheStall);
}

TEST_F(SimMainThread, MainQueueWorkRunsWhileAMenuIsTrackedDefaultModeTimersWait) {
    std::vector<std::string> ran;
    desktop.async([&] { ran.push_back("queued"); });
    Subscription timer = desktop.scheduleRepeating(1.0, [&] { ran.push_back("tick"); });
    desktop.trackMenu(5.0);
    EXPECT_EQ(ran, std::vector<std::string>{"queued"});
    EXPECT_EQ(desktop.currentRunLoopMode(), RunLoopMode::defaultMode);
    timer.cancel();
}

TEST_F(SimMainThread, TimersInTheDefaultModeDoNotFireInANestedLoop) {
    int ticks = 0;
    Subscription timer = desktop.scheduleRepeating(1.0, [&] { ++ticks; });
    desktop.runNestedLoop(RunLoopMode::modalPanel, 3.5);
    EXPECT_EQ(ticks, 0);
    desktop.runDue();
    EXPECT_GE(ticks, 1);
}

TEST_F(SimMainThread, TheMainQueueIsSerialAModalLoopInsideABlockDrainsNothing) {
    std::vector<std::string> ran;
    desktop.holdNextAlert(30);
    desktop.async([&] {
        desktop.asyncAfter(1.0, [&] { ran.push_back("later block at " + std::to_string(now())); });
        EXPECT_TRUE(desktop.isRunningMainQueueBlock());
        desktop.runModal(AlertDescription{"Title", "Text", {}});  // the alert's nested loop: 30 s
        ran.push_back("alert answered at " + std::to_string(now()));
    });
    desktop.advance(40);
    EXPECT_EQ(ran, (std::vector<std::string>{"alert answered at 1030.000000",
                                             "later block at 1030.000000"}));
}

TEST_F(SimMainThread, APresentedAlertStartsFromTheRunLoopSoTheMainQueueDrainsUnderIt) {
    std::vector<std::string> ran;
    desktop.holdNextAlert(30);
    desktop.async([&] {
        desktop.asyncAfter(1.0, [&] { ran.push_back("later block at " + std::to_string(now())); });
        desktop.present(AlertDescription{"Title", "Text", {"OK", "Cancel"}}, [&](long answer) {
            ran.push_back("answered " + std::to_string(answer) + " at " + std::to_string(now()));
        });
        ran.push_back("block returned");
    });
    desktop.queueAlertAnswer(Alerts::secondButtonReturn);
    desktop.advance(40);
    EXPECT_EQ(ran, (std::vector<std::string>{"block returned", "later block at 1001.000000",
                                             "answered 1001 at 1030.000000"}));
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
}

TEST_F(SimMainThread, APresentedAlertWaitsForAnOpenMenuToClose) {
    bool shown = false;
    desktop.present(AlertDescription{"Title", "Text", {}}, [&](long) { shown = true; });
    desktop.trackMenu(2.0);  // the alert starts in the default mode only
    EXPECT_FALSE(shown);
    desktop.runDue();
    EXPECT_TRUE(shown);
}

TEST_F(SimMainThread, ObserverSourcesInTheCommonModesFireUnderAnAlertAndAMenu) {
    AXError error;
    auto observer = desktop.createObserver(42, &record, error);
    observer->addRunLoopSourceToMainRunLoop();
    observer->addNotification(desktop.element(window), axElementDestroyed, nullptr);
    desktop.closeWindowWithoutClick(window);
    desktop.runNestedLoop(RunLoopMode::modalPanel, 1.0);
    EXPECT_EQ(seen, std::vector<std::string>{axElementDestroyed});
}

TEST_F(SimMainThread, RefusedRegistrationsCountDownAndAHungAppTimesThemOut) {
    AXError error;
    auto observer = desktop.createObserver(42, &record, error);
    AXElement app = desktop.applicationElement(42);
    desktop.injectError(desktop.applicationElementId(42), "register", axerror::cannotComplete, 2);
    EXPECT_EQ(observer->addNotification(app, axWindowCreated, nullptr), axerror::cannotComplete);
    EXPECT_EQ(observer->addNotification(app, axWindowCreated, nullptr), axerror::cannotComplete);
    EXPECT_EQ(observer->addNotification(app, axWindowCreated, nullptr), axerror::success);
    EXPECT_EQ(desktop.registrationCount(desktop.applicationElementId(42), axWindowCreated), 1u);

    desktop.hangApp(42, std::nullopt);
    double before = now();
    EXPECT_EQ(observer->addNotification(app, axFocusedWindowChanged, nullptr),
              axerror::cannotComplete);
    EXPECT_DOUBLE_EQ(now() - before, 6.0);
}

// A user who acts at given moments.
class Script final : public UserScript {
  public:
    std::vector<std::pair<double, std::function<void()>>> actions;
    std::size_t next = 0;
    std::optional<Date> nextActionTime() override {
        if (next >= actions.size()) return std::nullopt;
        return Date{actions[next].first};
    }
    void runNextAction() override { actions[next++].second(); }
};

TEST_F(SimMainThread, TheUsersActionsAreTakenInsideNestedLoopsInDueOrder) {
    Script script;
    std::vector<std::string> ran;
    desktop.asyncAfter(2.5, [&] { ran.push_back("queued 2.5"); });
    script.actions = {
        {1001.0,
         [&] {
             desktop.trackMenu(5.0);
             ran.push_back("menu closed");
         }},
        {1002.0,
         [&] {
             ran.push_back(desktop.currentRunLoopMode() == RunLoopMode::eventTracking
                               ? "action in the menu"
                               : "action outside");
         }},
        {1010.0, [&] { ran.push_back("last action"); }},
    };
    desktop.runScript(script);
    EXPECT_EQ(ran, (std::vector<std::string>{"action in the menu", "queued 2.5", "menu closed",
                                             "last action"}));
    EXPECT_DOUBLE_EQ(now(), 1010.0);
}

}  // namespace
}  // namespace quelto::sim
