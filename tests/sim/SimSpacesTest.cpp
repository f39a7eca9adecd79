// What a Mac tells others about Spaces and about windows an app keeps but does not show, on
// the simulated desktop: the active-Space-changed and activation notifications, the focus
// notification of a Space switch (to the app whose focused window changes only), the return
// from a full-screen Space, ordered-out windows, the private Spaces lookups, and revoked
// Accessibility access.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto::sim {
namespace {

// (process of the observer, notification) in the order delivered.
std::vector<std::pair<Pid, std::string>>* delivered = nullptr;

void record(AXObserver&, const AXElement&, const std::string& notification, void* refcon) {
    if (delivered)
        delivered->emplace_back(static_cast<Pid>(reinterpret_cast<std::intptr_t>(refcon)),
                                notification);
}

class SimSpaces : public ::testing::Test {
  protected:
    SimSpaces() {
        delivered = &seen;
        desktop.setOwnPid(99);
        desktop.addApp(testing::app(1, "Mail"));
        desktop.addApp(testing::app(2, "Notes"));
        inbox = desktop.addWindow(1, testing::window("Inbox", Rect{{100, 100}, {600, 400}}));
        auto onTwo = testing::window("Drafts", Rect{{900, 100}, {400, 300}});
        onTwo.space = 2;
        drafts = desktop.addWindow(1, onTwo);
        ideas = desktop.addWindow(2, testing::window("Ideas", Rect{{300, 200}, {600, 400}}));
        desktop.setFrontmost(1);
        spaceChanges = desktop.observeActiveSpaceChanges([this] { ++spaceChangesSeen; });
        activations = desktop.observeActivations([this](const RunningApplicationRef& app) {
            activated.push_back(app ? app->processIdentifier() : 0);
        });
        desktop.runDue();
    }
    ~SimSpaces() override { delivered = nullptr; }

    std::unique_ptr<AXObserver> observe(Pid pid, const std::string& notification,
                                        std::optional<ElementId> on = std::nullopt) {
        AXError error;
        auto observer = desktop.createObserver(pid, &record, error);
        observer->addRunLoopSourceToMainRunLoop();
        observer->addNotification(on ? desktop.element(*on) : desktop.applicationElement(pid),
                                  notification, reinterpret_cast<void*>(std::intptr_t{pid}));
        return observer;
    }

    SimDesktop desktop;
    std::vector<std::pair<Pid, std::string>> seen;
    int spaceChangesSeen = 0;
    std::vector<Pid> activated;
    Subscription spaceChanges, activations;
    ElementId inbox = 0, drafts = 0, ideas = 0;
};

TEST_F(SimSpaces, ASpaceSwitchAlwaysPostsTheActiveSpaceChangedNotification) {
    desktop.switchToSpace(2);
    desktop.runDue();
    EXPECT_EQ(spaceChangesSeen, 1);
    // To an empty Space too: the notification does not depend on who is in front.
    desktop.switchToSpace(3);
    desktop.runDue();
    EXPECT_EQ(spaceChangesSeen, 2);
    // Staying where one is changes nothing.
    desktop.switchToSpace(3);
    desktop.runDue();
    EXPECT_EQ(spaceChangesSeen, 2);
}

TEST_F(SimSpaces, OnlyTheAppWhoseFocusedWindowChangesIsToldOfIt) {
    auto mail = observe(1, "AXFocusedWindowChanged");
    auto notes = observe(2, "AXFocusedWindowChanged");
    desktop.switchToSpace(2);
    desktop.runDue();
    // Mail's Drafts is in front on Space 2: Mail's focused window changed from Inbox.
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0], (std::pair<Pid, std::string>{1, "AXFocusedWindowChanged"}));
    EXPECT_EQ(desktop.focusedWindow(1), drafts);
    // Notes has nothing on Space 2 and is in the background: it is told nothing, although its
    // window list changed.
    EXPECT_FALSE(desktop.focusedWindow(2));
}

TEST_F(SimSpaces, TheAppInFrontOnTheNewSpaceIsActivatedAndAnnounced) {
    desktop.setFrontmost(2);
    desktop.runDue();
    activated.clear();
    desktop.switchToSpace(2);
    desktop.runDue();
    EXPECT_EQ(activated, (std::vector<Pid>{1}));
    ASSERT_TRUE(desktop.frontmostApplication());
    EXPECT_EQ(desktop.frontmostApplication()->processIdentifier(), 1);
}

TEST_F(SimSpaces, ClosingAFullScreenWindowShowsTheSpaceItCameFrom) {
    desktop.enterFullScreen(inbox);
    EXPECT_GT(desktop.currentSpace(), 1000);
    desktop.runDue();
    int before = spaceChangesSeen;
    desktop.closeWindowWithoutClick(inbox);
    desktop.runDue();
    EXPECT_EQ(desktop.currentSpace(), 1);
    EXPECT_EQ(spaceChangesSeen, before + 1);
    EXPECT_TRUE(desktop.isOnScreen(ideas));
}

