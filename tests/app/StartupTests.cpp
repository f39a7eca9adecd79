// Start-up and permission on the simulated desktop: the single-instance rule, the log
// header, the first run, the wait for Accessibility access and the settings window's life
// with the activation policy.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/AppController.h"
#include "platform/BuildSettings.h"
#include "tests/ui/UiTestSupport.h"

namespace quelto {
namespace {

using uitest::app;
using uitest::Lines;
using uitest::LogLines;
using uitest::writeConfig;

// The application framework's side, as records.
class RecordingHost final : public ApplicationHost {
  public:
    void setActivationPolicy(ActivationPolicy policy) override { policies.push_back(policy); }
    void activateIgnoringOtherApps() override { ++activations; }
    void terminate() override { ++terminations; }
    void installMainMenu(const std::vector<MainMenuMenu>& menus) override {
        installedMenus = menus;
        ++menuInstalls;
    }
    void createStatusItem(StatusItemModel& model) override {
        statusItem = &model;
        model.onIconChanged = [this](const StatusIcon& icon) { icons.push_back(icon); };
    }
    void createSettingsWindow(const std::shared_ptr<MainWindowModel>& model) override {
        ++windowsCreated;
        window = model;
        model->onChange = [this](MainWindowModel::Change c) { changes.push_back(c); };
    }
    void showSettingsWindow() override { ++shows; }

    ActivationPolicy policy() const {
        return policies.empty() ? ActivationPolicy::accessory : policies.back();
    }
    int refreshes() const {
        return static_cast<int>(
            std::count(changes.begin(), changes.end(), MainWindowModel::Change::all));
    }

    std::vector<ActivationPolicy> policies;
    int activations = 0;
    int terminations = 0;
    int menuInstalls = 0;
    std::vector<MainMenuMenu> installedMenus;
    StatusItemModel* statusItem = nullptr;
    std::vector<StatusIcon> icons;
    int windowsCreated = 0;
    std::weak_ptr<MainWindowModel> window;
    std::vector<MainWindowModel::Change> changes;
    int shows = 0;
};

class StartupTest : public uitest::UiTest {
  protected:
    void SetUp() override {
        UiTest::SetUp();
        desktop.addApp(app(ownPid, build::bundleID, "Quelto", ActivationPolicy::accessory));
    }

    void TearDown() override {
        controller.reset();
        UiTest::TearDown();
    }

    void launch() {
        controller = AppController::create(host, desktop.shellContext(), desktop.context(),
                                           [this] { ++engineStarts; });
        controller->applicationDidFinishLaunching();
    }

