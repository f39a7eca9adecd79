// The close decision on the desktop: gathering an application's closes, then judging them,
// with every log line and journal entry. The order of the checks, case by case, is
// DecideTests.cpp's.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

const char* const causeNotRedDot = "not the red dot (cmd-W / menu / programmatic)";

class CloseDecisionTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }

    // Started, then past the attach grace.
    void startAndSettle() {
        startEngine();
        desktop.advance(10);
    }

    // A red-dot click and everything up to the decision (close 0.05 s, gathering 0.3 s).
    void redDotClose(sim::ElementId window, ModifierFlags modifiers = 0) {
        clickClose(window, modifiers);
        desktop.advance(0.35);
    }

    // A close without a click and the gathering that follows.
    void keyboardClose(sim::ElementId window) {
        desktop.closeWindowWithoutClick(window);
        desktop.advance(0.3);
    }

    // The settle period after a close that left no window, up to the second count.
    void settle() { desktop.advance(windowSwapSettle); }

    Activity::Entry entry(const std::string& cause, long left, const std::string& outcome,
                          bool quit = false) {
        return Activity::Entry{.at = desktop.now(),
                               .app = "TextEdit",
                               .bundleID = "com.apple.TextEdit",
                               .cause = cause,
                               .windowsLeft = left,
                               .outcome = outcome,
                               .quit = quit};
    }
};

TEST_F(CloseDecisionTest, RedDotOnTheLastWindowOfAnArmedAppQuitsIt) {
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    redDotClose(notes);

    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                             "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → QUITTING TextEdit — terminate() returned true",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 0, "quitting", true));
    ASSERT_EQ(desktop.quitRequests().size(), 1u);
    EXPECT_EQ(desktop.quitRequests()[0].pid, textEdit);
}

TEST_F(CloseDecisionTest, KeyboardCloseOfTheLastWindowTenSecondsAfterAttachingQuits) {
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    keyboardClose(notes);

    EXPECT_EQ(takeLog(), (Lines{
                             std::string("00:00:10.300  TextEdit (com.apple.TextEdit)  window "
                                         "closed  ←  ") +
                                 causeNotRedDot,
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     no action",
                             "              → waiting 1.5 s for a window to follow before "
                             "quitting (an app swapping windows shows none for a moment)",
                             "",
                         }));
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(desktop.quitRequests().empty());

    // Counted again after the settle period: still no window.
    settle();
    EXPECT_EQ(takeLog(), (Lines{
                             std::string("00:00:11.800  TextEdit (com.apple.TextEdit)  counted "
                                         "again 1.5 s after the window closed  ←  ") +
                                 causeNotRedDot,
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     no action",
                             "              → QUITTING TextEdit — terminate() returned true",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry(causeNotRedDot, 0, "quitting", true));
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
}

TEST_F(CloseDecisionTest, KeyboardCloseThreeSecondsAfterAttachingIsTooSoon) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(3);
    keyboardClose(notes);

    EXPECT_EQ(takeLog(), (Lines{
                             std::string("00:00:03.300  TextEdit (com.apple.TextEdit)  window "
                                         "closed  ←  ") +
                                 causeNotRedDot,
                             "              windows remaining: 0",
                             "              → no action (only 3.3s since Quelto attached to "
                             "TextEdit — too early to tell a close from a launch-time window "
                             "swap)",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry(causeNotRedDot, 0, "too soon after attaching — kept running"));
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, TheGraceRoundsItsSecondsToOneDecimalAndEndsAtFiveSeconds) {
    desktop.addApp(appDescription(102, "com.apple.Maps", "Maps"));
    auto notes = addWindow(textEdit, "Notes");
    auto map = addWindow(102, "Map");
    startEngine();
    desktop.advance(4.69);
    desktop.closeWindowWithoutClick(notes);  // decided 4.99 s after attaching
    desktop.advance(0.01);
    desktop.closeWindowWithoutClick(map);  // decided 5.0 s after attaching: the grace is over
    desktop.advance(0.3);
    settle();

    Lines log = takeLog();
    ASSERT_EQ(log.size(), 16u);
    EXPECT_EQ(log[0],
              std::string("00:00:04.990  TextEdit (com.apple.TextEdit)  window closed  ←  ") +
                  causeNotRedDot);
    EXPECT_EQ(log[2],
              "              → no action (only 5.0s since Quelto attached to TextEdit — too "
              "early to tell a close from a launch-time window swap)");
    EXPECT_EQ(log[4], std::string("00:00:05.000  Maps (com.apple.Maps)  window closed  ←  ") +
                          causeNotRedDot);
    EXPECT_EQ(log[6], "              → mode last-window: WOULD QUIT");
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[1].outcome, "too soon after attaching — kept running");
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(CloseDecisionTest, TheGraceNamesTheApplicationLiterally) {
    desktop.addApp(appDescription(102, "com.example.Sale", "100% Off %@ %s"));
    auto w = addWindow(102, "Deals");
    startEngine();
    desktop.advance(1);
    keyboardClose(w);
    Lines log = takeLog();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[2],
              "              → no action (only 1.3s since Quelto attached to 100% Off %@ %s — "
              "too early to tell a close from a launch-time window swap)");
}

TEST_F(CloseDecisionTest, ARedDotCloseIsExemptFromTheAttachGrace) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(1);
    redDotClose(notes);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 0, "quitting", true));
}

