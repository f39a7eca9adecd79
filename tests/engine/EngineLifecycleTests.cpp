// Start-up with its report, and following applications as they launch and terminate.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

using EngineLifecycleTest = EngineTest;

const std::string configLine() {
    return "              config: " + ConfigStore::path();
}

TEST_F(EngineLifecycleTest, ConstructionIsInert) {
    engine = Engine::create(desktop.context());
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_TRUE(engine->quits().empty());
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_FALSE(engine->clickMonitor().monitor.has_value());
    EXPECT_EQ(engine->ownPID(), ownPid);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, StartUpReportListsEveryCandidateWithItsMarkAndWindows) {
    desktop.addApp(appDescription(101, "com.apple.TextEdit", "TextEdit"));
    addWindow(101, "Notes");
    addWindow(101, "Draft");
    desktop.addApp(appDescription(102, std::nullopt, "Scratch"));
    auto agent = appDescription(103, "com.example.Agent", "Agent");
    agent.policy = ActivationPolicy::accessory;
    desktop.addApp(agent);
    auto daemon = appDescription(104, "com.example.Daemon", "Daemon");
    daemon.policy = ActivationPolicy::prohibited;
    desktop.addApp(daemon);
    desktop.addApp(appDescription(ownPid, "app.quelto.Quelto", "Quelto"));
    desktop.addApp(appDescription(105, "com.example.Nameless", std::nullopt));
    addWindow(105, "Only");
    auto broken = appDescription(106, "com.example.Broken", "Broken");
    broken.observerError = axerror::cannotComplete;
    desktop.addApp(broken);

    startEngine(true);

    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:00.000  LIVE — mode last-window — all apps",
                             configLine(),
                             "",
                             "00:00:00.000  attaching to 4 foreground apps",
                             "                ✓ TextEdit  (com.apple.TextEdit)  2 windows",
                             "                ✓ Scratch  (no bundle id)  0 windows",
                             "                ✓ ?  (com.example.Nameless)  1 windows",
                             "                ✗ Broken  (com.example.Broken)  —",
                             "              armed — closing the last window of an armed app "
                             "WILL quit it",
                             "",
                         }));
    EXPECT_EQ(engine->apps().size(), 3u);
    EXPECT_TRUE(watcherOf(101));
    EXPECT_TRUE(watcherOf(102));
    EXPECT_TRUE(watcherOf(105));
    EXPECT_FALSE(watcherOf(103));
    EXPECT_FALSE(watcherOf(104));
    EXPECT_FALSE(watcherOf(106));
    EXPECT_FALSE(watcherOf(ownPid));
    EXPECT_TRUE(engine->clickMonitor().monitor.has_value());
}

TEST_F(EngineLifecycleTest, StartUpWithNoCandidatesLogsZeroAndThenOnlyTheHint) {
    auto agent = appDescription(103, "com.example.Agent", "Agent");
    agent.policy = ActivationPolicy::accessory;
    desktop.addApp(agent);
    desktop.addApp(appDescription(ownPid, "app.quelto.Quelto", "Quelto"));

    startEngine(true);

    EXPECT_EQ(takeLog(),
              (Lines{
                  "00:00:00.000  LIVE — mode last-window — all apps",
                  configLine(),
                  "",
                  "00:00:00.000  attaching to 0 foreground apps",
                  "              armed — closing the last window of an armed app WILL quit it",
                  "",
              }));
    EXPECT_TRUE(engine->apps().empty());
}

TEST_F(EngineLifecycleTest, HintSaysNothingWillBeQuitWhileTheSwitchIsOff) {
    writeConfig("live = false\narm = *\n");
    startEngine(true);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:00.000  DRY RUN — nothing will be quit",
                             configLine(),
                             "",
                             "00:00:00.000  attaching to 0 foreground apps",
                             "              close some windows — nothing will be quit",
                             "",
                         }));
}

TEST_F(EngineLifecycleTest, HintSaysNothingWillBeQuitWhenNothingIsArmed) {
    writeConfig("live = true\n");
    startEngine(true);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:00.000  LIVE but nothing armed — nothing will be quit",
                             configLine(),
                             "",
                             "00:00:00.000  attaching to 0 foreground apps",
                             "              close some windows — nothing will be quit",
                             "",
                         }));
}

TEST_F(EngineLifecycleTest, HintSaysArmedWhenSingleAppsAreArmed) {
    writeConfig("live = true\nmode = red-dot\narm = com.apple.Maps\n");
    startEngine(true);
    Lines log = takeLog();
    ASSERT_EQ(log.size(), 6u);
    EXPECT_EQ(log[0], "00:00:00.000  LIVE — mode red-dot — armed: com.apple.Maps");
    EXPECT_EQ(log[4], "              armed — closing the last window of an armed app WILL quit it");
}

