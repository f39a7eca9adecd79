// Every click counted as the user made it: the click is made when the button goes up on the
// close button it went down on; it belongs to the window on top there at any layer (menus,
// banners, Quelto's own windows take theirs; a floating window's red dot is a red dot); an
// option-click carries its modifiers to every window it closes; an expired click counts for
// nothing.

#include <gtest/gtest.h>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class ClickAsMadeTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }

    sim::ElementId window(const std::string& title, Rect frame, int layer = 0) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.frame = frame;
        desc.layer = layer;
        return addWindow(textEdit, desc);
    }

    // "Letter", whose red dot brings down a save sheet, beside "Draft"; Quelto started 10 s
    // ago and the red dot clicked a second ago: the click is held by the sheet.
    sim::ElementId clickHeldBySaveSheet() {
        sim::WindowDescription saving;
        saving.title = "Letter";
        saving.frame = {{100, 100}, {500, 400}};
        saving.asksToSave = true;
        auto letter = addWindow(textEdit, saving);
        window("Draft", {{700, 100}, {300, 300}});
        startEngine();
        desktop.advance(10);
        clickClose(letter);
        desktop.advance(1);
        return letter;
    }
};

TEST_F(ClickAsMadeTest, APressDraggedOffTheRedDotIsNoClick) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    desktop.press(closeButtonCentre(notes));
    EXPECT_TRUE(engine->clicks().empty());
    desktop.advance(0.5);
    desktop.release({600, 500});
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(desktop.isElementAlive(notes));
}

TEST_F(ClickAsMadeTest, TheClickIsMadeAtTheMouseUpWithItsTimeAndModifiers) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    window("Other", {{1000, 100}, {300, 300}});
    startEngine();
    desktop.advance(10);
    desktop.press(closeButtonCentre(notes));
    desktop.advance(3);  // held down past a click's lifetime
    desktop.release(closeButtonCentre(notes), modifier::shift);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(notes)));
    const ClickRecord& click = *engine->clicks().recordOf(refOf(notes));
    EXPECT_EQ(click.at, desktop.now());
    EXPECT_EQ(click.modifiers, modifier::shift);
    desktop.advance(0.1);  // the window goes 0.05 s after the release
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_TRUE(gatheringOf(textEdit).wasRedDot);
    EXPECT_EQ(gatheringOf(textEdit).modifiers, modifier::shift);
}

TEST_F(ClickAsMadeTest, AWindowGoneBeforeItsMouseUpWasHandledClosedByTheRedDot) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    window("Other", {{1000, 100}, {300, 300}});
    startEngine();
    desktop.advance(10);
    Point dot = closeButtonCentre(notes);
    engine->handleClick(dot, 0);
    // The app closed the window at the up; its notification reaches Quelto first.
    desktop.destroyWindow(notes);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_FALSE(gatheringOf(textEdit).wasRedDot);
    engine->handleMouseUp(dot, modifier::shift);
    EXPECT_TRUE(gatheringOf(textEdit).wasRedDot);
    EXPECT_EQ(gatheringOf(textEdit).modifiers, modifier::shift);
}

TEST_F(ClickAsMadeTest, AMenuOverTheRedDotTakesTheClick) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    Point dot = closeButtonCentre(notes);
    desktop.showOverlay(sim::OverlayDescription{
        "File menu", textEdit, {{dot.x - 20, dot.y - 20}, {240, 300}}, 101, 1});
    desktop.click(dot);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(desktop.isElementAlive(notes));
}

TEST_F(ClickAsMadeTest, ATransparentWindowTakesNoClick) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    Point dot = closeButtonCentre(notes);
    desktop.showOverlay(
        sim::OverlayDescription{"Ghost", 77, {{dot.x - 20, dot.y - 20}, {100, 100}}, 25, 0});
    desktop.click(dot);
    EXPECT_TRUE(engine->clicks().recordOf(refOf(notes)));
}

TEST_F(ClickAsMadeTest, AFloatingWindowsRedDotIsARedDot) {
    window("Document", {{100, 100}, {800, 600}});
    auto palette = window("Palette", {{300, 300}, {200, 200}}, 3);
    window("Later", {{250, 250}, {600, 400}});  // opened later, yet below the floating one
    startEngine();
    desktop.advance(10);
    clickClose(palette);
    EXPECT_TRUE(engine->clicks().recordOf(refOf(palette)));
}