TEST_F(CloseDecisionTest, RedDotModeQuitsOnOneOfThreeWindows) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    addWindow(textEdit, "One");
    auto two = addWindow(textEdit, "Two");
    addWindow(textEdit, "Three");
    startAndSettle();
    redDotClose(two);

    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Two\"  (cached)",
                             "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: 2",
                             "                · Three  [AXStandardWindow]",
                             "                · One  [AXStandardWindow]",
                             "              → mode last-window: no action",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → QUITTING TextEdit — terminate() returned true",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 2, "quitting", true));
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
}

TEST_F(CloseDecisionTest, LastWindowModeLeavesAnAppWithWindowsLeft) {
    addWindow(textEdit, "One");
    auto two = addWindow(textEdit, "Two");
    startAndSettle();
    redDotClose(two);
    Lines log = takeLog();
    ASSERT_EQ(log.size(), 7u);
    EXPECT_EQ(log[4], "              → mode last-window: no action");
    EXPECT_EQ(log[5], "              → mode red-dot:     WOULD QUIT");
    EXPECT_EQ(log[6], "");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 1, "no action"));
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, TheRemainingWindowsAreOnlyTheUserWindows) {
    addWindow(textEdit, "Keep");
    auto two = addWindow(textEdit, "Two");
    desktop.showDialog(textEdit, "AXFloatingWindow", "Palette");
    sim::WindowDescription chromeless;
    chromeless.title = "Chromeless";
    chromeless.closeButton.present = false;
    addWindow(textEdit, chromeless);
    desktop.runDue();
    startAndSettle();
    redDotClose(two);
    Lines log = takeLog();
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(log[2], "              windows remaining: 1");
    EXPECT_EQ(log[3], "                · Keep  [AXStandardWindow]");
}

