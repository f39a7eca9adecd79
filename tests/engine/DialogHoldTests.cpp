// The dialog hold of a clicked close: only the dialogs and sheets that came after the click
// hold it, a look that finds none is followed by a second one before the hold ends, and the
// dialog window that held the click is asked directly, wherever it is.

#include <algorithm>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class DialogHoldTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        writeConfig("live = true\nmode = red-dot\narm = *\n");
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }

    // A window its app closes `closeDelay` after its red dot (an app that waits for its alert).
    sim::ElementId slowWindow(const std::string& title, double closeDelay = 30) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.closeDelay = closeDelay;
        return addWindow(textEdit, desc);
    }

    // A window whose red dot brings down a save sheet.
    sim::ElementId savingWindow(const std::string& title) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.asksToSave = true;
        return addWindow(textEdit, desc);
    }

    // Quelto started 10 s ago, the window's red dot clicked, and the app's save alert up: a
    // second later the click is held by it. Returns the alert.
    sim::ElementId clickHeldByAnAlert(sim::ElementId window) {
        startEngine();
        desktop.advance(10);
        clickClose(window);
        auto alert =
            desktop.showDialog(textEdit, "AXApplicationAlertDialog", "Save changes?", true);
        desktop.advance(1);
        EXPECT_TRUE(isHeld(window));
        return alert;
    }

    // Whether the window's click is held by a dialog and still counts.
    bool isHeld(sim::ElementId window) const {
        const ClickRecord* click = engine->clicks().recordOf(refOf(window));
        return click && click->sustained && click->expiry > desktop.now();
    }

    // The application's close being gathered counts as a red-dot close after a dialog.
    void expectClosedByTheRedDotAfterADialog() {
        ASSERT_TRUE(engine->closes().isGathering(textEdit));
        EXPECT_TRUE(gatheringOf(textEdit).wasRedDot);
        EXPECT_TRUE(gatheringOf(textEdit).afterDialog);
    }
};

TEST_F(DialogHoldTest, AnAlertThatCameFirstDoesNotHoldTheClick) {
    auto notes = slowWindow("Notes");
    slowWindow("Draft");
    startEngine();
    desktop.advance(10);
    desktop.showDialog(textEdit, "AXDialog", "The disk is full.", true);
    desktop.advance(3);

    clickClose(notes);  // the alert leaves the red dot without effect
    desktop.advance(0.35);
    EXPECT_EQ(takeLog(), (Lines{"00:00:13.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
    EXPECT_FALSE(clickOf(notes).sustained);

    // The click runs its two seconds; a ⌘W after them is a ⌘W.
    desktop.advance(2.0);
    EXPECT_FALSE(engine->clicks().hasCountingClick(textEdit));
    desktop.closeWindowWithoutClick(notes);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_FALSE(gatheringOf(textEdit).wasRedDot);
    EXPECT_FALSE(gatheringOf(textEdit).afterDialog);
}

TEST_F(DialogHoldTest, ASheetThatCameFirstDoesNotHoldTheClick) {
    auto letter = savingWindow("Letter");
    startEngine();
    desktop.advance(10);
    desktop.showSheet(letter);
    desktop.advance(3);

    clickClose(letter);  // the window is modal to its sheet: the red dot does nothing
    desktop.advance(1.35);
    EXPECT_FALSE(clickOf(letter).sustained);
    EXPECT_EQ(takeLog(), (Lines{"00:00:13.000  red dot clicked — TextEdit \"Letter\"  (cached)"}));
}

TEST_F(DialogHoldTest, ADialogSeenLessThanASecondBeforeTheClickStillHolds) {
    // The app's answer to a click may reach Quelto before the mouse-up does: a dialog seen
    // just before the click may be the click's own.
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    desktop.showDialog(textEdit, "AXApplicationAlertDialog", "Save changes?", true);
    desktop.advance(0.9);
    clickClose(notes);
    desktop.advance(0.35);
    EXPECT_TRUE(isHeld(notes));
}

TEST_F(DialogHoldTest, ASecondClickOnAHeldRedDotKeepsTheHold) {
    auto letter = savingWindow("Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);  // the save sheet comes down
    desktop.advance(3);
    ASSERT_TRUE(isHeld(letter));

    // Clicked again while the sheet is up: the sheet came before this click, but after the
    // first, and still holds it, as its own first look says.
    clickClose(letter, modifier::shift);
    desktop.advance(10);
    EXPECT_TRUE(isHeld(letter));
    EXPECT_EQ(clickOf(letter).modifiers, modifier::shift);
    desktop.answerSheet(letter, true);
    desktop.advance(0.1);
    expectClosedByTheRedDotAfterADialog();
    Lines log = takeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "00:00:13.350    …close is waiting on a dialog — holding the click"),
              1);
}

TEST_F(DialogHoldTest, ASecondClickOnAHeldRedDotStaysHeldWhileTheLooksCannotTell) {
    auto letter = savingWindow("Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    desktop.advance(1);
    ASSERT_TRUE(isHeld(letter));
    clickClose(letter);  // the sheet is up: the red dot does nothing
    desktop.hangApp(textEdit, 10.0);
    desktop.advance(12);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter)));
    EXPECT_GT(clickOf(letter).expiry, desktop.now());
    desktop.answerSheet(letter, true);
    desktop.advance(0.1);
    expectClosedByTheRedDotAfterADialog();
}

