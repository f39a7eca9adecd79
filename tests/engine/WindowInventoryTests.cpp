// What counts as an application's windows at a decision on a real Mac: windows that cannot be
// classified, windows on other Spaces and ordered out, an activation policy that changed,
// revoked Accessibility access, and a window swap that leaves a moment of no window.

#include "accessibility/AXRead.h"
#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

const char* const causeNotRedDot = "not the red dot (cmd-W / menu / programmatic)";

class WindowInventoryTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        notes = addWindow(textEdit, "Notes");
        draft = addWindow(textEdit, "Draft");
    }

    bool askedToQuit(Pid pid) const {
        for (const auto& request : desktop.quitRequests())
            if (request.pid == pid) return true;
        return false;
    }

    bool logHas(const Lines& lines, const std::string& text) const {
        for (const auto& line : lines)
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    sim::ElementId notes = 0;
    sim::ElementId draft = 0;
};

TEST_F(WindowInventoryTest, AWindowWhoseRoleCannotBeReadMakesTheCountUnknown) {
    startEngine();
    desktop.advance(10);
    desktop.injectError(draft, "AXRole", axerror::cannotComplete, -1);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(2);

    Lines log = takeLog();
    EXPECT_TRUE(logHas(log, "              windows remaining: unknown"));
    EXPECT_TRUE(logHas(
        log, "→ no action (could not classify TextEdit’s window \"Draft\": cannotComplete)"));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, causeNotRedDot);
    EXPECT_EQ(journal()[0].outcome, "windows unknown — kept running");
    EXPECT_EQ(journal()[0].windowsLeft, -1);
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, AWindowWhoseSubroleCannotBeReadMakesTheCountUnknownToo) {
    startEngine();
    desktop.advance(10);
    desktop.injectError(draft, "AXSubrole", axerror::failure, -1);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(2);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "windows unknown — kept running");
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, ADialogThatIsClassifiedIsStillNoUserWindow) {
    startEngine();
    desktop.advance(10);
    desktop.showDialog(textEdit, "AXDialog", "Find");
    desktop.runDue();
    desktop.closeWindowWithoutClick(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal()[0].windowsLeft, 0);
    EXPECT_TRUE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, RevokedAccessIsNoticedLoggedAndNothingIsActedOn) {
    startEngine();
    desktop.advance(10);
    takeLog();
    desktop.setTrusted(false);
    desktop.advance(Engine::accessCheckInterval);
    EXPECT_TRUE(engine->accessRevoked());
    Lines log = takeLog();
    EXPECT_TRUE(logHas(log,
                       "Accessibility access was revoked — Quelto watches nothing and quits "
                       "nothing until it is granted again"));

    clickClose(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    EXPECT_TRUE(journal().empty());
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, AGatheredCloseDecidedAfterAccessWentIsNotDecided) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(0.1);  // the window has gone; its report gathers for 0.3 s
    desktop.setTrusted(false);
    desktop.advance(1);
    EXPECT_TRUE(journal().empty());
    EXPECT_FALSE(askedToQuit(textEdit));
    EXPECT_TRUE(logHas(
        takeLog(), "TextEdit  window closed — Accessibility access is revoked, nothing decided"));
}

TEST_F(WindowInventoryTest, AccessBackAttachesAfreshAndDecidesAsUsual) {
    startEngine();
    desktop.advance(10);
    desktop.setTrusted(false);
    desktop.advance(2);
    // A window opened while nothing could be seen.
    sim::ElementId later = addWindow(textEdit, "Later");
    desktop.setTrusted(true);
    desktop.advance(Engine::accessCheckInterval);
    EXPECT_FALSE(engine->accessRevoked());
    Lines log = takeLog();
    EXPECT_TRUE(logHas(log, "Accessibility access is back — watching again"));
    EXPECT_TRUE(logHas(log, "✓ TextEdit  (com.apple.TextEdit)  3 windows"));
    ASSERT_TRUE(watcherOf(textEdit));
    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(later)));
    clickClose(later);
    desktop.advance(1);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot");
}

