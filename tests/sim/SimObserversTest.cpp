// Observers on the simulated desktop: registrations, delivery on the main queue, and the run-
// loop source that gates it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/SimDesktop.h"
#include "tests/sim/Specs.h"

namespace quelto::sim {
namespace {

struct Delivery {
    std::string notification;
    AXElement element;
    void* refcon;
};

std::vector<Delivery>* deliveries = nullptr;

void record(AXObserver&, const AXElement& element, const std::string& notification, void* refcon) {
    if (deliveries) deliveries->push_back(Delivery{notification, element, refcon});
}

class SimObservers : public ::testing::Test {
  protected:
    SimObservers() {
        deliveries = &seen;
        desktop.addApp(testing::app(42, "A"));
    }
    ~SimObservers() override { deliveries = nullptr; }

    std::unique_ptr<AXObserver> observe() {
        AXError error;
        auto observer = desktop.createObserver(42, &record, error);
        EXPECT_EQ(error, axerror::success);
        return observer;
    }

    SimDesktop desktop;
    std::vector<Delivery> seen;
    int tag = 0;
};

TEST_F(SimObservers, WindowCreatedGoesToTheApplicationRegistrationWithTheWindow) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ASSERT_EQ(observer->addNotification(desktop.applicationElement(42), "AXWindowCreated", &tag),
              axerror::success);
    ElementId w = desktop.addWindow(42, WindowSpec{});
    EXPECT_TRUE(seen.empty());  // delivered on the main queue, not inside addWindow
    desktop.runDue();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].notification, "AXWindowCreated");
    EXPECT_TRUE(seen[0].element->isSameElement(*desktop.element(w)));
    EXPECT_EQ(seen[0].refcon, &tag);
}

TEST_F(SimObservers, PerWindowNotificationsInOrder) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ElementId w = desktop.addWindow(42, WindowSpec{}, false);
    for (const char* n : {"AXUIElementDestroyed", "AXWindowMoved", "AXWindowResized"})
        ASSERT_EQ(observer->addNotification(desktop.element(w), n, &tag), axerror::success);
    desktop.moveWindow(w, Point{1, 2});
    desktop.resizeWindow(w, Size{3, 4});
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].notification, "AXWindowMoved");
    EXPECT_EQ(seen[1].notification, "AXWindowResized");
    EXPECT_EQ(seen[2].notification, "AXUIElementDestroyed");
    std::optional<AXValue> v;
    EXPECT_EQ(seen[2].element->copyAttributeValue("AXRole", v), axerror::invalidUIElement);
}

TEST_F(SimObservers, FocusedWindowChangedPassesTheWindow) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ElementId a = desktop.addWindow(42, testing::window("a"), false);
    desktop.addWindow(42, testing::window("b"), false);
    observer->addNotification(desktop.applicationElement(42), "AXFocusedWindowChanged", &tag);
    desktop.focusWindow(a);
    desktop.runDue();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].element->isSameElement(*desktop.element(a)));
    EXPECT_EQ(desktop.windowsOf(42).front(), a);
}

TEST_F(SimObservers, NothingIsDeliveredWithoutTheRunLoopSource) {
    auto observer = observe();
    observer->addNotification(desktop.applicationElement(42), "AXWindowCreated", &tag);
    desktop.addWindow(42, WindowSpec{});
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
}

TEST_F(SimObservers, QueuedNotificationsAreDroppedWhenTheSourceIsRemovedOrTheObserverReleased) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    observer->addNotification(desktop.applicationElement(42), "AXWindowCreated", &tag);
    desktop.addWindow(42, WindowSpec{});
    observer->removeRunLoopSourceFromMainRunLoop();
    desktop.runDue();
    EXPECT_TRUE(seen.empty());

    observer->addRunLoopSourceToMainRunLoop();
    desktop.addWindow(42, WindowSpec{});
    observer->removeRunLoopSourceFromMainRunLoop();
    observer.reset();
    EXPECT_EQ(desktop.liveObserverCount(), 0);
    EXPECT_EQ(desktop.observersReleasedWithSourceAttached(), 0);
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
}

TEST_F(SimObservers, ReleasingAnObserverWithItsSourceAttachedIsCounted) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    EXPECT_EQ(desktop.observersWithSourceOnRunLoop(), 1);
    observer.reset();
    EXPECT_EQ(desktop.observersReleasedWithSourceAttached(), 1);
}

TEST_F(SimObservers, DuplicateRegistrationsAndDeadElementsAreRefused) {
    auto observer = observe();
    ElementId w = desktop.addWindow(42, WindowSpec{}, false);
    EXPECT_EQ(observer->addNotification(desktop.element(w), "AXWindowMoved", &tag),
              axerror::success);
    EXPECT_EQ(observer->addNotification(desktop.element(w), "AXWindowMoved", &tag),
              axerror::notificationAlreadyRegistered);
    EXPECT_EQ(desktop.registrationCount(w, "AXWindowMoved"), 1u);
    desktop.destroyWindow(w);
    EXPECT_EQ(observer->addNotification(desktop.element(w), "AXWindowResized", &tag),
              axerror::invalidUIElement);
    EXPECT_EQ(desktop.registrations(42),
              (std::vector<std::pair<ElementId, std::string>>{{w, "AXWindowMoved"}}));
}

TEST_F(SimObservers, ObserverCreationFailsWithTheApplicationsError) {
    desktop.addApp([] {
        auto s = testing::app(7);
        s.observerError = axerror::cannotComplete;
        return s;
    }());
    AXError error;
    EXPECT_EQ(desktop.createObserver(7, &record, error), nullptr);
    EXPECT_EQ(error, axerror::cannotComplete);
}

TEST_F(SimObservers, ObserverOutlivingTheDesktopIsHarmless) {
    std::unique_ptr<AXObserver> observer;
    {
        SimDesktop other;
        other.addApp(testing::app(3));
        AXError error;
        observer = other.createObserver(3, &record, error);
        observer->addRunLoopSourceToMainRunLoop();
    }
    observer->removeRunLoopSourceFromMainRunLoop();
    observer.reset();
    SUCCEED();
}

TEST_F(SimObservers, TerminationRemovesWindowsWithoutNotifications) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ElementId w = desktop.addWindow(42, WindowSpec{}, false);
    observer->addNotification(desktop.element(w), "AXUIElementDestroyed", &tag);
    desktop.terminateApp(42);
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
    EXPECT_FALSE(desktop.isElementAlive(w));
}

}  // namespace
}  // namespace quelto::sim