TEST_F(CloseDecisionTest, ShiftHeldOnTheRedDotKeepsTheAppRunningInEitherMode) {
    for (const char* mode : {"last-window", "red-dot"}) {
        SCOPED_TRACE(mode);
        ActivityTestSeam::startEmpty();
        writeConfig(std::string("live = true\narm = *\nescape = shift\nmode = ") + mode + "\n");
        auto notes = addWindow(textEdit, "Notes");
        if (!engine) startAndSettle();
        takeLog();
        redDotClose(notes, modifier::shift);
        Lines log = takeLog();
        ASSERT_EQ(log.size(), 5u);
        EXPECT_EQ(log[0],
                  "00:00:" + std::string(mode[0] == 'l' ? "10.000" : "10.350") +
                      "  red dot clicked — TextEdit \"Notes\"  (cached)  [shift — raw 0x20000]");
        EXPECT_EQ(log[2], "              windows remaining: 0");
        EXPECT_EQ(log[3], "              → no action (shift held — close without quitting)");
        EXPECT_EQ(log[4], "");
        ASSERT_EQ(journal().size(), 1u);
        EXPECT_EQ(journal()[0], entry("red dot", 0, "shift held — kept running"));
    }
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, OptionHeldWithTheOptionEscapeClosesEverythingWithoutQuitting) {
    writeConfig("live = true\narm = *\nescape = option\n");
    auto one = addWindow(textEdit, "One");
    addWindow(textEdit, "Two");
    startAndSettle();
    redDotClose(one, modifier::option);  // option-click closes every window of the app

    Lines log = takeLog();
    ASSERT_EQ(log.size(), 5u);
    EXPECT_EQ(log[1], "00:00:10.350  TextEdit (com.apple.TextEdit)  2 windows closed  ←  red dot");
    EXPECT_EQ(log[3], "              → no action (option held — close without quitting)");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 0, "option held — kept running"));
}

TEST_F(CloseDecisionTest, TheEscapeUsesTheModifiersOfTheClickConsumedLast) {
    sim::WindowDescription desc;
    desc.closeDelay = 0.2;
    desc.title = "A";
    auto a = addWindow(textEdit, desc);
    desc.title = "B";
    auto b = addWindow(textEdit, desc);
    startAndSettle();
    clickClose(a, modifier::shift);
    desktop.advance(0.05);
    clickClose(b, 0);  // destroyed after A, so its modifiers count
    desktop.advance(1.0);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(CloseDecisionTest, TheEscapeUsesTheModifiersOfTheClickConsumedLastEvenWhenShifted) {
    sim::WindowDescription desc;
    desc.closeDelay = 0.2;
    desc.title = "A";
    auto a = addWindow(textEdit, desc);
    desc.title = "B";
    auto b = addWindow(textEdit, desc);
    startAndSettle();
    clickClose(a, 0);
    desktop.advance(0.05);
    clickClose(b, modifier::shift);
    desktop.advance(1.0);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "shift held — kept running");
}

TEST_F(CloseDecisionTest, ACloseWithoutAClickNeverEscapes) {
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    desktop.click({5, 5}, modifier::shift);  // shift held, but on nothing
    keyboardClose(notes);
    settle();
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(CloseDecisionTest, AnExpiredClickCarriesNoModifiers) {
    sim::WindowDescription slow;
    slow.title = "Slow";
    slow.closeDelay = 2.5;
    auto w = addWindow(textEdit, slow);
    startAndSettle();
    clickClose(w, modifier::shift);
    desktop.advance(2.8 + 1.5);  // the close, then the settle period before the journal
    Lines log = takeLog();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[1],
              std::string("00:00:12.800  TextEdit (com.apple.TextEdit)  window closed  ←  ") +
                  causeNotRedDot);
    for (const std::string& line : log)
        EXPECT_EQ(line.find("shift held"), std::string::npos) << line;
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_NE(journal()[0].outcome, "shift held — kept running");
}