TEST_F(WindowInventoryTest, ARevocationBetweenTwoChecksIsToldByTheCallsItRefused) {
    startEngine();
    desktop.advance(10.2);
    std::shared_ptr<AppWatcher> before = watcherOf(textEdit);
    takeLog();
    // Off and on again between two checks: a window opened meanwhile goes unannounced, and a
    // read made meanwhile is refused.
    desktop.setTrusted(false);
    sim::ElementId later = addWindow(textEdit, "Later");
    EXPECT_EQ(before->readWindows(), std::nullopt);
    desktop.setTrusted(true);
    EXPECT_FALSE(before->isWatched(refOf(later)));
    desktop.advance(Engine::accessCheckInterval);
    EXPECT_FALSE(engine->accessRevoked());
    Lines log = takeLog();
    EXPECT_TRUE(
        logHas(log, "Accessibility access was revoked for a moment and is back — watching again"));
    EXPECT_FALSE(logHas(log, "Accessibility access was revoked — Quelto watches nothing"));
    EXPECT_TRUE(logHas(log, "✓ TextEdit  (com.apple.TextEdit)  3 windows"));
    ASSERT_TRUE(watcherOf(textEdit));
    EXPECT_NE(watcherOf(textEdit), before);
    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(later)));
}

TEST_F(WindowInventoryTest, ARevocationBetweenTwoChecksWithNoCallInItLeavesTheWatchersAsTheyAre) {
    startEngine();
    desktop.advance(10.2);
    std::shared_ptr<AppWatcher> before = watcherOf(textEdit);
    takeLog();
    desktop.setTrusted(false);
    desktop.setTrusted(true);
    desktop.advance(Engine::accessCheckInterval);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_EQ(watcherOf(textEdit), before);
}

TEST_F(WindowInventoryTest, CallsRefusedBeforeTheEngineStartedAreNotItsOwn) {
    noteAccessRefusal(axerror::apiDisabled);
    startEngine();
    desktop.advance(0.2);
    std::shared_ptr<AppWatcher> before = watcherOf(textEdit);
    ASSERT_TRUE(before);
    desktop.advance(10);
    EXPECT_FALSE(logHas(takeLog(), "Accessibility access was revoked"));
    EXPECT_EQ(watcherOf(textEdit), before);
}

TEST_F(WindowInventoryTest, AnAppThatIsNoLongerRegularAtTheDecisionIsKeptRunning) {
    startEngine();
    desktop.advance(10);
    desktop.setActivationPolicy(textEdit, ActivationPolicy::accessory);
    desktop.closeWindowWithoutClick(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "not a regular app — kept running");
    EXPECT_FALSE(askedToQuit(textEdit));
    EXPECT_TRUE(logHas(takeLog(),
                       "→ no action (TextEdit has no Dock icon now — only a regular app is quit)"));
}

TEST_F(WindowInventoryTest, TheNeverQuitListStillComesFirst) {
    desktop.addApp(appDescription(102, "com.apple.finder", "Finder"));
    sim::ElementId window = addWindow(102, "Home");
    startEngine();
    desktop.advance(10);
    desktop.setActivationPolicy(102, ActivationPolicy::accessory);
    desktop.closeWindowWithoutClick(window);
    desktop.advance(5);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "always protected");
}

TEST_F(WindowInventoryTest, AnAppThatBecomesRegularIsWatchedWhenActivated) {
    sim::AppDescription meter = appDescription(103, "com.example.Meter", "Meter");
    meter.policy = ActivationPolicy::accessory;
    desktop.addApp(meter);
    startEngine();
    EXPECT_FALSE(watcherOf(103));
    desktop.setActivationPolicy(103, ActivationPolicy::regular);
    sim::ElementId settings = addWindow(103, "Settings");
    desktop.setFrontmost(103);
    desktop.runDue();
    EXPECT_FALSE(watcherOf(103));  // half a second later, as after a launch
    desktop.advance(Engine::launchAttachDelay);
    ASSERT_TRUE(watcherOf(103));
    EXPECT_TRUE(watcherOf(103)->isWatched(refOf(settings)));
    EXPECT_TRUE(logHas(takeLog(), "now watching Meter"));
}

