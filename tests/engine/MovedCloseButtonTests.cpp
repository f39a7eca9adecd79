// Stale close-button frames are read again, not trusted or ignored: a toolbar shown or hidden
// moves a red dot without a notification, and a click in the title bar of a watched window
// where its cached frame misses has the window on top there read once, live. A window its
// application lists but Quelto does not watch (on another Space when Quelto attached, its
// application busy at the Space switch) is caught up at the click.

#include <gtest/gtest.h>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class MovedCloseButtonTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }

    // A window that stays open a minute after its red dot is clicked, so that it can be
    // clicked again.
    sim::ElementId slowWindow(const std::string& title) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.closeDelay = 60;
        return addWindow(textEdit, desc);
    }

    // A window of TextEdit at a given frame.
    sim::ElementId windowAt(const std::string& title, Rect frame, int space = 0,
                            bool notify = true) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.frame = frame;
        desc.space = space;
        auto id = desktop.addWindow(textEdit, desc, notify);
        desktop.runDue();
        return id;
    }
};

TEST_F(MovedCloseButtonTest, ARedDotMovedByItsToolbarIsReadAgainAndItsClickCredited) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    Point before = closeButtonCentre(notes);
    desktop.setToolbar(notes, true);
    Point now = closeButtonCentre(notes);
    ASSERT_FALSE(watcherOf(textEdit)->closeButtonFrames().at(refOf(notes)).contains(now));
    ASSERT_NE(before.y, now.y);

    clickClose(notes, modifier::shift);

    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (live read)  "
                                "[shift — raw 0x20000]"}));
    EXPECT_EQ(clickOf(notes).modifiers, modifier::shift);
    // The cache follows: the next click on it is a cached one.
    EXPECT_TRUE(watcherOf(textEdit)->closeButtonFrames().at(refOf(notes)).contains(now));
}

TEST_F(MovedCloseButtonTest, ARedDotMovedBackByItsToolbarIsFoundToo) {
    auto notes = slowWindow("Notes");
    desktop.setToolbar(notes, true);
    startEngine();
    desktop.advance(10);
    desktop.setToolbar(notes, false);
    clickClose(notes);
    EXPECT_EQ(takeLog(),
              (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (live read)"}));
}

TEST_F(MovedCloseButtonTest, AMovedRedDotCostsOneWindowServerQueryAndOneReadOfItsButton) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    desktop.setToolbar(notes, true);
    desktop.resetCounters();
    engine->handleClick(closeButtonCentre(notes), 0);
    EXPECT_TRUE(engine->clicks().hasPendingPress());
    EXPECT_EQ(desktop.windowListReadCount() + desktop.windowsAboveReadCount(), 1u);
    // The window on top told by its application's list (its number is not known yet), then
    // its close button read afresh.
    EXPECT_EQ(desktop.readCount("AXWindows"), 1u);
    EXPECT_EQ(desktop.readCount(desktop.closeButtonOf(notes), "AXPosition"), 1u);
    // The list and the minimised state, position and size of the window on top; the close
    // button read as a refresh reads it (role, subrole, button, enabled, its position and
    // size, the window's position, size and title).
    EXPECT_EQ(desktop.accessibilityReadCount(), 13u);
    // Its mouse-up, confirmed by the number learned: the windows above it, nothing read.
    engine->handleMouseUp(closeButtonCentre(notes), 0);
    EXPECT_EQ(desktop.windowListReadCount() + desktop.windowsAboveReadCount(), 2u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 13u);
    EXPECT_TRUE(engine->clicks().recordOf(refOf(notes)));
}

TEST_F(MovedCloseButtonTest, AClickInTheTitleBarOffTheRedDotIsNoClick) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    Rect frame = *desktop.windowFrame(notes);
    // Below the red dot, in its columns, within the title bar and toolbar.
    Point below{closeButtonCentre(notes).x, frame.origin.y + 40};
    desktop.click(below);
    desktop.runDue();
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_FALSE(engine->clicks().hasPendingPress());
}

TEST_F(MovedCloseButtonTest, AClickOutsideEveryTitleBarAsksNoOne) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    Rect frame = *desktop.windowFrame(notes);
    desktop.resetCounters();
    // In the window, below its title bar; and in the title bar, away from the red dot's
    // columns.
    engine->handleClick({frame.origin.x + 400, frame.origin.y + 300}, 0);
    engine->handleClick({frame.origin.x + 400, frame.origin.y + 10}, 0);
    EXPECT_EQ(desktop.windowListReadCount() + desktop.windowsAboveReadCount(), 0u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(MovedCloseButtonTest, AHungAppsTitleBarIsNotReadAgainAndKeepsItsCachedFrame) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    Rect cached = watcherOf(textEdit)->closeButtonFrames().at(refOf(notes));
    Rect frame = *desktop.windowFrame(notes);
    desktop.hangApp(textEdit, std::nullopt);
    desktop.resetCounters();
    desktop.click({closeButtonCentre(notes).x, frame.origin.y + 40});
    desktop.runDue();
    // Its list was asked and did not answer: its close button is not asked as well.
    EXPECT_GE(desktop.readCount("AXWindows"), 1u);
    EXPECT_EQ(desktop.readCount(notes, "AXRole"), 0u);
    EXPECT_EQ(watcherOf(textEdit)->closeButtonFrames().at(refOf(notes)), cached);
    desktop.recoverApp(textEdit);
}

