// Where windows are on the simulated desktop: the stacking order, clicks that raise and
// activate, hidden apps, minimised windows, Spaces and full screen, and what the
// application's "AXWindows" lists meanwhile.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"
#include "tests/support/AXNames.h"

namespace quelto::sim {
namespace {

std::vector<std::string>* notes = nullptr;

void record(AXObserver&, const AXElement&, const std::string& notification, void*) {
    if (notes) notes->push_back(notification);
}

class SimStacking : public ::testing::Test {
  protected:
    SimStacking() {
        notes = &seen;
        // Process 1 is this program's own by default: the apps here are others.
        desktop.setOwnPid(99);
        desktop.addApp(testing::app(1, "Mail"));
        desktop.addApp(testing::app(2, "Notes"));
        inbox = desktop.addWindow(1, testing::window("Inbox", Rect{{100, 100}, {600, 400}}));
        drafts = desktop.addWindow(1, testing::window("Drafts", Rect{{900, 100}, {400, 300}}));
        ideas = desktop.addWindow(2, testing::window("Ideas", Rect{{300, 200}, {600, 400}}));
        desktop.setFrontmost(2);
    }
    ~SimStacking() override { notes = nullptr; }

    // The titles in an application's "AXWindows", in order.
    std::vector<std::string> axWindows(Pid pid) {
        std::vector<std::string> out;
        std::optional<AXValue> list;
        if (!desktop.applicationElement(pid)->copyAttributeValue("AXWindows", list).isSuccess())
            return out;
        for (const AXValue& v : *list->get<AXArray>()) {
            std::optional<AXValue> title;
            (*v.get<AXElement>())->copyAttributeValue("AXTitle", title);
            out.push_back(*title->get<std::string>());
        }
        return out;
    }

    std::optional<AXValue> read(const AXElement& e, const std::string& attribute) {
        std::optional<AXValue> v;
        e->copyAttributeValue(attribute, v);
        return v;
    }

    std::unique_ptr<AXObserver> observe(Pid pid, const std::string& notification,
                                        std::optional<ElementId> on = std::nullopt) {
        AXError error;
        auto observer = desktop.createObserver(pid, &record, error);
        observer->addRunLoopSourceToMainRunLoop();
        observer->addNotification(on ? desktop.element(*on) : desktop.applicationElement(pid),
                                  notification, nullptr);
        return observer;
    }

    Pid frontmost() {
        auto app = desktop.frontmostApplication();
        return app ? app->processIdentifier() : 0;
    }