TEST_F(EngineLifecycleTest, StartWritesTheTemplateWhenTheFileIsMissing) {
    removeConfig();
    startEngine(true);
    ASSERT_TRUE(std::filesystem::exists(ConfigStore::path()));
    Lines log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "00:00:00.000  LIVE — mode last-window — all apps");
}

TEST_F(EngineLifecycleTest, OwnProcessNeverGetsAWatcherAtStartUp) {
    desktop.addApp(appDescription(ownPid, "app.quelto.Quelto", "Quelto"));
    addWindow(ownPid, "Settings");
    startEngine();
    EXPECT_FALSE(watcherOf(ownPid));
    EXPECT_TRUE(engine->apps().empty());
}

TEST_F(EngineLifecycleTest, OwnProcessNeverGetsAWatcherOnALaunchNotification) {
    startEngine();
    desktop.launchApp(appDescription(ownPid, "app.quelto.Quelto", "Quelto"));
    desktop.runDue();
    engine->appLaunched(desktop.runningApplication(ownPid));
    desktop.advance(1.0);
    EXPECT_FALSE(watcherOf(ownPid));
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, ALaunchedApplicationIsWatchedHalfASecondLater) {
    startEngine();
    desktop.advance(1.0);
    auto maps = appDescription(201, "com.apple.Maps", "Maps");
    desktop.launchApp(maps);
    desktop.runDue();
    desktop.advance(0.499);
    EXPECT_FALSE(watcherOf(201));
    EXPECT_TRUE(takeLog().empty());
    desktop.advance(0.001);
    EXPECT_TRUE(watcherOf(201));
    EXPECT_EQ(takeLog(), (Lines{"00:00:01.500  now watching Maps"}));
}

TEST_F(EngineLifecycleTest, ALaunchedApplicationWithoutANameIsNamedByItsPid) {
    startEngine();
    desktop.launchApp(appDescription(202, "com.example.Quiet", std::nullopt));
    desktop.advance(0.5);
    EXPECT_TRUE(watcherOf(202));
    EXPECT_EQ(takeLog(), (Lines{"00:00:00.500  now watching pid 202"}));
}

TEST_F(EngineLifecycleTest, LaunchesOfAccessoryOrBackgroundApplicationsAreIgnored) {
    startEngine();
    auto agent = appDescription(203, "com.example.Agent", "Agent");
    agent.policy = ActivationPolicy::accessory;
    desktop.launchApp(agent);
    auto daemon = appDescription(204, "com.example.Daemon", "Daemon");
    daemon.policy = ActivationPolicy::prohibited;
    desktop.launchApp(daemon);
    desktop.advance(1.0);
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, ALaunchWhoseWatcherIsRefusedLogsNothing) {
    startEngine();
    auto broken = appDescription(205, "com.example.Broken", "Broken");
    broken.observerError = axerror::cannotComplete;
    desktop.launchApp(broken);
    desktop.advance(1.0);
    EXPECT_FALSE(watcherOf(205));
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, ALaunchForATrackedPidKeepsTheWatcherAndStillLogs) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    startEngine();
    auto before = watcherOf(textEdit);
    ASSERT_TRUE(before);
    engine->appLaunched(desktop.runningApplication(textEdit));
    desktop.advance(0.5);
    EXPECT_EQ(watcherOf(textEdit), before);
    EXPECT_EQ(takeLog(), (Lines{"00:00:00.500  now watching TextEdit"}));
}

TEST_F(EngineLifecycleTest, NotificationsWithoutAnApplicationAreIgnored) {
    startEngine();
    engine->appLaunched(nullptr);
    engine->appTerminated(nullptr);
    desktop.advance(1.0);
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, LaunchAndTerminationWithinHalfASecond) {
    startEngine();
    desktop.advance(1.0);
    desktop.launchApp(appDescription(206, "com.apple.Maps", "Maps"));
    desktop.runDue();
    desktop.advance(0.2);
    desktop.terminateApp(206);
    desktop.runDue();
    // The termination comes first: nothing to forget, nothing logged.
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_TRUE(engine->quits().empty());
    // The delayed step runs afterwards and finds the application gone: no watcher is made
    // for a dead process, and nothing is logged.
    desktop.advance(0.3);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->apps().empty());
}