TEST_F(CloseDecisionTest, ThreeWindowsGoneWithinTheGatheringMakeOneReport) {
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    auto c = addWindow(textEdit, "C");
    auto d = addWindow(textEdit, "D");
    startAndSettle();
    desktop.closeWindowWithoutClick(a);
    desktop.advance(0.1);
    desktop.closeWindowWithoutClick(b);
    desktop.advance(0.15);
    desktop.closeWindowWithoutClick(c);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_EQ(gatheringOf(textEdit).windowsClosed, 3);
    desktop.advance(0.05);  // 0.3 s after the first

    EXPECT_EQ(takeLog(), (Lines{
                             std::string("00:00:10.300  TextEdit (com.apple.TextEdit)  3 windows "
                                         "closed  ←  ") +
                                 causeNotRedDot,
                             "              windows remaining: 1",
                             "                · D  [AXStandardWindow]",
                             "              → mode last-window: no action",
                             "              → mode red-dot:     no action",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry(causeNotRedDot, 1, "no action"));

    // A close after the decision starts a report of its own.
    keyboardClose(d);
    Lines next = takeLog();
    ASSERT_FALSE(next.empty());
    EXPECT_EQ(next[0],
              std::string("00:00:10.600  TextEdit (com.apple.TextEdit)  window closed  ←  ") +
                  causeNotRedDot);
    settle();
    EXPECT_EQ(journal().size(), 2u);
}

TEST_F(CloseDecisionTest, ARedDotCloseAndAPlainCloseGatheredTogetherCountAsTheRedDot) {
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    startAndSettle();
    clickClose(a);
    desktop.advance(0.1);
    desktop.closeWindowWithoutClick(b);
    desktop.advance(0.25);  // the decision, 0.3 s after the first close
    Lines log = takeLog();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[1], "00:00:10.350  TextEdit (com.apple.TextEdit)  2 windows closed  ←  red dot");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 0, "quitting", true));
}

TEST_F(CloseDecisionTest, AProtectedBundleIsAlwaysProtectedWhateverTheSettings) {
    writeConfig("live = false\nmode = red-dot\nescape = shift\narm = *\n");
    desktop.addApp(appDescription(102, "com.apple.finder", "Finder"));
    auto w = addWindow(102, "Home");
    startAndSettle();
    clickClose(w, modifier::shift);
    desktop.advance(0.35);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — Finder \"Home\"  (cached)  [shift — "
                             "raw 0x20000]",
                             "00:00:10.350  Finder (com.apple.finder)  window closed  ←  red dot",
                             "              windows remaining: 0",
                             "              → EXCLUDED (never-quit list)",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], (Activity::Entry{.at = desktop.now(),
                                             .app = "Finder",
                                             .bundleID = "com.apple.finder",
                                             .cause = "red dot",
                                             .windowsLeft = 0,
                                             .outcome = "always protected",
                                             .quit = false}));
}

TEST_F(CloseDecisionTest, AProtectedBundleIsDecidedEvenTooSoonAfterAttaching) {
    desktop.addApp(appDescription(102, "com.apple.FaceTime", "FaceTime"));
    auto w = addWindow(102, "Call");
    startEngine();
    keyboardClose(w);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "always protected");
}

TEST_F(CloseDecisionTest, WithTheSwitchOffEveryWouldQuitCaseIsPaused) {
    writeConfig("live = false\nmode = last-window\narm = *\n");
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    startAndSettle();

    redDotClose(a);  // one window left: no action, the switch is never reached
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 1, "no action"));
    takeLog();

    keyboardClose(b);  // the last one: would quit
    EXPECT_EQ(takeLog(), (Lines{
                             std::string("00:00:10.650  TextEdit (com.apple.TextEdit)  window "
                                         "closed  ←  ") +
                                 causeNotRedDot,
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     no action",
                             "              → dry run (live = false)",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0], entry(causeNotRedDot, 0, "paused — would have quit"));
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, NothingArmedIsADryRun) {
    writeConfig("live = true\n");
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    redDotClose(notes);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                             "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → dry run (com.apple.TextEdit is not armed)",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("red dot", 0, "not armed"));
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, AWindowWhoseCloseButtonWasDisabledWasClosedByTheApp) {
    sim::WindowDescription desc;
    desc.title = "Progress";
    desc.closeButton.enabled = false;
    auto w = addWindow(textEdit, desc);
    startAndSettle();
    keyboardClose(w);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.300  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "undetermined — close button disabled",
                             "              windows remaining: 0",
                             "              → no action (close button was disabled — the app "
                             "closed this window, not the user)",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry("undetermined — close button disabled", 0,
                                  "close button disabled — kept running"));
}