TEST_F(MovedCloseButtonTest, AReadThatFailsKeepsTheFrameCachedBefore) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    // Clicked once: its number is known, and the next title-bar click reads no list.
    clickClose(notes);
    Rect cached = watcherOf(textEdit)->closeButtonFrames().at(refOf(notes));
    const AppWatcher::KnownWindow known = *watcherOf(textEdit)->knownWindow(refOf(notes));
    Rect frame = *desktop.windowFrame(notes);
    desktop.hangApp(textEdit, std::nullopt);
    desktop.click({closeButtonCentre(notes).x, frame.origin.y + 40});
    desktop.runDue();
    EXPECT_EQ(watcherOf(textEdit)->closeButtonFrames().at(refOf(notes)), cached);
    ASSERT_TRUE(watcherOf(textEdit)->knownWindow(refOf(notes)));
    EXPECT_EQ(watcherOf(textEdit)->knownWindow(refOf(notes))->frame, known.frame);
    EXPECT_FALSE(watcherOf(textEdit)->missReason(refOf(notes)));
    desktop.recoverApp(textEdit);
}

TEST_F(MovedCloseButtonTest, AMenuOverTheMovedRedDotTakesTheClickAndNothingIsRead) {
    auto notes = slowWindow("Notes");
    startEngine();
    desktop.advance(10);
    desktop.setToolbar(notes, true);
    Point at = closeButtonCentre(notes);
    sim::OverlayDescription menu;
    menu.name = "menu";
    menu.owner = textEdit;
    menu.bounds = Rect{{at.x - 20, at.y - 20}, {200, 200}};
    menu.layer = 101;
    desktop.showOverlay(menu);
    desktop.resetCounters();
    desktop.click(at);
    desktop.runDue();
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_EQ(desktop.readCount(desktop.closeButtonOf(notes), "AXPosition"), 0u);
}

TEST_F(MovedCloseButtonTest, AWindowTheSpaceSwitchCouldNotReadIsCaughtUpAtTheClick) {
    // TextEdit's "Docs" fills the screen on Space 1, "News" on Space 2: their red dots sit on
    // the same spot. Safari's window is in front on Space 2, so TextEdit stays in the
    // background there and is told nothing at the switch.
    Rect full{{0, 24}, {1512, 958}};
    auto docs = windowAt("Docs", full);
    auto news = windowAt("News", full, 2);
    desktop.addApp(appDescription(104, "com.apple.Safari", "Safari"));
    sim::WindowDescription safari;
    safari.title = "Start";
    safari.frame = Rect{{600, 300}, {400, 300}};
    safari.space = 2;
    desktop.addWindow(104, safari);
    desktop.setFrontmost(textEdit);
    startEngine();
    desktop.advance(10);
    ASSERT_FALSE(watcherOf(textEdit)->isWatched(refOf(news)));

    // TextEdit is busy at the switch and refuses the catch-up's read of its windows at once.
    desktop.failAttribute(desktop.applicationElementId(textEdit), "AXWindows", axerror::failure);
    desktop.switchToSpace(2);
    desktop.runDue();
    desktop.clearAttribute(desktop.applicationElementId(textEdit), "AXWindows");
    desktop.advance(5);
    ASSERT_FALSE(watcherOf(textEdit)->isWatched(refOf(news)));
    ASSERT_EQ(desktop.windowAt(closeButtonCentre(news)), news);
    takeLog();

    clickClose(news);

    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(news)));
    EXPECT_EQ(takeLog(), (Lines{"00:00:15.000  red dot clicked — TextEdit \"News\"  (live read)"}));
    EXPECT_TRUE(engine->clicks().recordOf(refOf(news)));
    EXPECT_FALSE(engine->clicks().recordOf(refOf(docs)));
}

TEST_F(MovedCloseButtonTest, AnUnwatchedWindowOverAWatchedTitleBarIsCaughtUpAtTheClick) {
    auto docs = windowAt("Docs", Rect{{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    // A window that opened without telling anyone, in front, its red dot in the columns of
    // the other's and below it, within the other's title bar.
    auto news = windowAt("News", Rect{{100, 120}, {800, 600}}, 0, false);
    ASSERT_FALSE(watcherOf(textEdit)->isWatched(refOf(news)));
    ASSERT_FALSE(
        watcherOf(textEdit)->closeButtonFrames().at(refOf(docs)).contains(closeButtonCentre(news)));
    takeLog();

    clickClose(news);

    EXPECT_TRUE(watcherOf(textEdit)->isWatched(refOf(news)));
    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"News\"  (live read)"}));
}

TEST_F(MovedCloseButtonTest, AWindowKnownByItsNumberOffScreenLetsTheWindowOnTopThereBeAsked) {
    // Two maximised windows of TextEdit on two Spaces; "Docs" was clicked on Space 1 (its
    // number learned) and kept open by a save sheet's cancel.
    Rect full{{0, 24}, {1512, 958}};
    sim::WindowDescription desc;
    desc.title = "Docs";
    desc.frame = full;
    desc.closeDelay = 60;
    auto docs = desktop.addWindow(textEdit, desc);
    desc.title = "News";
    desc.space = 2;
    auto news = desktop.addWindow(textEdit, desc);
    desktop.runDue();
    startEngine();
    desktop.advance(10);
    clickClose(docs);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(docs)));
    desktop.switchToSpace(2);
    desktop.runDue();
    desktop.advance(5);
    ASSERT_TRUE(watcherOf(textEdit)->isWatched(refOf(news)));
    takeLog();

    clickClose(news);

    EXPECT_EQ(takeLog(), (Lines{"00:00:15.000  red dot clicked — TextEdit \"News\"  (cached)"}));
}

}  // namespace
}  // namespace quelto::enginetest
