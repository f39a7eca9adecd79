// The settings window's frame and its General and Apps tabs on the simulated desktop.

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "platform/BuildSettings.h"
#include "tests/ui/UiTestSupport.h"
#include "ui/MainWindowModel.h"
#include "ui/TabRendering.h"

namespace quelto {
namespace {

using uitest::app;
using uitest::Lines;
using uitest::writeConfig;
using Row = MainWindowModel::AppRow;

class SettingsWindowTest : public uitest::UiTest {
  protected:
    std::vector<std::string> names(const MainWindowModel& model) {
        std::vector<std::string> out;
        for (const auto& r : model.appRows()) out.push_back(r.name);
        return out;
    }
    const Row* row(const MainWindowModel& model, const std::string& bundleID) {
        for (const auto& r : model.appRows())
            if (r.bundleID == bundleID) return &r;
        return nullptr;
    }
};

TEST_F(SettingsWindowTest, FrameAndTabs) {
    const auto& f = MainWindowModel::frame();
    EXPECT_EQ(f.title, "Quelto");
    EXPECT_EQ(f.width, 580);
    EXPECT_EQ(f.height, 560);
    EXPECT_EQ(f.autosaveName, "QueltoMainWindow");
    EXPECT_EQ(f.margin, 12);
    std::vector<std::string> labels, ids;
    for (const auto& t : f.tabs) {
        labels.push_back(t.label);
        ids.push_back(t.identifier);
    }
    EXPECT_EQ(labels, (std::vector<std::string>{"General", "Apps", "Activity", "Help", "About"}));
    EXPECT_EQ(ids, (std::vector<std::string>{"general", "apps", "activity", "help", "about"}));
}

TEST_F(SettingsWindowTest, SelectIgnoresUnknownTabs) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(model.selectedTab(), "general");
    model.select("help");
    EXPECT_EQ(model.selectedTab(), "help");
    model.select("Help");
    model.select("");
    EXPECT_EQ(model.selectedTab(), "help");
}

TEST_F(SettingsWindowTest, RefreshSetsEveryGeneralControl) {
    writeConfig("live = true\nmode = red-dot\nescape = none\narm = *\n");
    MainWindowModel model(desktop.shellContext());
    MainWindowModel::GeneralState g = model.general();
    EXPECT_TRUE(g.liveOn);
    EXPECT_EQ(g.statusLabel, "Quelto is active");
    EXPECT_EQ(g.modeSegment, 1);
    EXPECT_EQ(g.escapeIndex, 2);
    EXPECT_FALSE(g.loginChecked);
    EXPECT_EQ(g.loginTitle, "Start Quelto when I log in");

    writeConfig("live = false\nescape = option\n");
    desktop.setLoginItemStatus(LoginItem::Status::requiresApproval);
    model.refresh();
    g = model.general();
    EXPECT_FALSE(g.liveOn);
    EXPECT_EQ(g.statusLabel, "Quelto is paused");
    EXPECT_EQ(g.modeSegment, 0);
    EXPECT_EQ(g.escapeIndex, 1);
    EXPECT_TRUE(g.loginChecked);
    EXPECT_EQ(g.loginTitle, "Start Quelto when I log in — needs approval in System Settings");

    desktop.setLoginItemStatus(LoginItem::Status::enabled);
    model.refresh();
    EXPECT_TRUE(model.general().loginChecked);
    EXPECT_EQ(model.general().loginTitle, "Start Quelto when I log in");
}

TEST_F(SettingsWindowTest, RunningBuiltInAppIsCheckedDisabledAndAlwaysProtected) {
    desktop.addApp(app(10, "com.apple.finder", "Finder"));
    MainWindowModel model(desktop.shellContext());
    const Row* finder = row(model, "com.apple.finder");
    ASSERT_NE(finder, nullptr);
    EXPECT_TRUE(finder->builtIn);
    EXPECT_FALSE(finder->excluded);
    auto box = MainWindowModel::excludeBox(*finder);
    EXPECT_EQ(box.identifier, "com.apple.finder");
    EXPECT_TRUE(box.checked);
    EXPECT_FALSE(box.enabled);
    EXPECT_EQ(box.toolTip, "Always protected");
    EXPECT_EQ(box.accessibilityLabel, "Never quit Finder");
}

TEST_F(SettingsWindowTest, BuiltInAppAlsoExcludedStaysEnabledSoTheUserCanRemoveIt) {
    writeConfig("exclude = com.apple.finder\n");
    desktop.addApp(app(10, "com.apple.finder", "Finder"));
    MainWindowModel model(desktop.shellContext());
    const Row* finder = row(model, "com.apple.finder");
    ASSERT_NE(finder, nullptr);
    auto box = MainWindowModel::excludeBox(*finder);
    EXPECT_TRUE(box.checked);
    EXPECT_TRUE(box.enabled);
    EXPECT_EQ(box.toolTip, "Always protected");

    model.toggleExclusion("com.apple.finder", false);
    EXPECT_TRUE(ConfigStore().load().excluded.empty());
    // The box shows what the user clicked, and stays clickable, until the table reloads…
    box = MainWindowModel::excludeBox(*row(model, "com.apple.finder"));
    EXPECT_FALSE(box.checked);
    EXPECT_TRUE(box.enabled);
    EXPECT_EQ(box.toolTip, "Always protected");
    // …which shows the built-in protection that remains.
    model.refresh();
    box = MainWindowModel::excludeBox(*row(model, "com.apple.finder"));
    EXPECT_TRUE(box.checked);
    EXPECT_FALSE(box.enabled);
}

TEST_F(SettingsWindowTest, ClickedBoxKeepsTheUsersStateUntilTheNextReload) {
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    MainWindowModel model(desktop.shellContext());
    model.toggleExclusion("com.apple.Safari", true);
    auto box = MainWindowModel::excludeBox(*row(model, "com.apple.Safari"));
    EXPECT_TRUE(box.checked);
    EXPECT_TRUE(box.enabled);
    EXPECT_EQ(row(model, "com.apple.Safari")->clicked, true);
    model.refresh();
    EXPECT_EQ(row(model, "com.apple.Safari")->clicked, std::nullopt);
    box = MainWindowModel::excludeBox(*row(model, "com.apple.Safari"));
    EXPECT_TRUE(box.checked);
    EXPECT_TRUE(box.enabled);
}

TEST_F(SettingsWindowTest, OrdinaryRowsAreUncheckedEnabledWithoutTooltip) {
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    MainWindowModel model(desktop.shellContext());
    auto box = MainWindowModel::excludeBox(*row(model, "com.apple.Safari"));
    EXPECT_FALSE(box.checked);
    EXPECT_TRUE(box.enabled);
    EXPECT_EQ(box.toolTip, std::nullopt);
    auto cell = MainWindowModel::nameCell(*row(model, "com.apple.Safari"));
    EXPECT_EQ(cell.text, "Safari");
    EXPECT_EQ(cell.color, TextColor::primary);
    EXPECT_EQ(cell.toolTip, "com.apple.Safari");
}

TEST_F(SettingsWindowTest, ExcludedAppNotRunningComesAfterRunningAppsInSecondaryColour) {
    writeConfig("exclude = com.apple.Notes\nexclude = com.example.Gone\n");
    desktop.installApplication("/System/Applications/Notes.app", "com.apple.Notes", "Notes.app");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.addApp(app(11, "com.apple.TextEdit", "TextEdit"));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model),
              (std::vector<std::string>{"Safari", "TextEdit", "com.example.Gone", "Notes"}));
    const Row* notes = row(model, "com.apple.Notes");
    ASSERT_NE(notes, nullptr);
    EXPECT_FALSE(notes->running);
    EXPECT_TRUE(notes->excluded);
    auto cell = MainWindowModel::nameCell(*notes);
    EXPECT_EQ(cell.color, TextColor::secondary);
    EXPECT_EQ(cell.toolTip, "com.apple.Notes");
    auto box = MainWindowModel::excludeBox(*notes);
    EXPECT_TRUE(box.checked);
    EXPECT_TRUE(box.enabled);
}

