// Click attribution: matching a mouse-down to a tracked window's close button, the record's
// lifetime, and the hold while a dialog keeps the close open.

#include "engine/ModifierSuffix.h"
#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

constexpr Pid otherApp = 102;

class ClickAttributionTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        desktop.addApp(appDescription(otherApp, "com.example.Other", "Other"));
    }

    sim::ElementId slowWindow(Pid pid, const std::string& title, double closeDelay = 30) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.closeDelay = closeDelay;
        return addWindow(pid, desc);
    }

    sim::ElementId savingWindow(Pid pid, const std::string& title) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.asksToSave = true;
        return addWindow(pid, desc);
    }

    // A window whose close button the watcher reads as disabled, so that no frame is cached
    // for it; enableOnScreen() later turns it on without the watcher noticing.
    sim::ElementId disabledWindow(Pid pid, const std::string& title) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.closeButton.enabled = false;
        return addWindow(pid, desc);
    }

    void enableOnScreen(sim::ElementId window) {
        desktop.setCloseButton(window, sim::CloseButtonDescription{});
    }
};

TEST_F(ClickAttributionTest, ACachedCloseButtonOfABackgroundApplicationIsMatched) {
    auto notes = slowWindow(textEdit, "Notes");
    slowWindow(otherApp, "Elsewhere");
    desktop.setFrontmost(otherApp);
    startEngine();
    desktop.advance(10);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(notes)), 1u);

    desktop.resetCounters();
    clickClose(notes);

    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
    ASSERT_EQ(engine->clicks().size(), 1u);
    const ClickRecord& click = clickOf(notes);
    Date t = desktop.now();
    EXPECT_EQ(click, (ClickRecord{.at = t,
                                  .pid = textEdit,
                                  .modifiers = 0,
                                  .expiry = t + 2.0,
                                  .sustained = false,
                                  .dialogsSince = t,
                                  .heldBy = std::nullopt,
                                  .missedOnce = false}));
    // The hit came from memory: no close button was read. Confirming it took one read of the
    // window server's list, the application's window list and the window's own frame; the
    // log line names the window by the title the watcher follows.
    EXPECT_EQ(desktop.readCount("AXCloseButton"), 0u);
    EXPECT_EQ(desktop.readCount(notes, "AXPosition"), 1u);
    EXPECT_EQ(desktop.readCount(notes, "AXSize"), 1u);
    EXPECT_EQ(desktop.readCount("AXPosition"), 1u);
    EXPECT_EQ(desktop.readCount("AXTitle"), 0u);
    EXPECT_EQ(desktop.windowListReadCount(), 1u);
    EXPECT_EQ(desktop.windowsAboveReadCount(), 0u);

    // The next click on it asks only for what is in front of the window, its number now known,
    // and reads nothing through Accessibility.
    desktop.advance(3);
    desktop.resetCounters();
    clickClose(notes);
    EXPECT_EQ(takeLog(), (Lines{"00:00:13.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_EQ(desktop.windowListReadCount(), 0u);
    EXPECT_EQ(desktop.windowsAboveReadCount(), 1u);
}

TEST_F(ClickAttributionTest, ARetitledWindowIsLoggedByItsNewTitleWithoutARead) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    takeLog();
    desktop.setTitle(notes, "Notes — Edited");
    desktop.runDue();
    desktop.resetCounters();
    clickClose(notes);
    EXPECT_EQ(takeLog(),
              (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes — Edited\"  (cached)"}));
    EXPECT_EQ(desktop.readCount("AXTitle"), 0u);
}