TEST_F(WindowInventoryTest, ASpaceSwitchCatchesUpTheWatchersOfAppsShownThere) {
    sim::WindowDescription onTwo;
    onTwo.title = "Elsewhere";
    onTwo.space = 2;
    sim::ElementId elsewhere = addWindow(textEdit, onTwo);
    // Another app's window in front on Space 2: TextEdit stays in the background there.
    desktop.addApp(appDescription(104, "com.apple.Safari", "Safari"));
    desktop.setFrontmost(textEdit);
    sim::WindowDescription safari;
    safari.title = "Docs";
    safari.space = 2;
    addWindow(104, safari);
    startEngine();
    ASSERT_TRUE(watcherOf(textEdit));
    EXPECT_FALSE(watcherOf(textEdit)->isWatched(refOf(elsewhere)));

    desktop.switchToSpace(2);
    desktop.runDue();
    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(elsewhere)));
}

TEST_F(WindowInventoryTest, ASpaceSwitchReadsNothingOfAppsThatShowNothingThere) {
    desktop.addApp(appDescription(104, "com.apple.Safari", "Safari"));
    sim::WindowDescription safari;
    safari.title = "Docs";
    safari.space = 2;
    addWindow(104, safari);
    startEngine();
    desktop.resetCounters();
    desktop.switchToSpace(2);
    desktop.runDue();
    EXPECT_EQ(desktop.readCount(desktop.applicationElementId(textEdit), "AXWindows"), 0u);
}

TEST_F(WindowInventoryTest, AnOrderedOutWindowIsNotCountedElsewhere) {
    startEngine();
    desktop.advance(10);
    desktop.orderOutWindow(draft);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(5);
    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal().back().windowsLeft, 0);
    EXPECT_TRUE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, AUserWindowOnAnotherSpaceStillCounts) {
    sim::WindowDescription onTwo;
    onTwo.title = "Elsewhere";
    onTwo.space = 2;
    addWindow(textEdit, onTwo);
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal()[0].windowsLeft, 1);
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, WithoutTheSpacesLookupsNothingCountsElsewhereAndThatIsLoggedOnce) {
    sim::WindowDescription onTwo;
    onTwo.title = "Elsewhere";
    onTwo.space = 2;
    addWindow(textEdit, onTwo);
    desktop.setSpacesLookupsAvailable(false);
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(5);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    Lines log = takeLog();
    int lines = 0;
    for (const auto& line : log)
        if (line.find("the window server’s Spaces cannot be looked up on this Mac — windows on "
                      "other Spaces are not counted") != std::string::npos)
            ++lines;
    EXPECT_EQ(lines, 1);
    EXPECT_TRUE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, ARedDotThatOrdersTheWindowOutCountsAsItsClose) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    sim::WindowDescription kept;
    kept.title = "Kept";
    kept.hidesOnClose = true;
    sim::ElementId window = addWindow(textEdit, kept);
    startEngine();
    desktop.advance(10);
    clickClose(window);
    desktop.advance(1);
    EXPECT_TRUE(desktop.isOrderedOut(window));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot");
    EXPECT_TRUE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, AWindowOrderedOutWithoutAClickIsNoClose) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    startEngine();
    desktop.advance(10);
    desktop.orderOutWindow(notes);
    desktop.advance(2);
    EXPECT_TRUE(journal().empty());
}

// Windows unreadable once are caught up.

TEST_F(WindowInventoryTest, AWindowListUnreadableAtAttachIsReadAgainHalfASecondLater) {
    desktop.injectError(desktop.applicationElementId(textEdit), "AXWindows",
                        axerror::cannotComplete, 1);
    startEngine();
    EXPECT_EQ(watcherOf(textEdit)->trackedWindowCount(), 0u);
    desktop.advance(0.5);
    EXPECT_EQ(watcherOf(textEdit)->trackedWindowCount(), 2u);
    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(notes)));
}

