// The status item's menu rendered from the core's model into a real NSMenu: every row's title,
// check mark, enabled state, key equivalent, separators and the "Quit when…" submenu, and a
// chosen item reaching the model. The model runs on the simulated desktop, so the menu's
// contents are known exactly.

#include <gtest/gtest.h>

#include <algorithm>

#import "app/StatusItemController.h"
#include "app/StatusItemModel.h"
#include "platform/macos/NSStrings.h"
#include "tests/macos/MacTestSupport.h"
#include "tests/ui/UiTestSupport.h"

namespace quelto {
namespace {

using mac::toNSString;
using mac::toStdString;
using uitest::app;
using uitest::entry;
using uitest::writeConfig;

class StatusMenuTest : public uitest::UiTest {
  protected:
    void TearDown() override {
        controller = nil;
        uitest::UiTest::TearDown();
    }

    // The menu as the controller fills it when it is about to open.
    NSMenu* openMenu() {
        if (!controller) controller = [[StatusItemController alloc] initWithModel:model];
        NSMenu* menu = [[NSMenu alloc] initWithTitle:@""];
        [controller menuNeedsUpdate:menu];
        return menu;
    }

    // Every item mirrors its row: separators, titles, check marks, enabled states, key
    // equivalents, submenus; rows with an action target the controller.
    void expectMirrors(NSMenu* menu, const std::vector<MenuRow>& rows) {
        ASSERT_EQ(static_cast<std::size_t>(menu.numberOfItems), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            NSMenuItem* item = [menu itemAtIndex:static_cast<NSInteger>(i)];
            const MenuRow& row = rows[i];
            SCOPED_TRACE(row.separator ? std::string("separator") : row.title);
            EXPECT_EQ(item.isSeparatorItem, row.separator);
            if (row.separator) continue;
            EXPECT_EQ(toStdString(item.title), row.title);
            EXPECT_EQ(item.state, row.checked ? NSControlStateValueOn : NSControlStateValueOff);
            EXPECT_EQ(item.isEnabled, row.enabled);
            EXPECT_EQ(toStdString(item.keyEquivalent), row.keyEquivalent);
            EXPECT_EQ(item.target == controller, row.action != MenuAction::none);
            EXPECT_EQ(item.hasSubmenu, !row.submenu.empty());
            if (!row.submenu.empty()) expectMirrors(item.submenu, row.submenu);
        }
    }

    static std::vector<std::string> titles(NSMenu* menu) {
        std::vector<std::string> out;
        for (NSMenuItem* item in menu.itemArray)
            out.push_back(item.isSeparatorItem ? "---" : toStdString(item.title));
        return out;
    }

    static NSMenuItem* itemTitled(NSMenu* menu, const std::string& title) {
        return [menu itemWithTitle:toNSString(title)];
    }