TEST_F(ClickAttributionTest, AnUncachedCloseButtonOfABackgroundApplicationIsNotMatched) {
    auto stale = disabledWindow(textEdit, "Stale");
    slowWindow(otherApp, "Elsewhere");
    desktop.setFrontmost(otherApp);
    startEngine();
    desktop.advance(10);
    enableOnScreen(stale);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(stale)), 0u);

    clickClose(stale);

    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(ClickAttributionTest, AnUncachedCloseButtonOfTheFrontmostApplicationIsReadLive) {
    auto stale = disabledWindow(textEdit, "Stale");
    slowWindow(otherApp, "Elsewhere");
    desktop.setFrontmost(textEdit);
    startEngine();
    desktop.advance(10);
    enableOnScreen(stale);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(stale)), 0u);

    clickClose(stale);

    EXPECT_EQ(takeLog(),
              (Lines{"00:00:10.000  red dot clicked — TextEdit \"Stale\"  (live read)"}));
    ASSERT_TRUE(engine->clicks().recordOf(refOf(stale)));
    EXPECT_EQ(clickOf(stale).pid, textEdit);
    // The live read updated the cache as it went.
    EXPECT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(stale)), 1u);
}

TEST_F(ClickAttributionTest, TheLivePassNeedsATrackedFrontmostApplication) {
    auto stale = disabledWindow(textEdit, "Stale");
    desktop.setFrontmost(std::nullopt);
    startEngine();
    desktop.advance(10);
    enableOnScreen(stale);
    clickClose(stale);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ClickAttributionTest, ASecondClickReplacesTheFirstAndStartsItsLifetimeAgain) {
    auto notes = slowWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(1.5);
    clickClose(notes);

    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                             "00:00:11.500  red dot clicked — TextEdit \"Notes\"  (cached)",
                         }));
    ASSERT_EQ(engine->clicks().size(), 1u);
    const ClickRecord& click = clickOf(notes);
    EXPECT_EQ(click.at, desktop.now());
    EXPECT_EQ(click.expiry, desktop.now() + 2.0);

    // Still counting 1.9 s after the second click, 3.4 s after the first.
    desktop.advance(1.9);
    EXPECT_GT(clickOf(notes).expiry, desktop.now());
}

TEST_F(ClickAttributionTest, AClickWithoutModifiersHasNoSuffix) {
    auto notes = slowWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    clickClose(notes, 0);
    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
}

TEST_F(ClickAttributionTest, AClickWithOnlyShiftEndsWithTheShiftSuffix) {
    auto notes = slowWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    clickClose(notes, modifier::shift);
    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)  "
                                "[shift — raw 0x20000]"}));
    EXPECT_EQ(clickOf(notes).modifiers, modifier::shift);
}

TEST_F(ClickAttributionTest, OptionAndShiftAreNamedInOrderWithTheRawWord) {
    auto notes = slowWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    clickClose(notes, modifier::shift | modifier::option);
    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)  "
                                "[option+shift — raw 0xa0000]"}));
}

TEST_F(ClickAttributionTest, AnUntitledWindowIsNamedAsSuch) {
    auto blank = slowWindow(textEdit, "");
    startEngine();
    desktop.advance(10);
    clickClose(blank);
    EXPECT_EQ(takeLog(),
              (Lines{"00:00:10.000  red dot clicked — TextEdit \"<untitled>\"  (cached)"}));
}

TEST(ModifierSuffix, NamesTheHeldKeysInTheirFixedOrder) {
    EXPECT_EQ(modifierSuffix(0), "");
    EXPECT_EQ(modifierSuffix(modifier::shift), "  [shift — raw 0x20000]");
    EXPECT_EQ(modifierSuffix(modifier::option | modifier::shift), "  [option+shift — raw 0xa0000]");
    EXPECT_EQ(
        modifierSuffix(modifier::control | modifier::command | modifier::shift | modifier::option),
        "  [option+shift+command+control — raw 0x1e0000]");
    EXPECT_EQ(modifierSuffix(modifier::control), "  [control — raw 0x40000]");
    EXPECT_EQ(modifierSuffix(modifier::command), "  [command — raw 0x100000]");
}

TEST(ModifierSuffix, TheRawWordKeepsEveryBit) {
    // Device-dependent bits alone name nothing…
    EXPECT_EQ(modifierSuffix(0x108), "");
    EXPECT_EQ(modifierSuffix(0x10000), "");  // caps lock is not one of the four
    // …but travel in the raw word once a named key is held.
    EXPECT_EQ(modifierSuffix(modifier::command | 0x108), "  [command — raw 0x100108]");
    EXPECT_EQ(modifierSuffix(0xffffffffffffffffull),
              "  [option+shift+command+control — raw 0xffffffffffffffff]");
}