TEST_F(SettingsWindowTest, TwoInstancesOfOneAppGiveOneRow) {
    desktop.addApp(app(10, "com.example.Editor", "Editor"));
    desktop.addApp(app(11, "com.example.Editor", "Editor"));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model), (std::vector<std::string>{"Editor"}));
}

TEST_F(SettingsWindowTest, ListsOnlyRegularAppsWithABundleIDOtherThanItself) {
    desktop.addApp(app(ownPid, build::bundleID, "Quelto"));
    desktop.addApp(app(10, "com.example.Agent", "Agent", ActivationPolicy::accessory));
    desktop.addApp(app(11, std::nullopt, "Tool"));
    desktop.addApp(app(12, "com.example.Named", std::nullopt));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model), (std::vector<std::string>{"com.example.Named"}));
}

TEST_F(SettingsWindowTest, OwnIdentifierComesFromTheBundleFirst) {
    desktop.setBundleInfo("CFBundleIdentifier", "com.example.QueltoDev");
    desktop.addApp(app(10, build::bundleID, "Release Quelto"));
    desktop.addApp(app(11, "com.example.QueltoDev", "Quelto"));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model), (std::vector<std::string>{"Release Quelto"}));
}

TEST_F(SettingsWindowTest, RowsSortByNameIgnoringCaseRunningFirst) {
    writeConfig("exclude = com.example.a\n");
    desktop.addApp(app(10, "com.example.g", "gamma"));
    desktop.addApp(app(11, "com.example.B", "Beta"));
    desktop.addApp(app(12, "com.example.al", "alpha"));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model), (std::vector<std::string>{"alpha", "Beta", "gamma", "com.example.a"}));
}