    StatusItemModel model{desktop.shellContext()};
    StatusItemController* controller = nil;
};

TEST_F(StatusMenuTest, TheMenuShowsTheModelsRowsInOrder) {
    writeConfig("live = true\n");
    NSMenu* menu = openMenu();
    EXPECT_EQ(titles(menu),
              (std::vector<std::string>{"Quelto is on", "No apps armed — nothing will quit", "---",
                                        "Start at login", "Quit when…", "---", "No activity yet",
                                        "---", "Check for Updates…", "Settings…", "Quit Quelto"}));
    expectMirrors(menu, model.menuNeedsUpdate());

    EXPECT_EQ(itemTitled(menu, "Quelto is on").state, NSControlStateValueOn);
    EXPECT_FALSE(itemTitled(menu, "No apps armed — nothing will quit").isEnabled);
    EXPECT_EQ(toStdString(itemTitled(menu, "Settings…").keyEquivalent), ",");
    EXPECT_EQ(toStdString(itemTitled(menu, "Quit Quelto").keyEquivalent), "q");
    EXPECT_EQ(itemTitled(menu, "Quit Quelto").keyEquivalentModifierMask,
              NSEventModifierFlagCommand);
}

TEST_F(StatusMenuTest, TheQuitWhenSubmenuChecksTheConfiguredMode) {
    writeConfig("arm = *\nmode = red-dot\n");
    NSMenu* menu = openMenu();
    NSMenuItem* quitWhen = itemTitled(menu, "Quit when…");
    ASSERT_NE(quitWhen, nil);
    ASSERT_TRUE(quitWhen.hasSubmenu);
    EXPECT_EQ(quitWhen.target, nil);
    EXPECT_EQ(titles(quitWhen.submenu),
              (std::vector<std::string>{"The last window closes", "The red dot is clicked"}));
    EXPECT_EQ([quitWhen.submenu itemAtIndex:0].state, NSControlStateValueOff);
    EXPECT_EQ([quitWhen.submenu itemAtIndex:1].state, NSControlStateValueOn);
    EXPECT_TRUE([[quitWhen.submenu itemAtIndex:0].representedObject isEqual:@"last-window"]);
    EXPECT_TRUE([[quitWhen.submenu itemAtIndex:1].representedObject isEqual:@"red-dot"]);
}

TEST_F(StatusMenuTest, TheFrontmostAppAndRecentActivityAreShown) {
    writeConfig("arm = *\nexclude = com.apple.Safari\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.setFrontmost(10);
    for (int i = 0; i < 7; ++i)
        Activity::shared().record(entry(Date{uitest::startSeconds + 9 * 3600 + i * 60},
                                        "App" + std::to_string(i), "red dot", "kept running",
                                        i == 6));
    NSMenu* menu = openMenu();
    expectMirrors(menu, model.menuNeedsUpdate());
    NSMenuItem* front = itemTitled(menu, "Stop excluding Safari");
    ASSERT_NE(front, nil);
    EXPECT_TRUE(front.isEnabled);
    EXPECT_EQ(front.target, controller);
    NSMenuItem* recent = itemTitled(menu, "Recent");
    ASSERT_NE(recent, nil);
    EXPECT_FALSE(recent.isEnabled);
    NSInteger first = [menu indexOfItem:recent] + 1;
    EXPECT_EQ(toStdString([menu itemAtIndex:first].title), "   10:06  App6 — quit");
    EXPECT_FALSE([menu itemAtIndex:first].isEnabled);
}

TEST_F(StatusMenuTest, TheMenuIsRebuiltEachTimeItOpens) {
    writeConfig("live = true\narm = *\n");
    NSMenu* menu = [[NSMenu alloc] initWithTitle:@""];
    controller = [[StatusItemController alloc] initWithModel:model];
    [controller menuNeedsUpdate:menu];
    const NSInteger rows = menu.numberOfItems;
    writeConfig("live = false\narm = *\n");
    [controller menuNeedsUpdate:menu];
    EXPECT_EQ(menu.numberOfItems, rows);  // rebuilt, not appended to
    EXPECT_EQ([menu itemAtIndex:0].state, NSControlStateValueOff);
}

TEST_F(StatusMenuTest, ChoosingAnItemReachesTheModel) {
    writeConfig("arm = *\n");
    NSMenu* menu = openMenu();
    NSMenuItem* redDot = [itemTitled(menu, "Quit when…").submenu itemAtIndex:1];
    ASSERT_NE(redDot, nil);
    [NSApp sendAction:redDot.action to:redDot.target from:redDot];
    EXPECT_EQ(desktop.config().load().mode, Config::Mode::redDot);
    EXPECT_TRUE(uitest::contains(takeLog(), "mode set to red-dot from the menu bar"));
}

TEST_F(StatusMenuTest, TheButtonShowsTheFallbackTitleAndTooltipWithoutImages) {
    // The test executable has no bundle resources, so the text fallback is drawn.
    writeConfig("live = true\narm = *\n");
    model.refreshIcon();
    openMenu();
    NSStatusItem* item = [controller valueForKey:@"item"];
    ASSERT_NE(item, nil);
    EXPECT_EQ(toStdString(item.button.title), "●");
    EXPECT_EQ(toStdString(item.button.toolTip), "Quelto — active");
    writeConfig("live = false\narm = *\n");
    model.refreshIcon();
    EXPECT_EQ(toStdString(item.button.title), "○");
    EXPECT_EQ(toStdString(item.button.toolTip), "Quelto — paused");
}

}  // namespace
}  // namespace quelto