TEST_F(SimSpaces, AnOrderedOutWindowIsKeptButNeitherShownNorListed) {
    auto destroyed = observe(1, "AXUIElementDestroyed", inbox);
    desktop.orderOutWindow(inbox);
    desktop.runDue();
    EXPECT_TRUE(desktop.isOrderedOut(inbox));
    EXPECT_TRUE(desktop.isElementAlive(inbox));
    EXPECT_FALSE(desktop.isOnScreen(inbox));
    EXPECT_FALSE(desktop.isListedInAXWindows(inbox));
    EXPECT_TRUE(seen.empty());  // no destroyed notification
    bool inAll = false;
    for (const WindowServerWindow& w : desktop.windowList(WindowListScope::allSpaces))
        if (w.number == *desktop.windowNumber(inbox)) inAll = !w.onScreen;
    EXPECT_TRUE(inAll);
    for (const WindowServerWindow& w : desktop.windowList(WindowListScope::onScreenCurrentSpace))
        EXPECT_NE(w.number, *desktop.windowNumber(inbox));
    // On no Space.
    auto spaces = desktop.spacesOfWindow(*desktop.windowNumber(inbox));
    ASSERT_TRUE(spaces);
    EXPECT_TRUE(spaces->empty());

    desktop.orderInWindow(inbox);
    EXPECT_TRUE(desktop.isOnScreen(inbox));
    EXPECT_TRUE(desktop.isListedInAXWindows(inbox));
}

TEST_F(SimSpaces, AWindowThatHidesOnCloseIsOrderedOutByItsRedDot) {
    auto desc = testing::window("Main", Rect{{200, 500}, {500, 300}});
    desc.hidesOnClose = true;
    ElementId main = desktop.addWindow(2, desc);
    auto destroyed = observe(2, "AXUIElementDestroyed", main);
    Rect button = *desktop.closeButtonFrame(main);
    desktop.click(Point{button.origin.x + 5, button.origin.y + 5});
    desktop.advance(1);
    EXPECT_TRUE(desktop.isOrderedOut(main));
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(desktop.isRunning(2));
}

TEST_F(SimSpaces, TheLookupsGiveTheWindowNumberAndItsSpace) {
    ASSERT_TRUE(desktop.lookupsAvailable());
    auto number = desktop.windowNumber(desktop.element(drafts));
    ASSERT_TRUE(number);
    EXPECT_EQ(number, desktop.windowNumber(drafts));
    EXPECT_EQ(desktop.spacesOfWindow(*number), (std::vector<SpaceID>{2}));
    EXPECT_EQ(desktop.activeSpace(), SpaceID{1});

    desktop.setSpacesLookupsAvailable(false);
    EXPECT_FALSE(desktop.lookupsAvailable());
    EXPECT_FALSE(desktop.windowNumber(desktop.element(drafts)));
    EXPECT_FALSE(desktop.spacesOfWindow(*number));
    EXPECT_FALSE(desktop.activeSpace());
}

TEST_F(SimSpaces, RevokedAccessMakesEveryCallFailWithAPIDisabled) {
    auto created = observe(1, "AXWindowCreated");
    desktop.setTrusted(false);
    std::optional<AXValue> value;
    EXPECT_EQ(desktop.applicationElement(1)->copyAttributeValue("AXWindows", value),
              axerror::apiDisabled);
    EXPECT_EQ(desktop.element(inbox)->copyAttributeValue("AXRole", value), axerror::apiDisabled);
    AXError error;
    auto observer = desktop.createObserver(2, &record, error);
    ASSERT_TRUE(observer);
    EXPECT_EQ(observer->addNotification(desktop.applicationElement(2), "AXWindowCreated", nullptr),
              axerror::apiDisabled);
    // Nothing is delivered while access is revoked.
    desktop.addWindow(1, testing::window("New"));
    desktop.runDue();
    EXPECT_TRUE(seen.empty());

    desktop.setTrusted(true);
    EXPECT_TRUE(desktop.element(inbox)->copyAttributeValue("AXRole", value).isSuccess());
    desktop.addWindow(1, testing::window("Newer"));
    desktop.runDue();
    EXPECT_EQ(seen.size(), 1u);
}

TEST_F(SimSpaces, ARunningAppChangesItsActivationPolicy) {
    auto app = desktop.runningApplication(2);
    desktop.setActivationPolicy(2, ActivationPolicy::accessory);
    EXPECT_EQ(app->activationPolicy(), ActivationPolicy::accessory);
    desktop.setActivationPolicy(2, ActivationPolicy::regular);
    EXPECT_EQ(app->activationPolicy(), ActivationPolicy::regular);
}

}  // namespace
}  // namespace quelto::sim
