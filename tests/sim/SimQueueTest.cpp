// The simulated desktop's virtual clock and main queue.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/Activity.h"
#include "settings/Log.h"
#include "sim/SimDesktop.h"

namespace quelto::sim {
namespace {

TEST(SimQueue, RunsDueWorkInDueOrderThenSubmissionOrder) {
    SimDesktop desktop;
    std::vector<std::string> ran;
    desktop.asyncAfter(0.3, [&] { ran.push_back("c"); });
    desktop.asyncAfter(0.1, [&] { ran.push_back("a"); });
    desktop.asyncAfter(0.3, [&] { ran.push_back("d"); });
    desktop.asyncAfter(0.1, [&] { ran.push_back("b"); });
    desktop.advance(0.2);
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b"}));
    desktop.advance(0.1);
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST(SimQueue, MovesTheClockToEachItemsDueTime) {
    SimDesktop desktop(Date{1000.0});
    std::vector<double> seen;
    desktop.asyncAfter(0.5, [&] { seen.push_back(desktop.now().seconds); });
    desktop.asyncAfter(1.25, [&] { seen.push_back(desktop.now().seconds); });
    desktop.advance(2.0);
    EXPECT_EQ(seen, (std::vector<double>{1000.5, 1001.25}));
    EXPECT_EQ(desktop.now().seconds, 1002.0);
}

TEST(SimQueue, WorkScheduledWhileRunningIsHonouredWithinTheWindow) {
    SimDesktop desktop(Date{0.0});
    std::vector<double> seen;
    desktop.asyncAfter(0.5, [&] {
        desktop.asyncAfter(0.5, [&] { seen.push_back(desktop.now().seconds); });
        desktop.asyncAfter(2.0, [&] { seen.push_back(desktop.now().seconds); });
    });
    desktop.advance(1.0);
    EXPECT_EQ(seen, (std::vector<double>{1.0}));
    EXPECT_EQ(desktop.pendingWorkCount(), 1u);
    desktop.advance(1.5);
    EXPECT_EQ(seen, (std::vector<double>{1.0, 2.5}));
}

TEST(SimQueue, ZeroDelayWorkRunsInOrderOnRunDueWithoutMovingTheClock) {
    SimDesktop desktop(Date{10.0});
    std::vector<int> ran;
    desktop.async([&] {
        ran.push_back(1);
        desktop.async([&] { ran.push_back(3); });
    });
    desktop.async([&] { ran.push_back(2); });
    desktop.asyncAfter(0.001, [&] { ran.push_back(99); });
    desktop.runDue();
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(desktop.now().seconds, 10.0);
}

TEST(SimQueue, NegativeDelaysRunAsSoonAsPossible) {
    SimDesktop desktop;
    int ran = 0;
    desktop.asyncAfter(-5, [&] { ++ran; });
    desktop.runDue();
    EXPECT_EQ(ran, 1);
}

TEST(SimQueue, RepeatingTimerTicksUntilCancelled) {
    SimDesktop desktop(Date{0.0});
    std::vector<double> ticks;
    Subscription timer =
        desktop.scheduleRepeating(1.0, [&] { ticks.push_back(desktop.now().seconds); });
    desktop.advance(3.5);
    EXPECT_EQ(ticks, (std::vector<double>{1.0, 2.0, 3.0}));
    timer.cancel();
    desktop.advance(5);
    EXPECT_EQ(ticks.size(), 3u);
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST(SimQueue, RepeatingTimerMayCancelItselfFromItsTick) {
    SimDesktop desktop(Date{0.0});
    int ticks = 0;
    Subscription timer;
    timer = desktop.scheduleRepeating(1.0, [&] {
        if (++ticks == 2) timer.cancel();
    });
    desktop.advance(10);
    EXPECT_EQ(ticks, 2);
}

TEST(SimQueue, SubscriptionOutlivingTheDesktopIsHarmless) {
    Subscription timer;
    {
        SimDesktop desktop;
        timer = desktop.scheduleRepeating(1.0, [] {});
    }
    timer.cancel();
    SUCCEED();
}

TEST(SimClock, LocalTimeUsesTheFixedOffsetAndTruncatesMilliseconds) {
    // 2026-01-01 00:00:00 UTC.
    SimDesktop desktop(Date{1767225600.0}, 2 * 3600);
    LocalTime lt = desktop.localTime(Date{1767225600.0 + 3723.4567});
    EXPECT_EQ(lt.year, 2026);
    EXPECT_EQ(lt.month, 1);
    EXPECT_EQ(lt.day, 1);
    EXPECT_EQ(lt.hour, 3);
    EXPECT_EQ(lt.minute, 2);
    EXPECT_EQ(lt.second, 3);
    EXPECT_EQ(lt.millisecond, 456);

    SimDesktop west(Date{1767225600.0}, -5 * 3600);
    LocalTime before = west.localTime(west.now());
    EXPECT_EQ(before.year, 2025);
    EXPECT_EQ(before.month, 12);
    EXPECT_EQ(before.day, 31);
    EXPECT_EQ(before.hour, 19);
}

TEST(SimClock, MillisecondsOfVirtualTimesAreExact) {
    SimDesktop desktop(Date{1767225600.0});
    desktop.advance(0.123);
    EXPECT_EQ(desktop.localTime(desktop.now()).millisecond, 123);
    desktop.advance(0.877);
    LocalTime lt = desktop.localTime(desktop.now());
    EXPECT_EQ(lt.second, 1);
    EXPECT_EQ(lt.millisecond, 0);
}

TEST(SimDesktopContext, HandsOutItselfAsEveryService) {
    SimDesktop desktop;
    const EngineContext& engine = desktop.context();
    EXPECT_EQ(&engine.accessibility, static_cast<Accessibility*>(&desktop));
    EXPECT_EQ(&engine.workspace, static_cast<Workspace*>(&desktop));
    EXPECT_EQ(&engine.mainQueue, static_cast<MainQueue*>(&desktop));
    EXPECT_EQ(&engine.clock, static_cast<Clock*>(&desktop));
    EXPECT_EQ(&engine.mouse, static_cast<MouseMonitor*>(&desktop));
    EXPECT_EQ(engine.windowServer, static_cast<WindowServer*>(&desktop));
    EXPECT_EQ(engine.loginItem, static_cast<LoginItem*>(&desktop));
    EXPECT_EQ(engine.collation, nullptr);
    EXPECT_EQ(&engine.config, &desktop.config());
    EXPECT_EQ(&engine.journal, &Activity::shared());
    const ShellContext& shell = desktop.shellContext();
    EXPECT_EQ(&shell.clock, static_cast<Clock*>(&desktop));
    EXPECT_EQ(shell.system, static_cast<SystemInfo*>(&desktop));
    EXPECT_EQ(shell.http, static_cast<HttpClient*>(&desktop));
    EXPECT_EQ(shell.alerts, static_cast<Alerts*>(&desktop));
    EXPECT_EQ(shell.pasteboard, static_cast<Pasteboard*>(&desktop));
    EXPECT_EQ(&shell.config, &desktop.config());
}

TEST(SimDesktopContext, TheLogGoesBackToTheSystemClockWhenTheDesktopGoes) {
    std::vector<std::string> lines;
    Log::shared().drain();
    Log::shared().setMirror([&](const std::string& line) { lines.push_back(line); });
    {
        SimDesktop desktop(Date{1767225600.0 + 3 * 3600 + 25 * 60});
        desktop.clockTheLog();
        quelto::log("on the desktop");
        Log::shared().drain();
    }
    quelto::log("after it");
    Log::shared().drain();
    Log::shared().setMirror({});
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "03:25:00.000  on the desktop\n");
    EXPECT_EQ(lines[1].substr(12), "  after it\n");
}

}  // namespace
}  // namespace quelto::sim
