// The click monitor: one callback per left mouse-down, nothing else, and nothing at all once
// its object is gone.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "engine/ClickMonitor.h"
#include "sim/SimDesktop.h"

namespace quelto {
namespace {

// A platform mouse monitor that records every call made to it.
class RecordingMouse final : public MouseMonitor {
  public:
    MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) override {
        ++installs;
        MonitorToken token = next++;
        handlers[token] = std::move(handler);
        return token;
    }
    MonitorToken addGlobalLeftMouseUpMonitor(Handler handler) override {
        ++upInstalls;
        MonitorToken token = next++;
        upHandlers[token] = std::move(handler);
        return token;
    }
    void removeMonitor(MonitorToken token) override {
        removed.push_back(token);
        handlers.erase(token);
        upHandlers.erase(token);
    }
    std::optional<Point> pointerLocation() override { return pointer; }
    // A mouse-down at `at`, handled at once: the pointer is still there.
    void deliver(Point at, ModifierFlags modifiers) {
        pointer = at;
        auto copy = handlers;
        for (auto& [token, handler] : copy) handler(at, modifiers);
    }
    void deliverUp(Point at, ModifierFlags modifiers) {
        pointer = at;
        auto copy = upHandlers;
        for (auto& [token, handler] : copy) handler(at, modifiers);
    }

    int installs = 0;
    int upInstalls = 0;
    std::vector<MonitorToken> removed;
    std::map<MonitorToken, Handler> handlers;
    std::map<MonitorToken, Handler> upHandlers;
    std::optional<Point> pointer;
    MonitorToken next = 41;
};

struct Received {
    Point at;
    ModifierFlags modifiers;
};

class ClickMonitorTest : public ::testing::Test {
  protected:
    RecordingMouse mouse;
};

TEST_F(ClickMonitorTest, StartsEmptyAndStoresTheTokenOnStart) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    EXPECT_FALSE(monitor->monitor.has_value());
    EXPECT_FALSE(static_cast<bool>(monitor->onClick));
    monitor->start();
    EXPECT_EQ(mouse.installs, 1);
    EXPECT_EQ(monitor->monitor, std::optional<MonitorToken>(41));
}

TEST_F(ClickMonitorTest, ForwardsPointAndTheWholeModifierWordUnchanged) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    std::vector<Received> got;
    monitor->onClick = [&](Point at, ModifierFlags m) { got.push_back({at, m}); };
    monitor->start();
    // Device-dependent bits travel with the named ones.
    mouse.deliver({12.5, 40}, 0x1a0108);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].at, (Point{12.5, 40}));
    EXPECT_EQ(got[0].modifiers, 0x1a0108u);
}

TEST_F(ClickMonitorTest, AClickWhileOnClickIsEmptyDoesNothing) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    monitor->start();
    mouse.deliver({10, 10}, 0);  // no callback set: nothing happens, nothing fails
    EXPECT_TRUE(monitor->monitor.has_value());
    EXPECT_TRUE(mouse.removed.empty());
}

TEST_F(ClickMonitorTest, AClickAfterTheMonitorWasReleasedDoesNothing) {
    auto calls = std::make_shared<int>(0);
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    monitor->onClick = [calls](Point, ModifierFlags) { ++*calls; };
    monitor->start();
    mouse.deliver({1, 1}, 0);
    EXPECT_EQ(*calls, 1);

    // A handler the platform already took out for an event in flight outlives the monitor.
    auto inFlight = mouse.handlers.begin()->second;
    std::weak_ptr<ClickMonitor> gone = monitor;
    monitor.reset();
    ASSERT_TRUE(gone.expired());
    inFlight({1, 1}, 0);
    mouse.deliver({1, 1}, 0);
    EXPECT_EQ(*calls, 1);
}

TEST_F(ClickMonitorTest, ReleasingTheMonitorTakesItsHandlerOffThePlatform) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    monitor->start();
    monitor.reset();
    EXPECT_EQ(mouse.removed, (std::vector<MonitorToken>{41, 42}));
    EXPECT_TRUE(mouse.handlers.empty());
    EXPECT_TRUE(mouse.upHandlers.empty());
}

TEST_F(ClickMonitorTest, StopBeforeStartMakesNoPlatformCall) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    monitor->stop();
    EXPECT_FALSE(monitor->monitor.has_value());
    EXPECT_EQ(mouse.installs, 0);
    EXPECT_TRUE(mouse.removed.empty());
}