TEST_F(SettingsWindowTest, RowsSortAsTheMacDoesAccentsCaseAndScripts) {
    writeConfig("exclude = com.example.ouzo\n");
    desktop.installApplication("/Applications/Ouzo.app", "com.example.ouzo", "Ούζο.app");
    desktop.addApp(app(10, "com.example.zed", "Zed"));
    desktop.addApp(app(11, "com.example.apfel", "Äpfel"));
    desktop.addApp(app(12, "com.example.apple", "apple"));
    desktop.addApp(app(13, "com.example.zhuk", "Жук"));
    desktop.addApp(app(14, "com.example.eclair", "Éclair"));
    desktop.addApp(app(15, "com.example.elia", "ελιά"));
    desktop.addApp(app(16, "com.example.edit", "edit"));
    desktop.addApp(app(17, "com.example.app10", "App 10"));
    desktop.addApp(app(18, "com.example.app9", "App 9"));
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(names(model), (std::vector<std::string>{"Äpfel", "App 9", "App 10", "apple", "Éclair",
                                                      "edit", "Zed", "ελιά", "Жук", "Ούζο"}));
}

TEST_F(SettingsWindowTest, BuiltInAppsNotRunningAndNotExcludedAreNotListed) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_TRUE(model.appRows().empty());
}

TEST_F(SettingsWindowTest, ListChangesOnlyOnRefresh) {
    MainWindowModel model(desktop.shellContext());
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    EXPECT_TRUE(model.appRows().empty());
    model.refresh();
    EXPECT_EQ(names(model), (std::vector<std::string>{"Safari"}));
}

TEST_F(SettingsWindowTest, ToggleExclusionSavesUpdatesTheRowAndPosts) {
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    MainWindowModel model(desktop.shellContext());
    std::vector<MainWindowModel::Change> changes;
    model.onChange = [&](MainWindowModel::Change c) { changes.push_back(c); };

    model.toggleExclusion("com.apple.Safari", true);
    EXPECT_EQ(ConfigStore().load().excluded, (std::set<std::string>{"com.apple.Safari"}));
    EXPECT_TRUE(row(model, "com.apple.Safari")->excluded);
    EXPECT_EQ(configChangedPosts, 1);
    EXPECT_EQ(changes, (std::vector<MainWindowModel::Change>{MainWindowModel::Change::appRow}));
    EXPECT_TRUE(takeLog().empty());

    model.toggleExclusion("com.apple.Safari", false);
    EXPECT_TRUE(ConfigStore().load().excluded.empty());
    EXPECT_FALSE(row(model, "com.apple.Safari")->excluded);
    EXPECT_EQ(configChangedPosts, 2);

    model.toggleExclusion("", true);
    EXPECT_EQ(configChangedPosts, 2);
}