    RecordingHost host;
    std::shared_ptr<AppController> controller;
    int engineStarts = 0;
};

TEST_F(StartupTest, SecondCopyHandsOverAndTerminatesBeforeLogging) {
    desktop.addApp(app(77, build::bundleID, "Quelto"));
    launch();
    EXPECT_EQ(desktop.activatedApps(), (std::vector<Pid>{77}));
    EXPECT_EQ(host.terminations, 1);
    EXPECT_TRUE(LogLines::shared().takeRaw().empty());
    EXPECT_EQ(host.menuInstalls, 0);
    EXPECT_EQ(controller->statusItem(), nullptr);
    EXPECT_EQ(engineStarts, 0);
    EXPECT_FALSE(std::filesystem::exists(ConfigStore::path()));
}

// Without the bundle's own information the build's identifier says which apps are copies of
// Quelto, as it does for the status menu and the Apps tab.
TEST_F(StartupTest, WithoutBundleInformationTheBuildsIdentifierFindsTheCopy) {
    desktop.addApp(app(77, build::bundleID, "Quelto"));
    ShellContext shell = desktop.shellContext();
    shell.system = nullptr;
    controller = AppController::create(host, shell, desktop.context(), [this] { ++engineStarts; });
    controller->applicationDidFinishLaunching();
    EXPECT_EQ(desktop.activatedApps(), (std::vector<Pid>{77}));
    EXPECT_EQ(host.terminations, 1);
    EXPECT_EQ(engineStarts, 0);
}

// A quick relaunch: the old copy has exited, but the workspace still lists it until the main
// run loop takes its termination in. It is no copy to hand over to: this one carries on.
TEST_F(StartupTest, ACopyThatHasAlreadyTerminatedIsSkipped) {
    desktop.addApp(app(77, build::bundleID, "Quelto"));
    desktop.terminateApp(77);
    bool listed = false;
    for (const RunningApplicationRef& running : desktop.runningApplications())
        if (running->processIdentifier() == 77) listed = running->isTerminated();
    ASSERT_TRUE(listed) << "the desktop lists the exited copy, terminated, until the loop turns";

    launch();
    EXPECT_EQ(host.terminations, 0);
    EXPECT_TRUE(desktop.activatedApps().empty());
    EXPECT_EQ(host.menuInstalls, 1);
    EXPECT_EQ(engineStarts, 1);
}

// The first live copy counts, whatever terminated copies are listed before it.
TEST_F(StartupTest, ALiveCopyAfterATerminatedOneStillGetsTheHandOver) {
    desktop.addApp(app(76, build::bundleID, "Quelto"));
    desktop.addApp(app(77, build::bundleID, "Quelto"));
    desktop.terminateApp(76);
    launch();
    EXPECT_EQ(desktop.activatedApps(), (std::vector<Pid>{77}));
    EXPECT_EQ(host.terminations, 1);
    EXPECT_EQ(engineStarts, 0);
}

// The simulated workspace as macOS keeps it: an exited app stays listed, terminated, until the
// main run loop turns; then the list lets go of it and the termination is posted.
TEST_F(StartupTest, TheDesktopListsAnExitedAppUntilTheMainLoopTurns) {
    desktop.addApp(app(77, "com.example.Other", "Other"));
    int terminations = 0;
    Subscription observer =
        desktop.observeTerminations([&](const RunningApplicationRef&) { ++terminations; });
    desktop.terminateApp(77);
    auto listed = [&] {
        for (const RunningApplicationRef& running : desktop.runningApplications())
            if (running->processIdentifier() == 77) return true;
        return false;
    };
    EXPECT_TRUE(listed());
    EXPECT_FALSE(desktop.isRunning(77));
    EXPECT_EQ(terminations, 0);
    desktop.runDue();
    EXPECT_FALSE(listed());
    EXPECT_EQ(terminations, 1);
}

TEST_F(StartupTest, OtherAppsDoNotCountAsAnotherCopy) {
    desktop.addApp(app(77, "com.example.Other", "Other"));
    desktop.addApp(app(78, std::nullopt, "NoBundle"));
    launch();
    EXPECT_EQ(host.terminations, 0);
    EXPECT_TRUE(desktop.activatedApps().empty());
    EXPECT_EQ(engineStarts, 1);
}

TEST_F(StartupTest, FirstRunWithAccessGrantedStartsTheEngineAtOnce) {
    desktop.setTrusted(true);
    launch();
    Lines raw = LogLines::shared().takeRaw();
    ASSERT_EQ(raw.size(), 4u);
    EXPECT_EQ(raw[0], "");
    EXPECT_TRUE(LogLines::isHeadline(raw[1]));
    EXPECT_EQ(raw[1].substr(14), "Quelto");
    EXPECT_EQ(raw[2], "              log file: " + Log::path());
    EXPECT_TRUE(LogLines::isHeadline(raw[3]));
    EXPECT_EQ(raw[3].substr(14), "first run — enabled, and set to start at login");

    EXPECT_EQ(engineStarts, 1);
    EXPECT_TRUE(controller->engineStarted());
    EXPECT_FALSE(controller->isWaitingForPermission());
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
    EXPECT_EQ(host.windowsCreated, 0);
    EXPECT_EQ(desktop.status(), LoginItem::Status::enabled);
    EXPECT_EQ(uitest::readConfig(), Config::templateText());
    EXPECT_EQ(host.menuInstalls, 1);
    EXPECT_EQ(host.installedMenus, mainMenu());
    ASSERT_NE(host.statusItem, nullptr);
    EXPECT_EQ(host.statusItem, controller->statusItem());
    EXPECT_EQ(host.statusItem->icon().stateWord, "active");  // the template arms everything
    EXPECT_EQ(desktop.trustPromptCount(), 0);
}

TEST_F(StartupTest, FirstRunLoginItemFailureIsLoggedAndStartUpCarriesOn) {
    desktop.setLoginItemError("Operation not permitted");
    launch();
    Lines lines = takeLog();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[3], "first run — enabled, and set to start at login");
    EXPECT_EQ(lines[4], "could not set start at login on first run: Operation not permitted");
    EXPECT_TRUE(desktop.shownAlerts().empty());
    EXPECT_EQ(engineStarts, 1);
}

TEST_F(StartupTest, LaterRunsSkipTheFirstRun) {
    writeConfig("live = true\narm = *\n");
    launch();
    Lines lines = takeLog();
    EXPECT_EQ(lines, (Lines{"", "Quelto", "              log file: " + Log::path()}));
    EXPECT_EQ(desktop.status(), LoginItem::Status::notRegistered);
    EXPECT_EQ(uitest::readConfig(), "live = true\narm = *\n");
}

TEST_F(StartupTest, MainMenuHasTheApplicationAndEditMenus) {
    const auto& menus = mainMenu();
    ASSERT_EQ(menus.size(), 2u);
    auto describe = [](const MainMenuMenu& m) {
        std::vector<std::string> out;
        for (const auto& i : m.items)
            out.push_back(i.separator ? "---"
                                      : i.title + "|" + i.action + "|" + i.keyEquivalent + "|" +
                                            (i.targetsDelegate ? "delegate" : "none"));
        return out;
    };
    EXPECT_EQ(menus[0].title, "");
    EXPECT_EQ(describe(menus[0]), (std::vector<std::string>{
                                      "About Quelto|showAbout||delegate",
                                      "---",
                                      "Check for Updates…|checkForUpdates||delegate",
                                      "Settings…|showSettings|,|delegate",
                                      "---",
                                      "Hide Quelto|hide:|h|none",
                                      "Quit Quelto|terminate:|q|none",
                                  }));
    EXPECT_EQ(menus[1].title, "Edit");
    EXPECT_EQ(describe(menus[1]), (std::vector<std::string>{
                                      "Undo|undo:|z|none",
                                      "Redo|redo:|Z|none",
                                      "---",
                                      "Cut|cut:|x|none",
                                      "Copy|copy:|c|none",
                                      "Paste|paste:|v|none",
                                      "Select All|selectAll:|a|none",
                                  }));
}

TEST_F(StartupTest, MissingAccessWaitsWithTheWindowOpenAndThePaneShown) {
    desktop.setTrusted(false);
    launch();
    Lines lines = takeLog();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "Accessibility access not granted — waiting for it.");
    EXPECT_EQ(desktop.trustPromptCount(), 1);
    EXPECT_EQ(engineStarts, 0);
    EXPECT_TRUE(controller->isWaitingForPermission());
    EXPECT_EQ(host.windowsCreated, 1);
    EXPECT_EQ(host.shows, 1);
    EXPECT_EQ(host.policy(), ActivationPolicy::regular);
    ASSERT_NE(controller->mainWindow(), nullptr);
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "general");
    EXPECT_FALSE(controller->mainWindow()->checkRows()[0].passed);
    EXPECT_EQ(
        desktop.openedURLs(),
        (std::vector<std::string>{
            "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"}));
}