TEST_F(ClickAttributionTest, AClickThatHitsNothingLeavesNoTraceAndReadsNothing) {
    slowWindow(textEdit, "Notes");
    slowWindow(otherApp, "Elsewhere");
    desktop.setFrontmost(textEdit);  // every close button of it is cached
    startEngine();
    desktop.advance(10);
    desktop.resetCounters();

    desktop.click({5, 5});
    engine->handleClick({50, 2000}, modifier::shift);

    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ClickAttributionTest, ExpiredRecordsArePrunedAtTheNextClick) {
    auto notes = slowWindow(textEdit, "Notes");
    auto other = slowWindow(otherApp, "Elsewhere");
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(1.0);
    clickClose(other);
    desktop.advance(1.0);  // the first record's expiry is now: it no longer counts
    ASSERT_EQ(engine->clicks().size(), 2u);

    engine->handleClick({5, 5}, 0);

    ASSERT_EQ(engine->clicks().size(), 1u);
    EXPECT_TRUE(engine->clicks().recordOf(refOf(other)));
}

TEST_F(ClickAttributionTest, AWindowDestroyedTwoAndAHalfSecondsAfterAPlainClickIsNotTheRedDot) {
    auto notes = slowWindow(textEdit, "Notes", 2.5);
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(2.5);
    ASSERT_FALSE(desktop.windowNamed(textEdit, "Notes"));
    desktop.advance(0.3 + windowSwapSettle);  // no red dot: the settle period before the quit
    Lines log = takeLog();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[1],
              "00:00:12.800  TextEdit (com.apple.TextEdit)  window closed  ←  not the red dot "
              "(cmd-W / menu / programmatic)");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "not the red dot (cmd-W / menu / programmatic)");
}

TEST_F(ClickAttributionTest, AWindowDestroyedRightAtTheExpiryStillCountsAsTheRedDot) {
    auto notes = slowWindow(textEdit, "Notes", 2.0);
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(2.3);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot");
}