    SimDesktop desktop;
    std::vector<std::string> seen;
    ElementId inbox = 0, drafts = 0, ideas = 0;
};

TEST_F(SimStacking, WindowsHaveOneFrontToBackOrderAcrossApps) {
    EXPECT_EQ(desktop.stackingOrder(), (std::vector<ElementId>{ideas, drafts, inbox}));
    EXPECT_EQ(desktop.windowAt(Point{400, 300}), ideas);  // Ideas covers Inbox there
    EXPECT_EQ(desktop.windowAt(Point{150, 150}), inbox);
}

TEST_F(SimStacking, AClickInAWindowRaisesOnlyItAndActivatesItsApp) {
    desktop.click(Point{150, 150});
    EXPECT_EQ(frontmost(), 1);
    EXPECT_EQ(desktop.stackingOrder(), (std::vector<ElementId>{inbox, ideas, drafts}));
    EXPECT_EQ(desktop.focusedWindow(1), inbox);
}

TEST_F(SimStacking, ActivatingAnAppBringsAllItsWindowsForward) {
    desktop.setFrontmost(1);
    EXPECT_EQ(desktop.stackingOrder(), (std::vector<ElementId>{drafts, inbox, ideas}));
}

TEST_F(SimStacking, APressOnTheRedDotOfAnInactiveWindowNeitherRaisesNorActivates) {
    desktop.press(Point{915, 113});  // Drafts's close button
    EXPECT_EQ(frontmost(), 2);
    EXPECT_EQ(desktop.stackingOrder().front(), ideas);
    desktop.release(Point{915, 113});
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(drafts));
    EXPECT_EQ(frontmost(), 2);
}

TEST_F(SimStacking, AClickRaisingAnotherWindowOfTheAppMovesItsFocusAndSaysSo) {
    desktop.setFrontmost(1);
    auto observer = observe(1, axFocusedWindowChanged);
    desktop.click(Point{150, 150});  // Inbox, behind Drafts in Mail's own order
    desktop.runDue();
    EXPECT_EQ(desktop.focusedWindow(1), inbox);
    EXPECT_EQ(seen, (std::vector<std::string>{axFocusedWindowChanged}));
}

TEST_F(SimStacking, AVisiblePointIsOnTopAndOnNoCloseButton) {
    auto p = desktop.visiblePoint(inbox);
    ASSERT_TRUE(p);
    EXPECT_EQ(desktop.windowAt(*p), inbox);
    EXPECT_FALSE((Rect{{104, 102}, {22, 24}}.contains(*p)));
    // Covered everywhere: no point.
    ElementId cover = desktop.addWindow(2, testing::window("Cover", Rect{{0, 0}, {1400, 900}}));
    EXPECT_FALSE(desktop.visiblePoint(inbox));
    EXPECT_TRUE(desktop.visiblePoint(cover));
}

TEST_F(SimStacking, AHiddenAppsWindowsAreOffScreenButStillListed) {
    desktop.hideApp(2);
    EXPECT_FALSE(desktop.isOnScreen(ideas));
    EXPECT_EQ(axWindows(2), (std::vector<std::string>{"Ideas"}));
    EXPECT_EQ(desktop.windowAt(Point{400, 300}), inbox);
    auto hidden = read(desktop.applicationElement(2), "AXHidden");
    ASSERT_TRUE(hidden);
    EXPECT_EQ(*hidden->get<bool>(), true);
    // The app of the next window in the stack becomes frontmost.
    EXPECT_EQ(frontmost(), 1);
    desktop.unhideApp(2);
    EXPECT_TRUE(desktop.isOnScreen(ideas));
    EXPECT_EQ(frontmost(), 1);  // shown again, not activated
}

TEST_F(SimStacking, ActivatingAHiddenAppShowsIt) {
    desktop.hideApp(2);
    desktop.setFrontmost(2);
    EXPECT_FALSE(desktop.isHidden(2));
    EXPECT_TRUE(desktop.isOnScreen(ideas));
}

TEST_F(SimStacking, AMinimisedWindowStaysListedWithAXMinimizedTrue) {
    auto observer = observe(1, axFocusedWindowChanged);
    desktop.setFrontmost(1);
    desktop.minimizeWindow(drafts);
    desktop.runDue();
    EXPECT_FALSE(desktop.isOnScreen(drafts));
    EXPECT_EQ(axWindows(1), (std::vector<std::string>{"Drafts", "Inbox"}));
    EXPECT_EQ(*read(desktop.element(drafts), "AXMinimized")->get<bool>(), true);
    EXPECT_EQ(*read(desktop.element(inbox), "AXMinimized")->get<bool>(), false);
    // The focus moves to the next window, and the app says so.
    EXPECT_EQ(desktop.focusedWindow(1), inbox);
    EXPECT_EQ(seen, (std::vector<std::string>{axFocusedWindowChanged}));
    auto focused = read(desktop.applicationElement(1), "AXFocusedWindow");
    EXPECT_TRUE((*focused->get<AXElement>())->isSameElement(*desktop.element(inbox)));
}

TEST_F(SimStacking, RestoringAWindowActivatesItsAppAndPutsItInFront) {
    desktop.minimizeWindow(inbox);
    desktop.restoreWindow(inbox);
    EXPECT_TRUE(desktop.isOnScreen(inbox));
    EXPECT_EQ(frontmost(), 1);
    EXPECT_EQ(desktop.stackingOrder().front(), inbox);
}

TEST_F(SimStacking, AXWindowsListsOnlyTheCurrentSpacesWindows) {
    desktop.moveWindowToSpace(drafts, 2);
    EXPECT_EQ(axWindows(1), (std::vector<std::string>{"Inbox"}));
    EXPECT_FALSE(desktop.isOnScreen(drafts));
    EXPECT_EQ(desktop.windowsOf(1).size(), 2u);  // the desktop still has both
    desktop.switchToSpace(2);
    EXPECT_EQ(axWindows(1), (std::vector<std::string>{"Drafts"}));
    EXPECT_TRUE(desktop.isOnScreen(drafts));
    EXPECT_FALSE(desktop.isOnScreen(ideas));
    // The app of the frontmost window there becomes active.
    EXPECT_EQ(frontmost(), 1);
}

TEST_F(SimStacking, AWindowOpensOnTheSpaceItNames) {
    WindowDescription desc = testing::window("Later");
    desc.space = 3;
    ElementId later = desktop.addWindow(2, desc);
    EXPECT_EQ(desktop.spaceOf(later), 3);
    EXPECT_EQ(axWindows(2), (std::vector<std::string>{"Ideas"}));
}

TEST_F(SimStacking, FullScreenIsASpaceOfItsOwnThatBecomesCurrent) {
    desktop.enterFullScreen(inbox);
    EXPECT_TRUE(desktop.isFullScreen(inbox));
    EXPECT_NE(desktop.currentSpace(), 1);
    EXPECT_EQ(axWindows(1), (std::vector<std::string>{"Inbox"}));
    EXPECT_FALSE(desktop.isOnScreen(drafts));
    EXPECT_EQ(desktop.windowFrame(inbox)->origin, (Point{0, 0}));
    EXPECT_EQ(frontmost(), 1);
    EXPECT_EQ(*read(desktop.element(inbox), "AXFullScreen")->get<bool>(), true);
    desktop.exitFullScreen(inbox);
    EXPECT_EQ(desktop.currentSpace(), 1);
    EXPECT_EQ(desktop.windowFrame(inbox), (Rect{{100, 100}, {600, 400}}));
    EXPECT_EQ(axWindows(1), (std::vector<std::string>{"Inbox", "Drafts"}));
}

TEST_F(SimStacking, WhenTheFrontmostAppQuitsTheNextWindowsAppBecomesFrontmost) {
    desktop.addApp(testing::app(3, "Music"));
    desktop.addWindow(3, testing::window("Library", Rect{{0, 0}, {50, 50}}));
    desktop.setFrontmost(1);  // Mail's windows in front, then Music's, then Notes's
    desktop.terminateApp(1);
    EXPECT_EQ(frontmost(), 3);
    desktop.terminateApp(3);
    EXPECT_EQ(frontmost(), 2);
    desktop.terminateApp(2);
    EXPECT_EQ(frontmost(), 0);
}

TEST_F(SimStacking, ClosingTheFocusedWindowMovesTheFocusAndSaysSo) {
    auto observer = observe(1, axFocusedWindowChanged);
    desktop.setFrontmost(1);
    ASSERT_EQ(desktop.focusedWindow(1), drafts);
    desktop.closeWindowWithoutClick(drafts);
    desktop.runDue();
    EXPECT_EQ(desktop.focusedWindow(1), inbox);
    EXPECT_EQ(seen, (std::vector<std::string>{axFocusedWindowChanged}));
    // Closing a window that is not focused moves nothing.
    seen.clear();
    desktop.closeWindowWithoutClick(ideas);
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
}

TEST_F(SimStacking, AQuittingAppsWindowsGoWithoutNotifications) {
    auto observer = observe(1, axFocusedWindowChanged);
    auto destroyed = observe(1, axElementDestroyed, inbox);
    desktop.terminateApp(1);
    desktop.runDue();
    EXPECT_TRUE(seen.empty());
}

}  // namespace
}  // namespace quelto::sim
