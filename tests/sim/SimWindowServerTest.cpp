// The window server's list on the simulated desktop: every window front to back with its
// owner, number, bounds, layer and on-screen flag; the current Space's on-screen windows, or
// every window of every Space.

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto::sim {
namespace {

class SimWindowServer : public ::testing::Test {
  protected:
    SimWindowServer() {
        desktop.addApp(testing::app(1, "Mail"));
        desktop.addApp(testing::app(2, "Notes"));
        inbox = desktop.addWindow(1, testing::window("Inbox", Rect{{100, 100}, {600, 400}}));
        ideas = desktop.addWindow(2, testing::window("Ideas", Rect{{300, 200}, {600, 400}}));
    }
    SimDesktop desktop;
    ElementId inbox = 0, ideas = 0;
};

TEST_F(SimWindowServer, ListsTheWindowsFrontToBackWithOwnerNumberBoundsAndLayer) {
    auto list = desktop.windowList(WindowListScope::onScreenCurrentSpace);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0], (WindowServerWindow{2, *desktop.windowNumber(ideas),
                                           Rect{{300, 200}, {600, 400}}, 0, true}));
    EXPECT_EQ(list[1], (WindowServerWindow{1, *desktop.windowNumber(inbox),
                                           Rect{{100, 100}, {600, 400}}, 0, true}));
    EXPECT_NE(list[0].number, list[1].number);
}

TEST_F(SimWindowServer, OffScreenWindowsAreListedOnlyWithAllSpacesAfterTheOnScreenOnes) {
    desktop.addApp(testing::app(3, "Music"));
    ElementId library = desktop.addWindow(3, testing::window("Library"));
    ElementId queue = desktop.addWindow(3, testing::window("Queue"));
    desktop.minimizeWindow(library);
    desktop.moveWindowToSpace(queue, 2);
    desktop.hideApp(2);
    auto onScreen = desktop.windowList(WindowListScope::onScreenCurrentSpace);
    ASSERT_EQ(onScreen.size(), 1u);
    EXPECT_EQ(onScreen[0].ownerPid, 1);
    auto all = desktop.windowList(WindowListScope::allSpaces);
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0].ownerPid, 1);
    EXPECT_TRUE(all[0].onScreen);
    for (std::size_t i = 1; i < all.size(); ++i) EXPECT_FALSE(all[i].onScreen);
    EXPECT_EQ(all[1].number, *desktop.windowNumber(queue));
    EXPECT_EQ(all[2].number, *desktop.windowNumber(library));
    EXPECT_EQ(all[3].number, *desktop.windowNumber(ideas));
}

TEST_F(SimWindowServer, ASheetIsAWindowJustInFrontOfItsOwn) {
    ElementId sheet = desktop.showSheet(inbox);
    auto list = desktop.windowList(WindowListScope::onScreenCurrentSpace);
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[1].number, *desktop.windowNumber(sheet));
    EXPECT_EQ(list[1].ownerPid, 1);
    EXPECT_EQ(list[2].number, *desktop.windowNumber(inbox));
}

TEST_F(SimWindowServer, ClosedWindowsAndQuitAppsLeaveTheList) {
    desktop.closeWindowWithoutClick(ideas);
    desktop.terminateApp(1);
    EXPECT_TRUE(desktop.windowList(WindowListScope::allSpaces).empty());
}

TEST_F(SimWindowServer, ReadsAreCountedAndCostNoAccessibilityRead) {
    desktop.resetCounters();
    desktop.windowList(WindowListScope::allSpaces);
    desktop.windowList(WindowListScope::onScreenCurrentSpace);
    EXPECT_EQ(desktop.windowListReadCount(), 2u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(SimWindowServer, HandedOutAsTheEnginesWindowServer) {
    WindowServer* server = desktop.context().windowServer;
    ASSERT_EQ(server, static_cast<WindowServer*>(&desktop));
    EXPECT_EQ(server->windowList(WindowListScope::allSpaces).size(), 2u);
}

TEST_F(SimWindowServer, WindowAtIsTheFrontmostOnScreenWindowOfTheOrdinaryLayer) {
    auto list = desktop.windowList(WindowListScope::allSpaces);
    EXPECT_EQ(windowAt(list, Point{400, 300})->ownerPid, 2);
    EXPECT_EQ(windowAt(list, Point{150, 150})->ownerPid, 1);
    EXPECT_FALSE(windowAt(list, Point{50, 50}));
    desktop.hideApp(2);
    list = desktop.windowList(WindowListScope::allSpaces);
    EXPECT_EQ(windowAt(list, Point{400, 300})->ownerPid, 1);
    // Other layers (menus, the menu bar) are passed over.
    std::vector<WindowServerWindow> withMenu = {{7, 1, Rect{{0, 0}, {2000, 2000}}, 25, true},
                                                {1, 2, Rect{{0, 0}, {10, 10}}, 0, true}};
    EXPECT_EQ(windowAt(withMenu, Point{5, 5})->number, 2u);
}

TEST_F(SimWindowServer, WindowsAboveListsWhatIsInFrontAtEveryLayerDownToTheWindow) {
    desktop.addApp(testing::app(3, "Clock"));
    WindowDescription floating = testing::window("Clock", Rect{{0, 0}, {100, 100}});
    floating.layer = 3;
    ElementId clock = desktop.addWindow(3, floating);
    // Added last but drawn behind the floating window, and in front of the others.
    ElementId drafts = desktop.addWindow(1, testing::window("Drafts"));
    auto above = desktop.windowsAbove(*desktop.windowNumber(ideas));
    ASSERT_EQ(above.size(), 3u);
    EXPECT_EQ(above[0].number, *desktop.windowNumber(clock));
    EXPECT_EQ(above[1].number, *desktop.windowNumber(drafts));
    EXPECT_EQ(above[2].number, *desktop.windowNumber(ideas));
    // The floating window has nothing above it but itself.
    ASSERT_EQ(desktop.windowsAbove(*desktop.windowNumber(clock)).size(), 1u);
    EXPECT_EQ(desktop.windowsAboveReadCount(), 2u);
}

TEST_F(SimWindowServer, WindowsAboveAWindowNotOnScreenOrUnknownIsNothing) {
    desktop.minimizeWindow(inbox);
    EXPECT_TRUE(desktop.windowsAbove(*desktop.windowNumber(inbox)).empty());
    std::uint32_t number = *desktop.windowNumber(ideas);
    desktop.destroyWindow(ideas);
    EXPECT_TRUE(desktop.windowsAbove(number).empty());
    EXPECT_TRUE(desktop.windowsAbove(99999).empty());
}

TEST_F(SimWindowServer, WindowsAboveASheetEndWithTheSheet) {
    ElementId sheet = desktop.showSheet(inbox);
    auto above = desktop.windowsAbove(*desktop.windowNumber(sheet));
    ASSERT_EQ(above.size(), 2u);
    EXPECT_EQ(above[0].number, *desktop.windowNumber(ideas));
    EXPECT_EQ(above[1].number, *desktop.windowNumber(sheet));
}

}  // namespace
}  // namespace quelto::sim
