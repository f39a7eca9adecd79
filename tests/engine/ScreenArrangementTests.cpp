// The displays' arrangement changes under every window: every cached close button is read
// afresh, and the next click is found where the red dot now is.

#include <gtest/gtest.h>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class ScreenArrangementTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }
};

TEST_F(ScreenArrangementTest, EveryCachedCloseButtonIsReadAfreshWhenTheDisplaysChange) {
    auto notes = addWindow(textEdit, "Notes");
    auto report = addWindow(textEdit, "Report");
    startEngine();
    desktop.advance(10);
    desktop.shiftDisplays({1440, 0});
    desktop.runDue();
    const auto& frames = watcherOf(textEdit)->closeButtonFrames();
    for (auto window : {notes, report}) {
        auto cached = frames.find(refOf(window));
        ASSERT_NE(cached, frames.end());
        EXPECT_TRUE(cached->second.contains(closeButtonCentre(window)));
        const AppWatcher::KnownWindow* known = watcherOf(textEdit)->knownWindow(refOf(window));
        ASSERT_TRUE(known);
        EXPECT_EQ(known->frame, desktop.windowFrame(window));
    }
}

TEST_F(ScreenArrangementTest, TheClickAfterARearrangementIsCredited) {
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    takeLog();
    desktop.shiftDisplays({0, -900});
    desktop.runDue();
    clickClose(notes);
    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
}

TEST_F(ScreenArrangementTest, TheObserverGoesWithTheEngine) {
    addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    engine.reset();
    desktop.shiftDisplays({1440, 0});
    desktop.runDue();  // nothing to tell, nothing to crash
    SUCCEED();
}

}  // namespace
}  // namespace quelto::enginetest