TEST_F(SettingsWindowTest, AddingThreeAppsOneUnreadable) {
    desktop.installApplication("/Applications/Zeta.app", "com.example.Zeta", "Zeta.app");
    desktop.installApplication("/Applications/Broken.app", std::nullopt, "Broken.app");
    desktop.installApplication("/Applications/Alpha.app", "com.example.Alpha", "Alpha.app");
    MainWindowModel model(desktop.shellContext());
    model.addAppClicked();
    model.addApp({"/Applications/Zeta.app", "/Applications/Broken.app", "/Applications/Alpha.app"});
    EXPECT_EQ(takeLog(),
              (Lines{"Add App… clicked", "could not read a bundle identifier from Broken.app",
                     "will never quit: Zeta, Alpha"}));
    EXPECT_EQ(ConfigStore().load().excluded,
              (std::set<std::string>{"com.example.Alpha", "com.example.Zeta"}));
    EXPECT_EQ(configChangedPosts, 1);
    // Refreshed: the new exclusions are listed.
    EXPECT_EQ(names(model), (std::vector<std::string>{"Alpha", "Zeta"}));
}

TEST_F(SettingsWindowTest, AddingOnlyUnreadableAppsSavesNothing) {
    writeConfig("live = true\n# my comment\n");
    MainWindowModel model(desktop.shellContext());
    model.addApp({"/Applications/Nothing.app/"});
    model.addApp({});
    EXPECT_EQ(takeLog(), (Lines{"could not read a bundle identifier from Nothing.app"}));
    EXPECT_EQ(uitest::readConfig(), "live = true\n# my comment\n");
    EXPECT_EQ(configChangedPosts, 0);
}

TEST_F(SettingsWindowTest, OpenPanelDescription) {
    const auto& p = MainWindowModel::addAppPanel();
    EXPECT_EQ(p.title, "Choose an app Quelto should never quit");
    EXPECT_EQ(p.prompt, "Never Quit");
    EXPECT_EQ(p.message,
              "Pick one or more apps that should keep running when you close their last window.");
    EXPECT_TRUE(p.allowsMultipleSelection);
    EXPECT_TRUE(p.canChooseFiles);
    EXPECT_FALSE(p.canChooseDirectories);
    EXPECT_FALSE(p.treatsFilePackagesAsDirectories);
    EXPECT_EQ(p.directory, "/Applications");
}