TEST_F(ClickMonitorTest, StopRemovesTheInstalledMonitorAndEmptiesTheToken) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    int calls = 0;
    monitor->onClick = [&](Point, ModifierFlags) { ++calls; };
    monitor->start();
    monitor->stop();
    EXPECT_EQ(mouse.removed, (std::vector<MonitorToken>{41, 42}));
    EXPECT_FALSE(monitor->monitor.has_value());
    EXPECT_FALSE(monitor->upMonitor.has_value());
    mouse.deliver({1, 1}, 0);
    EXPECT_EQ(calls, 0);
    monitor->stop();  // a second stop has nothing to remove
    EXPECT_EQ(mouse.removed.size(), 2u);
}

TEST_F(ClickMonitorTest, StartingTwiceKeepsOnlyTheSecondToken) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    monitor->start();
    monitor->start();
    EXPECT_EQ(mouse.installs, 2);
    EXPECT_EQ(monitor->monitor, std::optional<MonitorToken>(43));
    EXPECT_EQ(monitor->upMonitor, std::optional<MonitorToken>(44));
    monitor->stop();
    // The first monitors are never removed.
    EXPECT_EQ(mouse.removed, (std::vector<MonitorToken>{43, 44}));
}

TEST_F(ClickMonitorTest, MouseUpsReachOnMouseUpWithTheirPointAndModifiers) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    std::vector<Received> downs, ups;
    monitor->onClick = [&](Point at, ModifierFlags m) { downs.push_back({at, m}); };
    monitor->onMouseUp = [&](Point at, ModifierFlags m) { ups.push_back({at, m}); };
    monitor->start();
    EXPECT_EQ(mouse.upInstalls, 1);
    mouse.deliver({5, 6}, modifier::shift);
    mouse.deliverUp({7, 8}, modifier::option);
    ASSERT_EQ(downs.size(), 1u);
    ASSERT_EQ(ups.size(), 1u);
    EXPECT_EQ(ups[0].at, (Point{7, 8}));
    EXPECT_EQ(ups[0].modifiers, modifier::option);
}

TEST_F(ClickMonitorTest, ALateEventKeepsItsOwnPointWhereverThePointerIsNow) {
    auto monitor = std::make_shared<ClickMonitor>(mouse);
    std::vector<Received> got;
    monitor->onClick = [&](Point at, ModifierFlags m) { got.push_back({at, m}); };
    monitor->start();
    // The main thread was busy: the pointer has moved on when the handler runs.
    mouse.pointer = Point{900, 700};
    auto copy = mouse.handlers;
    for (auto& [token, handler] : copy) handler({315, 214}, 0);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].at, (Point{315, 214}));
}

// On the simulated desktop: the platform's real stream of events.
class ClickMonitorOnDesktopTest : public ::testing::Test {
  protected:
    void SetUp() override { desktop.clockTheLog(); }

    sim::SimDesktop desktop;
};

TEST_F(ClickMonitorOnDesktopTest, TheTopLeftCornerOfTheMainDisplayIsTheOrigin) {
    auto monitor = std::make_shared<ClickMonitor>(desktop);
    std::vector<Received> got;
    monitor->onClick = [&](Point at, ModifierFlags m) { got.push_back({at, m}); };
    monitor->start();
    desktop.click({0, 0});
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].at, (Point{0, 0}));
    EXPECT_EQ(got[0].modifiers, 0u);
}

TEST_F(ClickMonitorOnDesktopTest, ADisplayAboveTheMainOneGivesNegativeY) {
    auto monitor = std::make_shared<ClickMonitor>(desktop);
    std::vector<Received> got;
    monitor->onClick = [&](Point at, ModifierFlags m) { got.push_back({at, m}); };
    monitor->start();
    desktop.click({640, -300}, modifier::command);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].at, (Point{640, -300}));
    EXPECT_EQ(got[0].modifiers, modifier::command);
}

TEST_F(ClickMonitorOnDesktopTest, RightClicksMouseUpsAndKeysNeverReachOnClick) {
    auto monitor = std::make_shared<ClickMonitor>(desktop);
    int calls = 0;
    monitor->onClick = [&](Point, ModifierFlags) { ++calls; };
    monitor->start();
    desktop.rightClick({50, 50});
    desktop.mouseUp({50, 50});
    desktop.keyDown("w", modifier::command);
    desktop.runDue();
    EXPECT_EQ(calls, 0);
    desktop.click({50, 50});
    EXPECT_EQ(calls, 1);
}

TEST_F(ClickMonitorOnDesktopTest, StopEndsTheStream) {
    auto monitor = std::make_shared<ClickMonitor>(desktop);
    int calls = 0;
    monitor->onClick = [&](Point, ModifierFlags) { ++calls; };
    monitor->start();
    monitor->stop();
    desktop.click({50, 50});
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(monitor->monitor.has_value());
}

}  // namespace
}  // namespace quelto