TEST_F(StartupTest, AccessGrantedWhileWaitingStartsWithinOnePoll) {
    writeConfig("live = true\narm = *\n");
    desktop.setTrusted(false);
    launch();
    takeLog();
    desktop.advance(5);
    EXPECT_EQ(engineStarts, 0);
    EXPECT_TRUE(takeLog().empty());

    const int refreshesBefore = host.refreshes();
    const std::size_t iconsBefore = host.icons.size();
    desktop.setTrusted(true);
    desktop.advance(1.0);

    EXPECT_EQ(takeLog(), (Lines{"Accessibility access granted — starting."}));
    EXPECT_EQ(engineStarts, 1);
    EXPECT_FALSE(controller->isWaitingForPermission());
    EXPECT_GT(host.refreshes(), refreshesBefore);
    EXPECT_TRUE(controller->mainWindow()->checkRows()[0].passed);
    EXPECT_EQ(host.icons.size(), iconsBefore + 1);
    // The poll asks without prompting, and stops for good.
    EXPECT_EQ(desktop.trustPromptCount(), 1);
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
    desktop.advance(10);
    EXPECT_EQ(engineStarts, 1);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(StartupTest, TheWaitHasNoTimeLimit) {
    desktop.setTrusted(false);
    launch();
    desktop.advance(6 * 3600);
    EXPECT_TRUE(controller->isWaitingForPermission());
    EXPECT_EQ(engineStarts, 0);
    desktop.setTrusted(true);
    desktop.advance(1);
    EXPECT_EQ(engineStarts, 1);
}

TEST_F(StartupTest, GrantWithTheWindowClosedStillStarts) {
    desktop.setTrusted(false);
    launch();
    controller->settingsWindowWillClose();
    desktop.setTrusted(true);
    desktop.advance(1);
    EXPECT_EQ(engineStarts, 1);
    EXPECT_EQ(controller->mainWindow(), nullptr);
}

TEST_F(StartupTest, ClosingTheWindowRemovesTheDockIconAndTheNextOpenBuildsANewOne) {
    launch();
    controller->showSettings();
    EXPECT_EQ(host.policy(), ActivationPolicy::regular);
    EXPECT_EQ(host.activations, 1);
    EXPECT_EQ(host.windowsCreated, 1);
    EXPECT_FALSE(host.window.expired());

    controller->settingsWindowWillClose();
    EXPECT_EQ(host.policy(), ActivationPolicy::accessory);
    EXPECT_EQ(controller->mainWindow(), nullptr);
    EXPECT_TRUE(host.window.expired());
    EXPECT_FALSE(controller->applicationShouldTerminateAfterLastWindowClosed());
    EXPECT_EQ(host.terminations, 0);

    controller->performMainMenuAction("showSettings");
    EXPECT_EQ(host.windowsCreated, 2);
    EXPECT_EQ(host.policy(), ActivationPolicy::regular);
}

TEST_F(StartupTest, ShowAboutSelectsAboutAndOtherOpeningsKeepTheTab) {
    launch();
    controller->showAbout();
    ASSERT_NE(controller->mainWindow(), nullptr);
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "about");
    EXPECT_EQ(host.shows, 1);

    controller->showSettings();
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "about");
    EXPECT_TRUE(controller->applicationShouldHandleReopen(false));
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "about");
    EXPECT_EQ(host.windowsCreated, 1);
    EXPECT_EQ(host.shows, 3);

    controller->settingsWindowWillClose();
    controller->applicationShouldHandleReopen(false);
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "general");
    EXPECT_EQ(host.windowsCreated, 2);
}

