// The menu-bar status item on the simulated desktop: its icon, the menu rebuilt from the
// configuration each time it opens, and each action's effect.

#include <gtest/gtest.h>

#include <algorithm>

#include "app/MenuRendering.h"
#include "app/StatusItemModel.h"
#include "platform/BuildSettings.h"
#include "tests/ui/UiTestSupport.h"

namespace quelto {
namespace {

using uitest::app;
using uitest::entry;
using uitest::writeConfig;

class StatusItemTest : public uitest::UiTest {
  protected:
    std::vector<std::string> titles(const std::vector<MenuRow>& rows) {
        std::vector<std::string> out;
        for (const auto& r : rows) out.push_back(r.separator ? "---" : r.title);
        return out;
    }
};

TEST_F(StatusItemTest, ActiveWhenLiveAndEverythingArmed) {
    writeConfig("live = true\narm = *\n");
    StatusItemModel model(desktop.shellContext());
    EXPECT_TRUE(model.icon().active);
    EXPECT_EQ(model.icon().stateWord, "active");
    EXPECT_EQ(model.icon().imageName, "menubar-active");
    EXPECT_EQ(model.icon().fallbackTitle, "●");
    EXPECT_EQ(model.icon().toolTip, "Quelto — active");
    EXPECT_EQ(model.icon().accessibilityLabel, "Quelto is on");
}

TEST_F(StatusItemTest, ActiveWhenOneAppArmed) {
    writeConfig("live = true\narm = com.apple.Maps\n");
    EXPECT_TRUE(StatusItemModel(desktop.shellContext()).icon().active);
}

TEST_F(StatusItemTest, LiveButNothingArmedIsPausedWithWarningRow) {
    writeConfig("live = true\n");
    StatusItemModel model(desktop.shellContext());
    EXPECT_FALSE(model.icon().active);
    EXPECT_EQ(model.icon().stateWord, "paused");
    EXPECT_EQ(model.icon().imageName, "menubar-paused");
    EXPECT_EQ(model.icon().fallbackTitle, "○");
    EXPECT_EQ(model.icon().toolTip, "Quelto — paused");
    EXPECT_EQ(model.icon().accessibilityLabel, "Quelto is paused");

    auto rows = model.menuNeedsUpdate();
    ASSERT_GE(rows.size(), 3u);
    EXPECT_EQ(rows[0].title, "Quelto is on");
    EXPECT_TRUE(rows[0].checked);
    EXPECT_EQ(rows[1].title, "No apps armed — nothing will quit");
    EXPECT_FALSE(rows[1].enabled);
    EXPECT_EQ(rows[1].action, MenuAction::none);
    EXPECT_TRUE(rows[2].separator);
}

TEST_F(StatusItemTest, LiveOffShowsNoWarningRowEvenWithNothingArmed) {
    writeConfig("live = false\n");
    StatusItemModel model(desktop.shellContext());
    EXPECT_FALSE(model.icon().active);
    EXPECT_EQ(model.icon().toolTip, "Quelto — paused");
    EXPECT_EQ(model.icon().accessibilityLabel, "Quelto is paused");
    auto rows = model.menuNeedsUpdate();
    EXPECT_EQ(rows[0].title, "Quelto is on");
    EXPECT_FALSE(rows[0].checked);
    EXPECT_TRUE(rows[1].separator);
    for (const auto& r : rows) EXPECT_NE(r.title, "No apps armed — nothing will quit");
}

TEST_F(StatusItemTest, LiveOffWithEverythingArmedIsPaused) {
    writeConfig("live = false\narm = *\n");
    EXPECT_FALSE(StatusItemModel(desktop.shellContext()).icon().active);
}

TEST_F(StatusItemTest, MenuRowsInOrderWithActionsKeysAndSubmenu) {
    writeConfig("live = true\narm = *\nmode = red-dot\n");
    StatusItemModel model(desktop.shellContext());
    auto rows = model.menuNeedsUpdate();
    EXPECT_EQ(titles(rows),
              (std::vector<std::string>{"Quelto is on", "---", "Start at login", "Quit when…",
                                        "---", "No activity yet", "---", "Check for Updates…",
                                        "Settings…", "Quit Quelto"}));
    EXPECT_EQ(rows[0].action, MenuAction::toggleLive);
    EXPECT_EQ(rows[0].keyEquivalent, "");
    EXPECT_EQ(rows[2].action, MenuAction::toggleLoginItem);
    EXPECT_FALSE(rows[2].checked);
    EXPECT_EQ(rows[3].action, MenuAction::none);
    ASSERT_EQ(rows[3].submenu.size(), 2u);
    EXPECT_EQ(rows[3].submenu[0].title, "The last window closes");
    EXPECT_EQ(rows[3].submenu[0].representedObject, "last-window");
    EXPECT_EQ(rows[3].submenu[0].action, MenuAction::setMode);
    EXPECT_FALSE(rows[3].submenu[0].checked);
    EXPECT_EQ(rows[3].submenu[1].title, "The red dot is clicked");
    EXPECT_EQ(rows[3].submenu[1].representedObject, "red-dot");
    EXPECT_EQ(rows[3].submenu[1].action, MenuAction::setMode);
    EXPECT_TRUE(rows[3].submenu[1].checked);
    EXPECT_FALSE(rows[5].enabled);
    EXPECT_EQ(rows[7].action, MenuAction::checkForUpdates);
    EXPECT_EQ(rows[7].keyEquivalent, "");
    EXPECT_EQ(rows[8].action, MenuAction::openWindow);
    EXPECT_EQ(rows[8].keyEquivalent, ",");
    EXPECT_EQ(rows[9].action, MenuAction::quitApp);
    EXPECT_EQ(rows[9].keyEquivalent, "q");
    EXPECT_EQ(actionName(MenuAction::setMode), "setMode:");
}

TEST_F(StatusItemTest, StartAtLoginCheckedOnlyWhenEnabled) {
    writeConfig("arm = *\n");
    StatusItemModel model(desktop.shellContext());
    desktop.setLoginItemStatus(LoginItem::Status::enabled);
    EXPECT_TRUE(model.menuNeedsUpdate()[2].checked);
    desktop.setLoginItemStatus(LoginItem::Status::requiresApproval);
    EXPECT_FALSE(model.menuNeedsUpdate()[2].checked);
}

TEST_F(StatusItemTest, MenuIsRebuiltFromTheFileEachTime) {
    writeConfig("live = true\narm = *\n");
    StatusItemModel model(desktop.shellContext());
    EXPECT_TRUE(model.menuNeedsUpdate()[0].checked);
    writeConfig("live = false\narm = *\n");  // a hand edit
    EXPECT_FALSE(model.menuNeedsUpdate()[0].checked);
}

TEST_F(StatusItemTest, FrontmostRegularAppOffersNeverQuit) {
    writeConfig("arm = *\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.setFrontmost(10);
    StatusItemModel model(desktop.shellContext());
    auto rows = model.menuNeedsUpdate();
    ASSERT_GE(rows.size(), 6u);
    EXPECT_TRUE(rows[4].separator);
    EXPECT_EQ(rows[5].title, "Never quit Safari");
    EXPECT_EQ(rows[5].action, MenuAction::toggleFrontmost);
    EXPECT_TRUE(rows[5].enabled);

    writeConfig("arm = *\nexclude = com.apple.Safari\n");
    EXPECT_EQ(model.menuNeedsUpdate()[5].title, "Stop excluding Safari");
}

TEST_F(StatusItemTest, FrontmostWithoutNameShowsItsBundleIdentifier) {
    writeConfig("arm = *\n");
    desktop.addApp(app(10, "com.example.Nameless", std::nullopt));
    desktop.setFrontmost(10);
    EXPECT_EQ(StatusItemModel(desktop.shellContext()).menuNeedsUpdate()[5].title,
              "Never quit com.example.Nameless");
}

TEST_F(StatusItemTest, NoFrontmostRowForItselfAgentsOrAppsWithoutBundleID) {
    writeConfig("arm = *\n");
    StatusItemModel model(desktop.shellContext());
    const std::size_t baseline = model.menuNeedsUpdate().size();  // no frontmost application

    desktop.addApp(app(ownPid, build::bundleID, "Quelto"));
    desktop.setFrontmost(ownPid);
    EXPECT_EQ(model.menuNeedsUpdate().size(), baseline);

    desktop.addApp(app(20, "com.example.Agent", "Agent", ActivationPolicy::accessory));
    desktop.setFrontmost(20);
    EXPECT_EQ(model.menuNeedsUpdate().size(), baseline);

    desktop.addApp(app(30, std::nullopt, "Tool"));
    desktop.setFrontmost(30);
    auto rows = model.menuNeedsUpdate();
    EXPECT_EQ(rows.size(), baseline);
    for (const auto& r : rows) {
        EXPECT_NE(r.title.rfind("Never quit", 0), 0u) << r.title;
        EXPECT_NE(r.title.rfind("Stop excluding", 0), 0u) << r.title;
    }
}

TEST_F(StatusItemTest, SevenJournalEntriesGiveRecentAndFiveRowsNewestFirst) {
    writeConfig("arm = *\n");
    for (int i = 0; i < 7; ++i) {
        // 10:0i local (the desktop is one hour ahead of UTC).
        Date at{uitest::startSeconds + 9 * 3600 + i * 60 + 30};
        bool quit = i % 2 == 0;
        Activity::shared().record(entry(at, "App" + std::to_string(i), "red dot",
                                        quit ? "quit — last window" : "kept running", quit));
    }
    StatusItemModel model(desktop.shellContext());
    auto rows = model.menuNeedsUpdate();
    auto recent = std::find_if(rows.begin(), rows.end(),
                               [](const MenuRow& r) { return r.title == "Recent"; });
    ASSERT_NE(recent, rows.end());
    EXPECT_FALSE(recent->enabled);
    std::vector<std::string> shown;
    for (auto it = recent + 1; it != rows.end() && !it->separator; ++it) {
        EXPECT_FALSE(it->enabled);
        EXPECT_EQ(it->action, MenuAction::none);
        shown.push_back(it->title);
    }
    EXPECT_EQ(shown, (std::vector<std::string>{
                         "   10:06  App6 — quit",
                         "   10:05  App5 — kept running",
                         "   10:04  App4 — quit",
                         "   10:03  App3 — kept running",
                         "   10:02  App2 — quit",
                     }));
}

TEST_F(StatusItemTest, EmptyJournalShowsNoActivityYet) {
    auto rows = StatusItemModel(desktop.shellContext()).menuNeedsUpdate();
    auto it = std::find_if(rows.begin(), rows.end(),
                           [](const MenuRow& r) { return r.title == "No activity yet"; });
    ASSERT_NE(it, rows.end());
    EXPECT_FALSE(it->enabled);
}

TEST_F(StatusItemTest, ChoosingRedDotWritesTheModeAndLogsWithoutTouchingTheIcon) {
    writeConfig("live = true\narm = *\nmode = last-window\n");
    StatusItemModel model(desktop.shellContext());
    int iconUpdates = 0;
    model.onIconChanged = [&](const StatusIcon&) { ++iconUpdates; };
    const StatusIcon before = model.icon();

    auto rows = model.menuNeedsUpdate();
    model.perform(rows[3].submenu[1]);

    EXPECT_EQ(ConfigStore().load().mode, Config::Mode::redDot);
    EXPECT_NE(uitest::readConfig().find("mode = red-dot"), std::string::npos);
    EXPECT_EQ(takeLog(), (uitest::Lines{"mode set to red-dot from the menu bar"}));
    EXPECT_EQ(iconUpdates, 0);
    EXPECT_EQ(model.icon(), before);
    EXPECT_EQ(configChangedPosts, 0);
    EXPECT_TRUE(model.menuNeedsUpdate()[3].submenu[1].checked);
}

TEST_F(StatusItemTest, SetModeIgnoresAMissingOrUnknownRepresentedObject) {
    writeConfig("mode = last-window\n");
    const std::string before = uitest::readConfig();
    StatusItemModel model(desktop.shellContext());
    model.setMode(std::nullopt);
    model.setMode(std::string("Red-Dot"));
    model.perform(MenuAction::setMode, std::string("reddot"));
    EXPECT_EQ(uitest::readConfig(), before);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(StatusItemTest, ToggleLiveSavesRefreshesThePostsAndLogs) {
    writeConfig("live = true\narm = *\n");
    StatusItemModel model(desktop.shellContext());
    std::vector<StatusIcon> icons;
    model.onIconChanged = [&](const StatusIcon& icon) { icons.push_back(icon); };

    model.perform(MenuAction::toggleLive);
    EXPECT_FALSE(ConfigStore().load().live);
    ASSERT_EQ(icons.size(), 1u);
    EXPECT_EQ(icons[0].stateWord, "paused");
    EXPECT_EQ(configChangedPosts, 1);
    EXPECT_EQ(takeLog(), (uitest::Lines{"turned off from the menu bar"}));

    model.toggleLive();
    EXPECT_TRUE(ConfigStore().load().live);
    EXPECT_EQ(model.icon().stateWord, "active");
    EXPECT_EQ(configChangedPosts, 2);
    EXPECT_EQ(takeLog(), (uitest::Lines{"turned on from the menu bar"}));
}

TEST_F(StatusItemTest, ToggleFrontmostExcludesAndIncludesWithoutNotification) {
    writeConfig("arm = *\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.setFrontmost(10);
    StatusItemModel model(desktop.shellContext());

    model.perform(MenuAction::toggleFrontmost);
    EXPECT_EQ(ConfigStore().load().excluded, (std::set<std::string>{"com.apple.Safari"}));
    EXPECT_EQ(takeLog(), (uitest::Lines{"Safari will never be quit"}));

    model.toggleFrontmost();
    EXPECT_TRUE(ConfigStore().load().excluded.empty());
    EXPECT_EQ(takeLog(), (uitest::Lines{"Safari is no longer excluded"}));
    EXPECT_EQ(configChangedPosts, 0);
}

TEST_F(StatusItemTest, ToggleFrontmostWithoutFrontmostOrBundleIDDoesNothing) {
    writeConfig("arm = *\n");
    const std::string before = uitest::readConfig();
    StatusItemModel model(desktop.shellContext());
    model.toggleFrontmost();
    desktop.addApp(app(30, std::nullopt, "Tool"));
    desktop.setFrontmost(30);
    model.toggleFrontmost();
    EXPECT_EQ(uitest::readConfig(), before);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(StatusItemTest, ToggleLoginItemRegistersAndUnregisters) {
    StatusItemModel model(desktop.shellContext());
    model.perform(MenuAction::toggleLoginItem);
    EXPECT_EQ(desktop.status(), LoginItem::Status::enabled);
    EXPECT_EQ(takeLog(), (uitest::Lines{"will start at login"}));

    model.toggleLoginItem();
    EXPECT_EQ(desktop.status(), LoginItem::Status::notRegistered);
    EXPECT_EQ(takeLog(), (uitest::Lines{"will no longer start at login"}));
    EXPECT_TRUE(desktop.shownAlerts().empty());
}

TEST_F(StatusItemTest, LoginItemFailureLogsAndShowsTheAlert) {
    desktop.setLoginItemError("The operation couldn’t be completed.");
    StatusItemModel model(desktop.shellContext());
    model.toggleLoginItem();
    EXPECT_EQ(takeLog(), (uitest::Lines{"could not change the login item: The operation "
                                        "couldn’t be completed."}));
    // The alert starts from the run loop, once the menu's action has returned.
    EXPECT_TRUE(desktop.shownAlerts().empty());
    desktop.runDue();
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(desktop.shownAlerts()[0].messageText, "Couldn’t change the login setting");
    EXPECT_EQ(desktop.shownAlerts()[0].informativeText,
              "The operation couldn’t be completed.\n\nYou can also set this yourself in System "
              "Settings → General → Login Items.");
    // The check mark follows the service's real status.
    EXPECT_FALSE(model.menuNeedsUpdate()[2].checked);
}

TEST_F(StatusItemTest, OpenWindowAndQuitGoThroughTheirCallbacks) {
    StatusItemModel model(desktop.shellContext());
    model.perform(MenuAction::openWindow);  // no callback yet: nothing happens
    int opened = 0, quits = 0;
    model.onOpenWindow = [&] { ++opened; };
    model.onQuit = [&] { ++quits; };
    model.perform(MenuAction::openWindow);
    model.perform(MenuAction::quitApp);
    model.perform(MenuAction::none);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(quits, 1);
}

TEST_F(StatusItemTest, CheckForUpdatesStartsACheck) {
    StatusItemModel model(desktop.shellContext());
    model.perform(MenuAction::checkForUpdates);
    auto lines = takeLog();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].rfind("checking for updates (this build is ", 0), 0u) << lines[0];
    desktop.advance(1);  // the reply (a failure here) ends in one alert
    EXPECT_EQ(desktop.shownAlerts().size(), 1u);
}

TEST_F(StatusItemTest, RendersTheMenuAsText) {
    writeConfig("live = true\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.setFrontmost(10);
    Activity::shared().record(entry(Date{uitest::startSeconds + 60}, "Mail", "red dot",
                                    "excluded — kept running", false));
    StatusItemModel model(desktop.shellContext());
    EXPECT_EQ(renderMenu(model.menuNeedsUpdate()),
              "✓ Quelto is on\n"
              "  No apps armed — nothing will quit  (disabled)\n"
              "────────────────────────\n"
              "  Start at login\n"
              "  Quit when… ▸\n"
              "    ✓ The last window closes\n"
              "      The red dot is clicked\n"
              "────────────────────────\n"
              "  Never quit Safari\n"
              "────────────────────────\n"
              "  Recent  (disabled)\n"
              "     01:01  Mail — excluded — kept running  (disabled)\n"
              "────────────────────────\n"
              "  Check for Updates…\n"
              "  Settings…  ⌘,\n"
              "  Quit Quelto  ⌘Q\n");
}

}  // namespace
}  // namespace quelto