TEST_F(WindowInventoryTest, AWindowListUnreadableThroughEveryTryIsLoggedOnce) {
    desktop.injectError(desktop.applicationElementId(textEdit), "AXWindows",
                        axerror::cannotComplete, -1);
    startEngine();
    desktop.advance(10);
    Lines log = takeLog();
    int count = 0;
    for (const auto& line : log)
        if (line.find("TextEdit’s windows could not be read (cannotComplete) after 5 tries — they "
                      "are found at its next focus change or close decision") != std::string::npos)
            ++count;
    EXPECT_EQ(count, 1);
    EXPECT_EQ(watcherOf(textEdit)->trackedWindowCount(), 0u);
}

TEST_F(WindowInventoryTest, ARegistrationTakenLateCatchesUpWithTheWindowsOpenedMeanwhile) {
    desktop.injectError(desktop.applicationElementId(textEdit), "register", axerror::cannotComplete,
                        4);  // two tries of two notifications
    startEngine();
    auto meanwhile = addWindow(textEdit, "Meanwhile");
    EXPECT_FALSE(watcherOf(textEdit)->isWatched(refOf(meanwhile)));
    desktop.advance(0.5);  // the second try, refused
    EXPECT_FALSE(watcherOf(textEdit)->isWatched(refOf(meanwhile)));
    desktop.advance(1.0);  // the third, taken
    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(meanwhile)));
}

TEST_F(WindowInventoryTest, AWindowNeverClassifiedIsConfirmedAtTheNextFocusChange) {
    desktop.injectError(draft, "AXRole", axerror::cannotComplete, 4);
    startEngine();
    desktop.advance(10);
    desktop.focusWindow(draft);
    desktop.runDue();
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(1);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].windowsLeft, 1);
}

TEST_F(WindowInventoryTest, AWindowNeverClassifiedIsConfirmedAtTheNextDecision) {
    desktop.addApp(appDescription(102, "com.apple.Preview", "Preview"));
    auto invoice = addWindow(102, "Invoice");
    auto receipt = addWindow(102, "Receipt");
    desktop.injectError(receipt, "AXRole", axerror::cannotComplete, 4);
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(invoice);  // its decision reads Receipt again
    desktop.advance(1);
    desktop.closeWindowWithoutClick(receipt);
    desktop.advance(3);
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0].app, "Preview");
    EXPECT_EQ(journal()[0].windowsLeft, 0);
}

// Busy apps do not stall Quelto again and again: one attach per turn of the run loop.

TEST_F(WindowInventoryTest, TheRunningAppsAreAttachedOnePerTurnOfTheRunLoop) {
    desktop.addApp(appDescription(102, "com.apple.Preview", "Preview"));
    addWindow(102, "Invoice");
    desktop.addApp(appDescription(103, "com.apple.mail", "Mail"));
    engine = Engine::create(desktop.context());
    engine->start();
    EXPECT_EQ(engine->apps().size(), 1u);
    desktop.runDue();
    EXPECT_EQ(engine->apps().size(), 3u);
    Lines log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[log.size() - 2],
              "              armed — closing the last window of an armed app WILL quit it");
}

TEST_F(WindowInventoryTest, AccessBackDuringTheAttachRoundStartsAFreshRound) {
    desktop.addApp(appDescription(102, "com.apple.Preview", "Preview"));
    engine = Engine::create(desktop.context());
    engine->start();
    desktop.setTrusted(false);
    desktop.advance(1.5);
    EXPECT_TRUE(engine->accessRevoked());
    desktop.setTrusted(true);
    desktop.advance(1.5);
    EXPECT_FALSE(engine->accessRevoked());
    EXPECT_EQ(engine->apps().size(), 2u);
}

}  // namespace
}  // namespace quelto::enginetest