TEST_F(CloseDecisionTest, ADisabledButtonGatheredWithACachedOneIsNotTheDisabledCase) {
    sim::WindowDescription desc;
    desc.title = "Progress";
    desc.closeButton.enabled = false;
    auto progress = addWindow(textEdit, desc);
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    desktop.closeWindowWithoutClick(progress);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(0.3);
    settle();
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], entry(causeNotRedDot, 0, "quitting", true));
}

TEST_F(CloseDecisionTest, ATransientReadFailureLeavesTheCauseUndetermined) {
    auto w = addWindow(textEdit, "Flaky");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    startAndSettle();
    keyboardClose(w);
    settle();
    Lines log = takeLog();
    ASSERT_GE(log.size(), 1u);
    EXPECT_EQ(log[0],
              "00:00:10.300  TextEdit (com.apple.TextEdit)  window closed  ←  undetermined — "
              "read failed (cannotComplete)");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "undetermined — read failed (cannotComplete)");
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(CloseDecisionTest, WithoutAnyMissReasonTheCauseSaysNoCachedCloseButton) {
    auto w = addWindow(textEdit, "Odd");
    startAndSettle();
    engine->windowDestroyed(refOf(w), watcherOf(textEdit), false, std::nullopt);
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_EQ(gatheringOf(textEdit), (PendingReport{.windowsClosed = 1}));
    desktop.advance(0.3);
    Lines log = takeLog();
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[0],
              "00:00:10.300  TextEdit (com.apple.TextEdit)  window closed  ←  undetermined — "
              "no cached close button");
    EXPECT_EQ(log[1], "              windows remaining: 1");
    EXPECT_EQ(log[2], "                · Odd  [AXStandardWindow]");
}

TEST_F(CloseDecisionTest, TheReportGathersEveryFieldInOrder) {
    sim::WindowDescription slow;
    slow.closeDelay = 60;
    slow.title = "A";
    auto a = addWindow(textEdit, slow);
    slow.title = "B";
    auto b = addWindow(textEdit, slow);
    startAndSettle();
    clickClose(a, modifier::option | 0x100);  // option closes both, 60 s later
    auto watcher = watcherOf(textEdit);
    auto first = CloseButtonMiss::transientFailure(axerror::cannotComplete);
    auto second = CloseButtonMiss::noFrame();
    engine->windowDestroyed(refOf(b), watcher, false, first);
    engine->windowDestroyed(refOf(a), watcher, true, second);
    EXPECT_EQ(gatheringOf(textEdit), (PendingReport{.windowsClosed = 2,
                                                    .wasRedDot = true,
                                                    .afterDialog = false,
                                                    .sawCloseButton = true,
                                                    .misses = {first, second},
                                                    .modifiers = modifier::option | 0x100}));
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(CloseDecisionTest, AnAppAlreadyGoneIsLoggedWithoutAJournalEntry) {
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    auto watcher = watcherOf(textEdit);
    desktop.terminateApp(textEdit);
    desktop.runDue();
    takeLog();
    (void)notes;

    engine->report(PendingReport{.windowsClosed = 1, .wasRedDot = true}, watcher);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  TextEdit  window closed — app already gone",
                             "",
                         }));
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(CloseDecisionTest, NoDecisionOnceTheEngineIsGone) {
    auto notes = addWindow(textEdit, "Notes");
    startAndSettle();
    desktop.closeWindowWithoutClick(notes);
    desktop.runDue();
    engine.reset();
    desktop.advance(1);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(journal().empty());
}

TEST_F(CloseDecisionTest, EveryReportEndsWithABlankLine) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    startAndSettle();
    keyboardClose(a);
    Lines log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back(), "");
    EXPECT_EQ(journal().at(0), entry(causeNotRedDot, 1, "no action"));
    desktop.advance(10);
    keyboardClose(b);
    log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back(), "");
}

}  // namespace
}  // namespace quelto::enginetest