TEST_F(StartupTest, ShowWindowRefreshesThenSelects) {
    launch();
    controller->showWindow(std::string("apps"));
    ASSERT_FALSE(host.changes.empty());
    EXPECT_EQ(host.changes.back(), MainWindowModel::Change::tab);
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "apps");
    controller->showWindow(std::string("nonsense"));
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "apps");
}

TEST_F(StartupTest, ConfigurationChangesRefreshTheIcon) {
    writeConfig("live = true\narm = *\n");
    launch();
    ASSERT_NE(host.statusItem, nullptr);
    EXPECT_EQ(host.statusItem->icon().stateWord, "active");
    writeConfig("live = false\narm = *\n");
    NotificationCenter::defaultCenter().post(queltoConfigChanged);
    EXPECT_EQ(host.statusItem->icon().stateWord, "paused");
    ASSERT_FALSE(host.icons.empty());
    EXPECT_EQ(host.icons.back().toolTip, "Quelto — paused");
}

TEST_F(StartupTest, TheWindowsMasterSwitchUpdatesTheStatusIcon) {
    writeConfig("live = true\narm = *\n");
    launch();
    controller->showSettings();
    controller->mainWindow()->toggleLive(false);
    EXPECT_EQ(host.statusItem->icon().stateWord, "paused");
}

TEST_F(StartupTest, StatusMenuOpensTheWindowAndQuits) {
    launch();
    host.statusItem->perform(MenuAction::openWindow);
    EXPECT_EQ(host.windowsCreated, 1);
    EXPECT_EQ(host.policy(), ActivationPolicy::regular);
    host.statusItem->perform(MenuAction::quitApp);
    EXPECT_EQ(host.terminations, 1);
}

TEST_F(StartupTest, OpenAccessibilityPaneOpensThePrivacyPane) {
    launch();
    controller->openAccessibilityPane();
    EXPECT_EQ(desktop.openedURLs().back(),
              "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility");
}

TEST_F(StartupTest, MainMenuActionsRunOnTheDelegate) {
    launch();
    EXPECT_TRUE(controller->performMainMenuAction("showAbout"));
    EXPECT_EQ(controller->mainWindow()->selectedTab(), "about");
    takeLog();
    EXPECT_TRUE(controller->performMainMenuAction("checkForUpdates"));
    Lines lines = takeLog();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].rfind("checking for updates", 0), 0u);
    EXPECT_FALSE(controller->performMainMenuAction("terminate:"));
}

TEST_F(StartupTest, WithoutAnOverrideTheRealEngineStarts) {
    writeConfig("live = true\narm = *\n");
    controller = AppController::create(host, desktop.shellContext(), desktop.context());
    ASSERT_NE(controller->engine(), nullptr);
    controller->applicationDidFinishLaunching();
    desktop.runDue();
    EXPECT_TRUE(controller->engineStarted());
    Lines lines = takeLog();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& l) {
        return l.find("LIVE — mode last-window — all apps") != std::string::npos;
    }));
}

}  // namespace
}  // namespace quelto