TEST_F(ClickAsMadeTest, QueltosOwnWindowOnTopIsNeverCreditedToTheWindowUnderneath) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    Point dot = closeButtonCentre(notes);
    desktop.addApp(appDescription(ownPid, "com.example.quelto", "Quelto"));
    sim::WindowDescription settings;
    settings.title = "Quelto";
    settings.frame = {{dot.x - 50, dot.y - 50}, {400, 300}};
    desktop.addWindow(ownPid, settings);
    // Quelto's monitors never see a click in its own window; even handed one, the engine
    // credits it to nothing.
    engine->handleClick(dot, 0);
    engine->handleMouseUp(dot, 0);
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(ClickAsMadeTest, AnOptionClickCarriesItsModifiersToEveryWindowItCloses) {
    auto letter = window("Letter", {{100, 100}, {500, 400}});
    sim::WindowDescription saving;
    saving.title = "Report";
    saving.frame = {{650, 100}, {500, 400}};
    saving.asksToSave = true;
    auto report = addWindow(textEdit, saving);
    startEngine();
    desktop.advance(10);
    clickClose(letter, modifier::shift | modifier::option);
    desktop.advance(1);
    EXPECT_FALSE(desktop.isElementAlive(letter));
    ASSERT_TRUE(desktop.isElementAlive(report));  // its save sheet is up
    desktop.advance(4);
    desktop.answerSheet(report, true);
    desktop.advance(0.1);
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_TRUE(gatheringOf(textEdit).wasRedDot);
    EXPECT_TRUE(gatheringOf(textEdit).afterDialog);
    EXPECT_EQ(gatheringOf(textEdit).modifiers, modifier::shift | modifier::option);
}

TEST_F(ClickAsMadeTest, AnExpiredClickCountsForNothing) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    // A shift-click whose mouse-up came, but whose window did not close (a hung app, say):
    engine->handleClick(closeButtonCentre(notes), modifier::shift);
    engine->handleMouseUp(closeButtonCentre(notes), modifier::shift);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(notes)));
    desktop.advance(60);
    desktop.closeWindowWithoutClick(notes);
    desktop.runDue();
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_FALSE(gatheringOf(textEdit).wasRedDot);
    EXPECT_FALSE(gatheringOf(textEdit).afterDialog);
    EXPECT_EQ(gatheringOf(textEdit).modifiers, 0u);
}

TEST_F(ClickAsMadeTest, ADialogHoldSurvivesChecksThatCannotRead) {
    auto letter = clickHeldBySaveSheet();
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter))->sustained);
    // The app stops answering: every check's reads fail. Unknown is not "no dialog".
    desktop.hangApp(textEdit, 20.0);
    EXPECT_EQ(watcherOf(textEdit)->closeBlockedState(refOf(letter), Date{}).blocked, std::nullopt);
    desktop.advance(25);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter)));
    EXPECT_GT(engine->clicks().recordOf(refOf(letter))->expiry, desktop.now());
    desktop.answerSheet(letter, true);
    desktop.advance(0.1);
    ASSERT_TRUE(engine->closes().isGathering(textEdit));
    EXPECT_TRUE(gatheringOf(textEdit).wasRedDot);
    EXPECT_TRUE(gatheringOf(textEdit).afterDialog);
}

TEST_F(ClickAsMadeTest, ADialogLookTimingOutLeavesTheAppAlone) {
    auto letter = clickHeldBySaveSheet();
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter))->sustained);
    // The app stops answering: the look's reads wait out their time-out and fail. The look
    // still counts as unknown, the hold stands, and the app is left alone for the rest.
    desktop.hangApp(textEdit, 20.0);
    EXPECT_EQ(watcherOf(textEdit)->closeBlockedState(refOf(letter), Date{}).blocked, std::nullopt);
    EXPECT_TRUE(watcherOf(textEdit)->isLeftAlone());
    desktop.advance(3);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(letter)));
    EXPECT_GT(engine->clicks().recordOf(refOf(letter))->expiry, desktop.now());
}

TEST_F(ClickAsMadeTest, TheBlockedStateIsKnownWhenTheReadsAnswer) {
    auto notes = window("Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    EXPECT_EQ(watcherOf(textEdit)->closeBlockedState(refOf(notes), Date{}).blocked, std::optional<bool>(false));
    desktop.showSheet(notes);
    EXPECT_EQ(watcherOf(textEdit)->closeBlockedState(refOf(notes), Date{}).blocked, std::optional<bool>(true));
}

}  // namespace
}  // namespace quelto::enginetest