TEST_F(DialogHoldTest, ALookThatFindsNoDialogIsFollowedByAnotherAQuarterSecondLater) {
    auto letter = savingWindow("Untitled");
    startEngine();
    desktop.advance(10);
    clickClose(letter);  // looks at 10.35, 11.35, 12.35, …
    desktop.advance(2.33);
    ASSERT_TRUE(isHeld(letter));

    // Save…: the question goes at 12.33, the Save panel comes down at 12.38.
    desktop.answerSheetWithSaveAs(letter);
    desktop.advance(0.02);  // the look at 12.35 sees no sheet
    EXPECT_TRUE(clickOf(letter).missedOnce);
    EXPECT_EQ(clickOf(letter).expiry, desktop.now() + ClickRecord::lifetime);
    desktop.advance(0.25);  // the look at 12.60 sees the Save panel
    EXPECT_FALSE(clickOf(letter).missedOnce);
    EXPECT_EQ(clickOf(letter).expiry, desktop.now() + ClickRecord::lifetime);

    desktop.advance(30);
    EXPECT_TRUE(isHeld(letter));
    desktop.answerSheet(letter, true);
    desktop.advance(0.1);
    expectClosedByTheRedDotAfterADialog();
}

TEST_F(DialogHoldTest, TwoLooksThatFindNoDialogEndTheHold) {
    auto letter = savingWindow("Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    desktop.advance(2.0);
    desktop.answerSheet(letter, false);  // "Cancel": the window stays
    desktop.advance(0.35);               // the look at 12.35 sees none
    EXPECT_TRUE(isHeld(letter));
    desktop.advance(0.25);  // nor does the one at 12.60: the grace begins
    EXPECT_EQ(clickOf(letter).expiry, desktop.now() + ClickRecord::afterDialogGrace);
    EXPECT_FALSE(clickOf(letter).missedOnce);
    desktop.advance(5.0);
    EXPECT_FALSE(engine->clicks().hasCountingClick(textEdit));
}

TEST_F(DialogHoldTest, TheDialogThatHeldTheClickHoldsItOnAnotherSpace) {
    auto notes = slowWindow("Notes", 40);
    auto alert = clickHeldByAnAlert(notes);
    ASSERT_TRUE(isHeld(notes));
    EXPECT_EQ(clickOf(notes).heldBy, std::optional<WindowRef>(refOf(alert)));

    // On Space 2 the app lists neither window; the alert is asked directly, and nothing else.
    desktop.switchToSpace(2);
    desktop.advance(0.5);
    desktop.resetCounters();
    desktop.advance(20);
    EXPECT_TRUE(isHeld(notes));
    EXPECT_EQ(desktop.readCount("AXWindows"), 0u);
    EXPECT_EQ(desktop.readCount(alert, "AXSubrole"), 20u);

    // Answered: the next two looks find no dialog, and the grace begins.
    desktop.destroyWindow(alert);
    desktop.advance(0.85);
    EXPECT_TRUE(clickOf(notes).missedOnce);
    desktop.advance(0.25);
    EXPECT_EQ(clickOf(notes).expiry, desktop.now() + ClickRecord::afterDialogGrace);
}

TEST_F(DialogHoldTest, ADialogOrderedOutHoldsNoMore) {
    auto notes = slowWindow("Notes");
    auto alert = clickHeldByAnAlert(notes);
    ASSERT_TRUE(isHeld(notes));

    // The app keeps its alert for later: answered, it is ordered out, not destroyed.
    desktop.orderOutWindow(alert);
    desktop.advance(0.35 + 0.25);
    EXPECT_EQ(clickOf(notes).expiry, desktop.now() + ClickRecord::afterDialogGrace);
}

TEST_F(DialogHoldTest, ADialogThatHeldTheClickAndCannotBeReadKeepsHolding) {
    auto notes = slowWindow("Notes");
    auto alert = clickHeldByAnAlert(notes);
    ASSERT_TRUE(isHeld(notes));
    desktop.switchToSpace(2);
    desktop.advance(0.5);
    // Its subrole cannot be read for a while, and nothing else shows a dialog: unknown.
    desktop.injectError(alert, "AXSubrole", axerror::cannotComplete, 5);
    desktop.advance(6);
    EXPECT_TRUE(isHeld(notes));
    EXPECT_FALSE(clickOf(notes).missedOnce);
}

TEST_F(DialogHoldTest, ASheetHoldsTheClickOfItsWindowOnAnotherSpace) {
    auto letter = savingWindow("Letter");
    startEngine();
    desktop.advance(10);
    clickClose(letter);
    desktop.advance(1);
    ASSERT_TRUE(isHeld(letter));
    desktop.switchToSpace(2);
    desktop.advance(30);
    EXPECT_TRUE(isHeld(letter));
    desktop.switchToSpace(1);
    desktop.answerSheet(letter, true);
    desktop.advance(0.1);
    expectClosedByTheRedDotAfterADialog();
}

}  // namespace
}  // namespace quelto::enginetest