TEST_F(SettingsWindowTest, ChangingTheModePostsNothingButTheSwitchDoes) {
    writeConfig("live = true\narm = *\n");
    MainWindowModel model(desktop.shellContext());
    model.changeQuitMode(1);
    EXPECT_EQ(ConfigStore().load().mode, Config::Mode::redDot);
    EXPECT_EQ(configChangedPosts, 0);
    model.changeQuitMode(0);
    EXPECT_EQ(ConfigStore().load().mode, Config::Mode::lastWindow);
    EXPECT_EQ(configChangedPosts, 0);

    int refreshes = 0;
    model.onChange = [&](MainWindowModel::Change c) {
        if (c == MainWindowModel::Change::all) ++refreshes;
    };
    model.toggleLive(false);
    EXPECT_FALSE(ConfigStore().load().live);
    EXPECT_EQ(configChangedPosts, 1);
    EXPECT_EQ(refreshes, 1);
    EXPECT_EQ(model.general().statusLabel, "Quelto is paused");
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(SettingsWindowTest, ChangeEscapeTakesOnlyTheThreePositions) {
    MainWindowModel model(desktop.shellContext());
    model.changeEscape(1);
    EXPECT_EQ(ConfigStore().load().escape, Config::Escape::option);
    model.changeEscape(2);
    EXPECT_EQ(ConfigStore().load().escape, Config::Escape::none);
    const std::string before = uitest::readConfig();
    model.changeEscape(-1);
    model.changeEscape(3);
    EXPECT_EQ(uitest::readConfig(), before);
    model.changeEscape(0);
    EXPECT_EQ(ConfigStore().load().escape, Config::Escape::shift);
    EXPECT_EQ(configChangedPosts, 0);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(SettingsWindowTest, LoginBoxRegistersAndShowsTheRealStatus) {
    MainWindowModel model(desktop.shellContext());
    model.toggleLoginItem(true);
    EXPECT_EQ(takeLog(), (Lines{"will start at login"}));
    EXPECT_TRUE(model.general().loginChecked);
    model.toggleLoginItem(false);
    EXPECT_EQ(takeLog(), (Lines{"will no longer start at login"}));
    EXPECT_FALSE(model.general().loginChecked);
}

TEST_F(SettingsWindowTest, LoginBoxFailureAlertsAndPutsTheBoxBack) {
    MainWindowModel model(desktop.shellContext());
    desktop.setLoginItemError("Access denied");
    model.toggleLoginItem(true);
    EXPECT_EQ(takeLog(), (Lines{"could not change the login item: Access denied"}));
    desktop.runDue();  // the alert starts from the run loop
    ASSERT_EQ(desktop.shownAlerts().size(), 1u);
    EXPECT_EQ(
        desktop.shownAlerts()[0],
        (AlertDescription{"Couldn’t change the login setting",
                          "Access denied\n\nYou can also set this yourself in System Settings → "
                          "General → Login Items.",
                          {}}));
    EXPECT_FALSE(model.general().loginChecked);
}

TEST_F(SettingsWindowTest, GeneralTabRendersItsControls) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(renderTab(model, "general"),
              "[AppIcon image]\n"
              "Quelto\n"
              "Quits an app when you close its last window.\n"
              "────────────────────────────────────────\n"
              "[switch: on]  Quelto is active\n"
              "While Quelto is off, nothing is ever quit. It keeps watching and recording, so the "
              "Activity tab still shows what it would have done.\n"
              "────────────────────────────────────────\n"
              "Quit an app when\n"
              "segments: ( ) Its last window closes | (•) Its red dot is clicked\n"
              "“Red dot” quits the app even when other windows are open, and leaves ⌘W closing "
              "windows without quitting.\n"
              "────────────────────────────────────────\n"
              "Close a window without quitting\n"
              "pop-up: (•) Hold Shift | ( ) Hold Option | ( ) No shortcut\n"
              "Option is offered but not recommended: macOS already uses ⌥-click on the red dot "
              "to close every window of an app, which would leave it running with nothing on "
              "screen.\n"
              "────────────────────────────────────────\n"
              "[ ] Start Quelto when I log in\n"
              "Without this, Quelto has to be opened from the Applications folder after every "
              "restart.\n");
    EXPECT_EQ(renderTab(model, "nonsense"), "");
}

TEST_F(SettingsWindowTest, AppsTabRendersTheTable) {
    writeConfig("exclude = com.example.Gone\n");
    desktop.addApp(app(10, "com.apple.finder", "Finder"));
    desktop.addApp(app(11, "com.apple.Safari", "Safari"));
    MainWindowModel model(desktop.shellContext());
    std::string text = renderTab(model, "apps");
    EXPECT_NE(text.find("Apps Quelto will never quit\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Finder                            [✓] (disabled) «Always protected»  "
                        "com.apple.finder\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("  Safari                            [ ]  com.apple.Safari\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("  com.example.Gone                  [✓]  com.example.Gone  (dimmed)\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("[Add App…]\n"), std::string::npos);
    EXPECT_NE(text.find("Protect an app that isn’t running — the list above only shows open "
                        "apps.\n"),
              std::string::npos);
}

TEST_F(SettingsWindowTest, WindowRenderingMarksTheSelectedTab) {
    MainWindowModel model(desktop.shellContext());
    model.select("about");
    std::string text = renderWindow(model);
    EXPECT_EQ(text.rfind("Window “Quelto” 580 × 560\nGeneral  Apps  Activity  Help  [About]\n", 0),
              0u)
        << text;
}

// VoiceOver reads a title where a control shows one; the switch, the images and the health
// checks' icons show none, so each carries a label of its own.
TEST_F(SettingsWindowTest, EveryControlAndImageWithoutATitleHasAnAccessibilityLabel) {
    desktop.setTrusted(false);
    writeConfig("live = true\narm = *\n");
    MainWindowModel model(desktop.shellContext());
    model.refresh();
    std::vector<std::pair<std::string, std::string>> labelled;  // kind or id, label
    std::function<void(const std::vector<ViewElement>&)> walk = [&](const auto& elements) {
        for (const ViewElement& e : elements) {
            switch (e.kind) {
                case ViewElement::Kind::image:
                    labelled.emplace_back("image " + e.text, e.accessibilityLabel);
                    break;
                case ViewElement::Kind::switchControl:
                case ViewElement::Kind::healthCheck:
                    labelled.emplace_back(e.id, e.accessibilityLabel);
                    break;
                case ViewElement::Kind::segmentedControl:
                case ViewElement::Kind::popUpButton:
                case ViewElement::Kind::checkBox:
                case ViewElement::Kind::button:
                case ViewElement::Kind::linkButton:
                    // Their segments, items and titles are what VoiceOver reads.
                    EXPECT_TRUE(!e.text.empty() || !e.items.empty()) << e.id;
                    break;
                default:
                    break;
            }
            walk(e.children);
        }
    };
    for (const char* tab : {"general", "apps", "activity", "help", "about"})
        walk(model.content(tab).elements);
    using Labels = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(labelled, (Labels{{"image AppIcon", "Quelto app icon"},
                                {"liveSwitch", "Quelto on or off"},
                                {"check.0", "Needs attention"},
                                {"check.1", "Passed"},
                                {"check.2", "Needs attention"},
                                {"image AppIcon", "Quelto app icon"}}));
    EXPECT_EQ(MainWindowModel::healthCheckIconLabel(true), "Passed");
    EXPECT_EQ(MainWindowModel::healthCheckIconLabel(false), "Needs attention");
}

TEST_F(SettingsWindowTest, ContentNamesTheControlsAndTheirActions) {
    MainWindowModel model(desktop.shellContext());
    TabContent general = model.content("general");
    EXPECT_EQ(general.identifier, "general");
    EXPECT_EQ(general.label, "General");
    std::map<std::string, WindowAction> actions;
    std::function<void(const std::vector<ViewElement>&)> walk = [&](const auto& elements) {
        for (const ViewElement& e : elements) {
            if (!e.id.empty()) actions[e.id] = e.action;
            walk(e.children);
        }
    };
    walk(general.elements);
    EXPECT_EQ(actions["liveSwitch"], WindowAction::toggleLive);
    EXPECT_EQ(actions["modeControl"], WindowAction::changeQuitMode);
    EXPECT_EQ(actions["escapeControl"], WindowAction::changeEscape);
    EXPECT_EQ(actions["loginItemBox"], WindowAction::toggleLoginItem);
    EXPECT_EQ(actions["statusLabel"], WindowAction::none);
    EXPECT_TRUE(actions.count("statusLabel"));
    EXPECT_EQ(model.content("activity").layout, TabContent::Layout::table);
    EXPECT_TRUE(model.content("x").identifier.empty());
}

TEST_F(SettingsWindowTest, TablesFillTheirTabsWithoutAnOuterScroller) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_FALSE(model.content("apps").scrollable);
    EXPECT_FALSE(model.content("activity").scrollable);
    EXPECT_TRUE(model.content("general").scrollable);
    EXPECT_TRUE(model.content("help").scrollable);
    EXPECT_TRUE(model.content("about").scrollable);
    EXPECT_EQ(MainWindowModel::appsTableMinimumHeight, 340);
}

TEST_F(SettingsWindowTest, AboutTabGroupsHaveLargerGapsBetweenThem) {
    MainWindowModel model(desktop.shellContext());
    TabContent about = model.content("about");
    EXPECT_EQ(about.spacing, 6);
    std::vector<double> gaps;
    for (const ViewElement& e : about.elements) gaps.push_back(e.spacingAfter);
    // Icon, title, version · description · links · buttons, Copy Diagnostics, system, note.
    EXPECT_EQ(gaps, (std::vector<double>{12, 0, 18, 18, 18, 0, 0, 0, 0}));
    ASSERT_EQ(about.elements.size(), 9u);
    EXPECT_EQ(about.elements[0].kind, ViewElement::Kind::image);
    EXPECT_EQ(about.elements[2].text.rfind("Version ", 0), 0u);
    EXPECT_EQ(about.elements[4].kind, ViewElement::Kind::row);
    EXPECT_EQ(about.elements[4].children.at(1).text, "Terms");
}

TEST_F(SettingsWindowTest, TableColumns) {
    const auto& apps = MainWindowModel::appsColumns();
    ASSERT_EQ(apps.size(), 2u);
    EXPECT_EQ(apps[0].identifier, "name");
    EXPECT_EQ(apps[0].title, "Application");
    EXPECT_EQ(apps[0].width, 330);
    EXPECT_EQ(apps[1].identifier, "exclude");
    EXPECT_EQ(apps[1].title, "Never quit");
    EXPECT_EQ(apps[1].width, 90);
    EXPECT_EQ(MainWindowModel::appsRowHeight, 26);
}

}  // namespace
}  // namespace quelto
