// The user's mouse on the simulated desktop: global monitors and close-button clicks.

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto::sim {
namespace {

struct Click {
    Point at;
    ModifierFlags modifiers;
};

class SimMouse : public ::testing::Test {
  protected:
    SimMouse() {
        desktop.addApp(testing::app(5, "Five"));
        token = desktop.addGlobalLeftMouseDownMonitor([this](Point p, ModifierFlags m) {
            clicks.push_back(Click{p, m});
        });
    }
    SimDesktop desktop;
    std::vector<Click> clicks;
    MonitorToken token = 0;
};

TEST_F(SimMouse, LeftMouseDownsReachTheMonitorSynchronously) {
    desktop.click(Point{3, 4}, modifier::shift);
    ASSERT_EQ(clicks.size(), 1u);
    EXPECT_EQ(clicks[0].at, (Point{3, 4}));
    EXPECT_EQ(clicks[0].modifiers, modifier::shift);
}

TEST_F(SimMouse, OtherEventsNeverReachTheMonitor) {
    desktop.rightClick(Point{1, 1});
    desktop.mouseUp(Point{1, 1});
    desktop.keyDown("w", modifier::command);
    EXPECT_TRUE(clicks.empty());
}

TEST_F(SimMouse, ClicksInOwnWindowsAreNotMonitored) {
    desktop.setOwnPid(9);
    desktop.addApp(testing::app(9));
    desktop.addWindow(9, testing::window(Rect{{0, 0}, {100, 100}}));
    desktop.click(Point{50, 50});
    EXPECT_TRUE(clicks.empty());
    desktop.click(Point{150, 50});
    EXPECT_EQ(clicks.size(), 1u);
}

TEST_F(SimMouse, RemovedMonitorHearsNothing) {
    desktop.removeMonitor(token);
    desktop.click(Point{1, 1});
    EXPECT_TRUE(clicks.empty());
    EXPECT_EQ(desktop.monitorCount(), 0u);
}

TEST_F(SimMouse, CloseButtonClickClosesTheWindowAfterItsDelay) {
    ElementId w = desktop.addWindow(5, [] {
        auto s = testing::window();
        s.closeDelay = 0.05;
        return s;
    }());
    Rect button = *desktop.closeButtonFrame(w);
    desktop.click(button.origin);
    EXPECT_EQ(clicks.size(), 1u);
    EXPECT_TRUE(desktop.isElementAlive(w));
    desktop.advance(0.05);
    EXPECT_FALSE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, EdgeOfTheButtonIsExclusiveAtItsMaximum) {
    ElementId w = desktop.addWindow(5, WindowDescription{});
    Rect button = *desktop.closeButtonFrame(w);
    desktop.click(Point{button.maxX(), button.maxY()});
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, DisabledButtonDoesNothing) {
    WindowDescription desc;
    desc.closeButton.enabled = false;
    ElementId w = desktop.addWindow(5, desc);
    desktop.click(desktop.closeButtonFrame(w)->origin);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, OnlyTheFrontmostWindowUnderThePointReacts) {
    ElementId back = desktop.addWindow(5, testing::window("back"));
    ElementId front = desktop.addWindow(5, testing::window("front", Rect{{50, 50}, {400, 400}}));
    desktop.click(desktop.closeButtonFrame(back)->origin);  // covered by the front window
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(back));
    EXPECT_TRUE(desktop.isElementAlive(front));
}

TEST_F(SimMouse, SaveSheetHoldsTheCloseUntilAnswered) {
    ElementId w = desktop.addWindow(5, [] {
        auto s = testing::window();
        s.asksToSave = true;
        return s;
    }());
    desktop.click(desktop.closeButtonFrame(w)->origin);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
    desktop.answerSheet(w, true);
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, OptionClickClosesEveryWindowOfTheApplication) {
    desktop.addApp(testing::app(6));
    ElementId other = desktop.addWindow(6, testing::window(Rect{{1000, 0}, {100, 100}}));
    ElementId a = desktop.addWindow(5, testing::window(Rect{{0, 500}, {300, 300}}));
    ElementId b = desktop.addWindow(5, WindowDescription{});
    desktop.click(desktop.closeButtonFrame(b)->origin, modifier::option);
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(a));
    EXPECT_FALSE(desktop.isElementAlive(b));
    EXPECT_TRUE(desktop.isElementAlive(other));
}

