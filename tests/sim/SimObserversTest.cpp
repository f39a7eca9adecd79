// Observers on the simulated desktop: registrations, delivery on the main queue, and the run-
// loop source that gates it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"
#include "tests/support/AXNames.h"

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
    ASSERT_EQ(observer->addNotification(desktop.applicationElement(42), axWindowCreated, &tag),
              axerror::success);
    ElementId w = desktop.addWindow(42, WindowDescription{});
    EXPECT_TRUE(seen.empty());  // delivered on the main queue, not inside addWindow
    desktop.runDue();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].notification, axWindowCreated);
    EXPECT_TRUE(seen[0].element->isSameElement(*desktop.element(w)));
    EXPECT_EQ(seen[0].refcon, &tag);
}

TEST_F(SimObservers, ASheetIsAnnouncedOnTheApplicationAsASheetNotAWindow) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    AXElement app = desktop.applicationElement(42);
    observer->addNotification(app, axWindowCreated, &tag);
    observer->addNotification(app, axSheetCreated, &tag);
    ElementId w = desktop.addWindow(42, WindowDescription{});
    desktop.runDue();
    seen.clear();
    ElementId sheet = desktop.showSheet(w);
    desktop.runDue();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].notification, axSheetCreated);
    EXPECT_TRUE(seen[0].element->isSameElement(*desktop.element(sheet)));
}

TEST_F(SimObservers, SaveAsReplacesTheQuestionSheetByTheSavePanelAMomentLater) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    observer->addNotification(desktop.applicationElement(42), axSheetCreated, &tag);
    ElementId w = desktop.addWindow(42, WindowDescription{});
    ElementId question = desktop.showSheet(w);
    desktop.runDue();
    seen.clear();
    desktop.answerSheetWithSaveAs(w);
    desktop.runDue();
    // The question is gone, and for a moment the window has no sheet.
    std::optional<AXValue> children;
    desktop.element(w)->copyAttributeValue("AXChildren", children);
    ASSERT_TRUE(children && children->get<AXArray>());
    EXPECT_EQ(children->get<AXArray>()->size(), 1u);  // its close button alone
    EXPECT_FALSE(desktop.element(question)->copyAttributeValue("AXRole", children).isSuccess());
    EXPECT_TRUE(seen.empty());

    desktop.advance(SimDesktop::saveAsPanelDelay);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].notification, axSheetCreated);
    desktop.element(w)->copyAttributeValue("AXChildren", children);
    ASSERT_TRUE(children && children->get<AXArray>());
    EXPECT_EQ(children->get<AXArray>()->size(), 2u);
    // Answered in its turn, the panel closes the window.
    desktop.answerSheet(w, true);
    desktop.advance(1);
    EXPECT_FALSE(desktop.windowDescription(w).has_value());
}

TEST_F(SimObservers, PerWindowNotificationsInOrder) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ElementId w = desktop.addWindow(42, WindowDescription{}, false);
    for (const std::string& n : {axElementDestroyed, axWindowMoved, axWindowResized})
        ASSERT_EQ(observer->addNotification(desktop.element(w), n, &tag), axerror::success);
    desktop.moveWindow(w, Point{1, 2});
    desktop.resizeWindow(w, Size{3, 4});
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].notification, axWindowMoved);
    EXPECT_EQ(seen[1].notification, axWindowResized);
    EXPECT_EQ(seen[2].notification, axElementDestroyed);
    std::optional<AXValue> v;
    EXPECT_EQ(seen[2].element->copyAttributeValue("AXRole", v), axerror::invalidUIElement);
}

TEST_F(SimObservers, FocusedWindowChangedPassesTheWindow) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    ElementId a = desktop.addWindow(42, testing::window("a"), false);
    desktop.addWindow(42, testing::window("b"), false);
    observer->addNotification(desktop.applicationElement(42), axFocusedWindowChanged, &tag);
    desktop.focusWindow(a);
    desktop.runDue();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].element->isSameElement(*desktop.element(a)));
    EXPECT_EQ(desktop.windowsOf(42).front(), a);
}