TEST_F(ClickAttributionTest, ADialogHeldThirtySecondsAndThenConfirmedKeepsTheClick) {
    auto letter = savingWindow(textEdit, "Letter");
    startEngine();
    desktop.advance(10);

    clickClose(letter);
    desktop.advance(0.35);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Letter\"  (cached)",
                             "00:00:10.350    …close is waiting on a dialog — holding the click",
                         }));
    EXPECT_TRUE(clickOf(letter).sustained);

    // The hold is renewed each second and logged only once.
    desktop.advance(29.65);
    EXPECT_TRUE(takeLog().empty());
    const ClickRecord& held = clickOf(letter);
    EXPECT_NEAR(held.expiry - desktop.now(), 1.35, 1e-6);  // renewed at 39.35 for 2 s

    desktop.answerSheet(letter, true);  // "Save": the window closes 0.05 s later
    desktop.advance(0.35);
    EXPECT_EQ(takeLog(), (Lines{
                             // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one line
                             "00:00:40.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot — after a dialog",
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → QUITTING TextEdit — terminate() returned true",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot — after a dialog");
    EXPECT_TRUE(journal()[0].quit);
}

TEST_F(ClickAttributionTest, ADialogStillUpAfter120SecondsDropsTheClick) {
    auto letter = savingWindow(textEdit, "Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    desktop.advance(120.34);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter)));
    desktop.advance(0.01);  // the check 120.35 s after the click
    EXPECT_FALSE(engine->clicks().recordOf(refOf(letter)));
    takeLog();

    desktop.answerSheet(letter, true);
    desktop.advance(1.0 + windowSwapSettle);  // no red dot: the settle period before the quit
    Lines log = takeLog();
    ASSERT_GE(log.size(), 1u);
    EXPECT_EQ(log[0],
              "00:02:10.700  TextEdit (com.apple.TextEdit)  window closed  ←  not the red dot "
              "(cmd-W / menu / programmatic)");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "not the red dot (cmd-W / menu / programmatic)");
}

TEST_F(ClickAttributionTest, AnApplicationDialogWindowAlsoHoldsTheClick) {
    auto notes = slowWindow(textEdit, "Notes", 60);
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.showDialog(textEdit, "AXSystemDialog", "Are you sure?");
    desktop.advance(0.35);
    ASSERT_TRUE(clickOf(notes).sustained);
    EXPECT_EQ(clickOf(notes).expiry, desktop.now() + 2.0);
}

TEST_F(ClickAttributionTest, ADialogDismissedWithoutClosingLeavesAFiveSecondGrace) {
    auto letter = savingWindow(textEdit, "Letter");
    slowWindow(textEdit, "Draft");  // keeps the application from being quit
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    desktop.advance(2.0);
    desktop.answerSheet(letter, false);  // "Cancel": the window stays
    desktop.advance(0.35);               // the check at 12.35 sees the dialog gone…
    desktop.advance(0.25);               // …and so does the one at 12.60
    const ClickRecord& click = clickOf(letter);
    EXPECT_TRUE(click.sustained);
    EXPECT_EQ(click.expiry, desktop.now() + 5.0);
    Date graceEnd = click.expiry;

    // Nothing renews it any more; within the grace, a close counts as the red dot, after a
    // dialog.
    desktop.advance(4.4);
    EXPECT_EQ(clickOf(letter).expiry, graceEnd);
    desktop.closeWindowWithoutClick(letter);
    desktop.advance(0.3);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot — after a dialog");
}

TEST_F(ClickAttributionTest, AfterTheGraceAClosedWindowGetsNothingFromTheExpiredClick) {
    auto letter = savingWindow(textEdit, "Letter");
    slowWindow(textEdit, "Draft");
    startEngine();
    desktop.advance(10);
    clickClose(letter, modifier::shift);
    desktop.advance(2.0);
    desktop.answerSheet(letter, false);
    desktop.advance(0.35 + 5.0 + 0.5);
    desktop.closeWindowWithoutClick(letter);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    // An expired click counts for nothing: not the red dot, no dialog flag, no modifiers.
    EXPECT_FALSE(gatheringOf(textEdit).wasRedDot);
    EXPECT_FALSE(gatheringOf(textEdit).afterDialog);
    EXPECT_EQ(gatheringOf(textEdit).modifiers, 0u);
}

TEST_F(ClickAttributionTest, AWindowThatIsGoneKeepsItsRecordForItsDestruction) {
    auto notes = slowWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    // A ledger of its own over the engine's applications.
    auto owner = std::make_shared<int>(0);
    ClickLedger ledger(desktop.context(), engine->apps(), owner);
    ledger.record(refOf(notes), watcherOf(textEdit), 0, "cached");
    ClickRecord before = *ledger.recordOf(refOf(notes));
    desktop.destroyWindow(notes);  // its notification is still queued
    ledger.sustainIfBlocked(refOf(notes), textEdit);
    ASSERT_TRUE(ledger.recordOf(refOf(notes)));
    EXPECT_EQ(*ledger.recordOf(refOf(notes)), before);
}

TEST_F(ClickAttributionTest, TheDialogCheckStopsForAnApplicationNoLongerTracked) {
    auto letter = savingWindow(textEdit, "Letter");
    startEngine();
    desktop.advance(10);
    // A ledger of its own over the engine's applications, where 999 is not tracked.
    auto owner = std::make_shared<int>(0);
    ClickLedger ledger(desktop.context(), engine->apps(), owner);
    ledger.record(refOf(letter), watcherOf(textEdit), 0, "cached");
    desktop.click(closeButtonCentre(letter));  // the sheet goes up
    desktop.runDue();
    takeLog();
    ClickRecord before = *ledger.recordOf(refOf(letter));
    ledger.sustainIfBlocked(refOf(letter), 999);
    EXPECT_EQ(*ledger.recordOf(refOf(letter)), before);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ClickAttributionTest, DelayedChecksDoNothingOnceTheEngineIsGone) {
    auto letter = savingWindow(textEdit, "Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    takeLog();
    engine.reset();
    desktop.advance(5);
    EXPECT_TRUE(takeLog().empty());
}

}  // namespace
}  // namespace quelto::enginetest