TEST_F(SimMouse, SameInputsGiveTheSameOutputs) {
    auto run = [] {
        SimDesktop d(Date{0});
        std::vector<std::string> trace;
        d.addApp([] {
            auto s = testing::app(5);
            s.quitsWithLastWindow = true;
            return s;
        }());
        Subscription s = d.observeTerminations([&](const RunningApplicationRef& app) {
            trace.push_back("quit " + std::to_string(app->processIdentifier()) + " at " +
                            std::to_string(d.now().seconds));
        });
        ElementId w1 = d.addWindow(5, WindowDescription{});
        ElementId w2 = d.addWindow(5, testing::window(Rect{{500, 500}, {200, 200}}));
        d.click(d.closeButtonFrame(w2)->origin);
        d.advance(0.2);
        trace.push_back("windows " + std::to_string(d.windowsOf(5).size()));
        d.click(d.closeButtonFrame(w1)->origin);
        d.advance(1);
        return trace;
    };
    auto first = run();
    EXPECT_EQ(first, run());
    EXPECT_EQ(first, (std::vector<std::string>{"windows 1", "quit 5 at 0.350000"}));
}

TEST_F(SimMouse, TheCloseButtonActsWhenTheMouseGoesUpOnIt) {
    ElementId w = desktop.addWindow(5, WindowDescription{});
    Point dot = desktop.closeButtonFrame(w)->origin;
    desktop.press(dot);
    EXPECT_EQ(clicks.size(), 1u);  // the monitor sees the mouse-down
    EXPECT_TRUE(desktop.isPressed());
    desktop.advance(3);  // held: nothing yet
    EXPECT_TRUE(desktop.isElementAlive(w));
    desktop.release(dot);
    EXPECT_FALSE(desktop.isPressed());
    EXPECT_EQ(clicks.size(), 1u);  // and never the mouse-up
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, APressDraggedOffTheCloseButtonClosesNothing) {
    ElementId w = desktop.addWindow(5, WindowDescription{});
    desktop.press(desktop.closeButtonFrame(w)->origin);
    desktop.release(Point{400, 400});
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
    // A release on the button after a press elsewhere closes nothing either.
    desktop.press(Point{400, 400});
    desktop.release(desktop.closeButtonFrame(w)->origin);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
}

TEST_F(SimMouse, OptionClickLeavesWindowsThatCannotClose) {
    ElementId a = desktop.addWindow(5, testing::window(Rect{{0, 500}, {300, 300}}));
    ElementId locked = desktop.addWindow(5, [] {
        auto s = testing::window(Rect{{400, 500}, {300, 300}});
        s.closeButton.enabled = false;
        return s;
    }());
    ElementId sheeted = desktop.addWindow(5, testing::window(Rect{{800, 500}, {300, 300}}));
    desktop.showSheet(sheeted);
    ElementId b = desktop.addWindow(5, WindowDescription{});
    desktop.click(desktop.closeButtonFrame(b)->origin, modifier::option);
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(a));
    EXPECT_FALSE(desktop.isElementAlive(b));
    EXPECT_TRUE(desktop.isElementAlive(locked));
    EXPECT_TRUE(desktop.isElementAlive(sheeted));
}

TEST_F(SimMouse, AnAppModalAlertHoldsEveryOtherCloseButton) {
    ElementId a = desktop.addWindow(5, testing::window(Rect{{0, 500}, {300, 300}}));
    ElementId b = desktop.addWindow(5, WindowDescription{});
    ElementId alert = desktop.showDialog(5, "AXDialog", "Could not save", true);
    desktop.click(desktop.closeButtonFrame(b)->origin, modifier::option);
    desktop.click(desktop.closeButtonFrame(a)->origin);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(a));
    EXPECT_TRUE(desktop.isElementAlive(b));
    desktop.closeWindowWithoutClick(alert);
    desktop.click(desktop.closeButtonFrame(a)->origin);
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(a));
}

TEST_F(SimMouse, HiddenMinimisedAndOtherSpacesWindowsTakeNoClicks) {
    ElementId w = desktop.addWindow(5, WindowDescription{});
    Point dot = desktop.closeButtonFrame(w)->origin;
    desktop.minimizeWindow(w);
    desktop.click(dot);
    desktop.restoreWindow(w);
    desktop.moveWindowToSpace(w, 2);
    desktop.click(dot);
    desktop.moveWindowToSpace(w, 1);
    desktop.hideApp(5);
    desktop.click(dot);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isElementAlive(w));
    EXPECT_EQ(clicks.size(), 3u);  // the monitor saw every mouse-down all the same
}

}  // namespace
}  // namespace quelto::sim