TEST_F(SimObservers, NothingIsDeliveredWithoutTheRunLoopSource) {
    auto observer = observe();
    observer->addNotification(desktop.applicationElement(42), axWindowCreated, &tag);
    desktop.addWindow(42, WindowDescription{});
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
}

TEST_F(SimObservers, QueuedNotificationsAreDroppedWhenTheSourceIsRemovedOrTheObserverReleased) {
    auto observer = observe();
    observer->addRunLoopSourceToMainRunLoop();
    observer->addNotification(desktop.applicationElement(42), axWindowCreated, &tag);
    desktop.addWindow(42, WindowDescription{});
    observer->removeRunLoopSourceFromMainRunLoop();
    desktop.runDue();
    EXPECT_TRUE(seen.empty());

    observer->addRunLoopSourceToMainRunLoop();
    desktop.addWindow(42, WindowDescription{});
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
    ElementId w = desktop.addWindow(42, WindowDescription{}, false);
    EXPECT_EQ(observer->addNotification(desktop.element(w), axWindowMoved, &tag), axerror::success);
    EXPECT_EQ(observer->addNotification(desktop.element(w), axWindowMoved, &tag),
              axerror::notificationAlreadyRegistered);
    EXPECT_EQ(desktop.registrationCount(w, axWindowMoved), 1u);
    desktop.destroyWindow(w);
    EXPECT_EQ(observer->addNotification(desktop.element(w), axWindowResized, &tag),
              axerror::invalidUIElement);
    EXPECT_EQ(desktop.registrations(42),
              (std::vector<std::pair<ElementId, std::string>>{{w, axWindowMoved}}));
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
    ElementId w = desktop.addWindow(42, WindowDescription{}, false);
    observer->addNotification(desktop.element(w), axElementDestroyed, &tag);
    desktop.terminateApp(42);
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
    EXPECT_FALSE(desktop.isElementAlive(w));
}

}  // namespace
}  // namespace quelto::sim

namespace quelto::sim {
namespace {

// The same session twice gives the same trace of deliveries, byte for byte.
std::vector<std::string>* trace = nullptr;

void traced(AXObserver&, const AXElement& element, const std::string& notification, void* refcon) {
    std::optional<AXValue> title;
    element->copyAttributeValue("AXTitle", title);
    const std::string* text = title ? title->get<std::string>() : nullptr;
    trace->push_back(notification + " " + (text ? *text : "<gone>") + " " +
                     std::to_string(reinterpret_cast<std::uintptr_t>(refcon)));
}

std::vector<std::string> session() {
    std::vector<std::string> lines;
    trace = &lines;
    SimDesktop d(Date{0});
    d.addApp(testing::app(5, "Five"));
    AXError error;
    auto observer = d.createObserver(5, &traced, error);
    observer->addRunLoopSourceToMainRunLoop();
    observer->addNotification(d.applicationElement(5), axWindowCreated, reinterpret_cast<void*>(1));
    observer->addNotification(d.applicationElement(5), axFocusedWindowChanged,
                              reinterpret_cast<void*>(2));
    ElementId a = d.addWindow(5, testing::window("a"));
    ElementId b = d.addWindow(5, testing::window("b", Rect{{900, 0}, {100, 100}}));
    for (ElementId w : {a, b}) {
        observer->addNotification(d.element(w), axElementDestroyed, reinterpret_cast<void*>(3));
        observer->addNotification(d.element(w), axWindowMoved, reinterpret_cast<void*>(4));
    }
    d.moveWindow(b, Point{800, 0});
    d.focusWindow(a);
    d.click(d.closeButtonFrame(b)->origin);
    d.advance(1);
    d.destroyWindow(a);
    d.advance(1);
    trace = nullptr;
    return lines;
}

TEST(SimDeterminism, SameSessionSameDeliveries) {
    auto first = session();
    EXPECT_EQ(first, session());
    EXPECT_EQ(first, (std::vector<std::string>{"AXWindowCreated a 1", "AXWindowCreated b 1",
                                               "AXWindowMoved b 4", "AXFocusedWindowChanged a 2",
                                               "AXUIElementDestroyed <gone> 3",
                                               "AXUIElementDestroyed <gone> 3"}));
}

}  // namespace
}  // namespace quelto::sim
