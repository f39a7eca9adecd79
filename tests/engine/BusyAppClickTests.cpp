// A busy application's click is not dropped: the window server says which window is on top
// where the button went up; when the application cannot say which of its windows that is,
// the watcher's last known frames do. A window clicked before is known by its window number,
// and its application is not asked at all.

#include <gtest/gtest.h>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class BusyAppClickTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }
};

TEST_F(BusyAppClickTest, AHungAppsCachedClickIsCreditedWithoutAskingIt) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    takeLog();
    desktop.hangApp(textEdit, std::nullopt);
    desktop.resetCounters();

    clickClose(notes, modifier::shift);

    // Written once the read of TextEdit's windows gave up, a second later; TextEdit is left
    // alone from then on.
    EXPECT_EQ(takeLog(),
              (Lines{"00:00:11.000  TextEdit is not answering — leaving it alone for 3 s",
                     "00:00:11.000  red dot clicked — TextEdit \"Notes\"  (cached)  "
                     "[shift — raw 0x20000]"}));
    EXPECT_EQ(clickOf(notes).modifiers, modifier::shift);
    // The one read tried, of the application's window list, failed.
    EXPECT_EQ(desktop.readCount("AXWindows"), 1u);
    EXPECT_EQ(desktop.windowListReadCount(), 1u);
}

TEST_F(BusyAppClickTest, TwoKnownWindowsWithTheBoundsOnTopConfirmNothingWhileTheAppIsHung) {
    sim::WindowDescription desc;
    desc.title = "Front";
    auto front = addWindow(textEdit, desc);
    desc.title = "Back";
    auto back = addWindow(textEdit, desc);
    Rect frame = *desktop.windowFrame(front);
    desktop.moveWindow(back, frame.origin);
    desktop.resizeWindow(back, frame.size);
    desktop.focusWindow(front);
    startEngine();
    desktop.advance(10);
    ASSERT_EQ(desktop.windowAt(closeButtonCentre(front)), front);
    takeLog();
    desktop.hangApp(textEdit, std::nullopt);
    clickClose(front);
    EXPECT_TRUE(engine->clicks().empty());
    // No click line; only that TextEdit, whose list read timed out, is left alone.
    EXPECT_EQ(takeLog(),
              (Lines{"00:00:11.000  TextEdit is not answering — leaving it alone for 3 s"}));
}

TEST_F(BusyAppClickTest, AWindowClickedBeforeIsConfirmedWithoutAskingItsApp) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    // A click the application itself never sees (the window stays): its number is learned.
    Point at = closeButtonCentre(notes);
    engine->handleClick(at, 0);
    engine->handleMouseUp(at, 0);
    ASSERT_TRUE(engine->clicks().recordOf(refOf(notes)));
    desktop.advance(3);
    takeLog();
    desktop.hangApp(textEdit, std::nullopt);
    desktop.resetCounters();
    clickClose(notes);
    EXPECT_EQ(takeLog(), (Lines{"00:00:13.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_EQ(desktop.windowListReadCount(), 0u);
    EXPECT_EQ(desktop.windowsAboveReadCount(), 1u);
}

TEST_F(BusyAppClickTest, TheWatcherKnowsEachCachedWindowsFrameAndTitle) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    const AppWatcher::KnownWindow* known = watcherOf(textEdit)->knownWindow(refOf(notes));
    ASSERT_TRUE(known);
    EXPECT_EQ(known->frame, desktop.windowFrame(notes));
    EXPECT_EQ(known->title, std::optional<std::string>("Notes"));

    desktop.moveWindow(notes, {2000, 900});
    desktop.runDue();
    known = watcherOf(textEdit)->knownWindow(refOf(notes));
    ASSERT_TRUE(known);
    EXPECT_EQ(known->frame, desktop.windowFrame(notes));
}

}  // namespace
}  // namespace quelto::enginetest