TEST_F(EngineLifecycleTest, ATerminatedApplicationIsForgottenAtOnce) {
    auto declining = appDescription(textEdit, "com.apple.TextEdit", "TextEdit");
    declining.declinesQuit = true;
    desktop.addApp(declining);
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    ASSERT_TRUE(watcherOf(textEdit));
    // A quit request it declines: its throttle entry stays.
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(1);
    ASSERT_TRUE(engine->quits().lastRequest(textEdit));
    takeLog();
    desktop.terminateApp(textEdit);
    desktop.runDue();
    EXPECT_FALSE(watcherOf(textEdit));
    EXPECT_TRUE(engine->quits().empty());
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(EngineLifecycleTest, TerminationOfAnUntrackedApplicationWithNoClicksChangesNothing) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    sim::WindowDescription slow;
    slow.title = "Slow";
    slow.closeDelay = 30;
    auto window = addWindow(textEdit, slow);
    auto preview = appDescription(104, "com.apple.Preview", "Preview");
    preview.declinesQuit = true;
    desktop.addApp(preview);
    auto page = addWindow(104, "Page");
    auto agent = appDescription(103, "com.example.Agent", "Agent");
    agent.policy = ActivationPolicy::accessory;
    desktop.addApp(agent);
    startEngine();
    desktop.advance(10);
    clickClose(page);  // Preview declines the quit: its throttle entry stays
    desktop.advance(1);
    clickClose(window);  // a click held for another application
    takeLog();
    const ClickRecord click = clickOf(window);
    auto textEditWatcher = watcherOf(textEdit);
    auto previewWatcher = watcherOf(104);
    std::optional<Date> attempt = engine->quits().lastRequest(104);
    ASSERT_EQ(engine->clicks().size(), 1u);
    ASSERT_TRUE(attempt);

    desktop.terminateApp(103);
    desktop.runDue();

    EXPECT_TRUE(takeLog().empty());
    EXPECT_EQ(engine->clicks().size(), 1u);
    EXPECT_EQ(clickOf(window), click);
    EXPECT_EQ(engine->apps().size(), 2u);
    EXPECT_EQ(watcherOf(textEdit), textEditWatcher);
    EXPECT_EQ(watcherOf(104), previewWatcher);
    EXPECT_EQ(engine->quits().lastRequest(104), attempt);
    EXPECT_TRUE(engine->closes().empty());
}

TEST_F(EngineLifecycleTest, AnApplicationQuittingWithAPendingDecisionDropsTheReport) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    auto notes = addWindow(textEdit, "Notes");
    addWindow(textEdit, "Draft");
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(notes);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    desktop.advance(0.1);

    engine->appTerminated(desktop.runningApplication(textEdit));
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.100  TextEdit quit on its own while a close was in flight "
                             "— nothing to do",
                             "",
                         }));
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_FALSE(watcherOf(textEdit));

    desktop.advance(1.0);  // the gathering timer finds nothing
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(EngineLifecycleTest, AnApplicationQuittingWithAnUnexpiredClickSaysTheRedDotWasClicked) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    sim::WindowDescription asks;
    asks.title = "Letter";
    asks.asksToSave = true;
    auto letter = addWindow(textEdit, asks);
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    takeLog();
    desktop.advance(0.1);

    engine->appTerminated(desktop.runningApplication(textEdit));
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.100  TextEdit quit on its own while a close was in flight "
                             "— nothing to do",
                             "              (its red dot was clicked; the app terminates itself "
                             "when its last window closes)",
                             "",
                         }));
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_FALSE(watcherOf(textEdit));
}

TEST_F(EngineLifecycleTest, AnExpiredClickDoesNotCountAsInFlight) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    sim::WindowDescription slow;
    slow.title = "Slow";
    slow.closeDelay = 30;
    auto window = addWindow(textEdit, slow);
    startEngine();
    desktop.advance(10);
    clickClose(window);
    takeLog();
    desktop.advance(2.0);  // the record has expired but lingers until something prunes it
    ASSERT_EQ(engine->clicks().size(), 1u);

    engine->appTerminated(desktop.runningApplication(textEdit));
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(EngineLifecycleTest, TerminationRemovesOnlyThatApplicationsClicks) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    desktop.addApp(appDescription(102, "com.example.Other", "Other"));
    sim::WindowDescription slow;
    slow.closeDelay = 30;
    slow.title = "A";
    auto a = addWindow(textEdit, slow);
    slow.title = "B";
    auto b = addWindow(102, slow);
    startEngine();
    desktop.advance(10);
    clickClose(a);
    clickClose(b);
    ASSERT_EQ(engine->clicks().size(), 2u);
    engine->appTerminated(desktop.runningApplication(textEdit));
    ASSERT_EQ(engine->clicks().size(), 1u);
    EXPECT_FALSE(engine->clicks().recordOf(refOf(a)));
    ASSERT_TRUE(engine->clicks().recordOf(refOf(b)));
    EXPECT_EQ(clickOf(b).pid, 102);
}

}  // namespace
}  // namespace quelto::enginetest
