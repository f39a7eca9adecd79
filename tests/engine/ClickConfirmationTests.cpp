// A close-button hit counts only for the window really on top at the click point: the
// window server's on-screen list confirms what the cached frames suggest.

#include <tuple>

#include "engine/OtherSpacesWindows.h"
#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

constexpr Pid otherApp = 102;

// A maximised window: both apps' red dots sit on the same spot, (8, 31) to (22, 47).
const Rect maximised{{0, 25}, {1440, 875}};
const Point sharedRedDot{15, 39};

class ClickConfirmationTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        desktop.addApp(appDescription(otherApp, "com.example.Other", "Other"));
    }

    sim::ElementId windowAt(Pid pid, const std::string& title, Rect frame,
                            bool closeButtonEnabled = true) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.frame = frame;
        desc.closeButton.enabled = closeButtonEnabled;
        auto id = desktop.addWindow(pid, desc);
        desktop.runDue();
        return id;
    }

    Point redDotOf(sim::ElementId window) const {
        Rect r = desktop.closeButtonFrame(window).value_or(Rect{});
        return {r.origin.x + r.size.width / 2, r.origin.y + r.size.height / 2};
    }
};

TEST_F(ClickConfirmationTest, AClickOnNoCachedFrameNeverAsksTheWindowServer) {
    windowAt(textEdit, "Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    desktop.resetCounters();

    engine->handleClick({5000, 5000}, 0);
    desktop.click({400, 400});  // inside the window, not on its close button

    EXPECT_EQ(desktop.windowListReadCount(), 0u);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(ClickConfirmationTest, AConfirmedHitIsCreditedAsBefore) {
    auto notes = windowAt(textEdit, "Notes", {{100, 100}, {800, 600}});
    startEngine();
    desktop.advance(10);
    desktop.resetCounters();

    desktop.click(redDotOf(notes));

    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)"}));
    EXPECT_TRUE(engine->clicks().recordOf(refOf(notes)));
    EXPECT_EQ(desktop.windowListReadCount(), 1u);
}

// Two maximised windows of two apps, the red dot clicked on the front one: in both modes,
// with and without shift, the click is the front window's, never the covered one's.
class MaximisedWindowsTest : public ClickConfirmationTest,
                             public ::testing::WithParamInterface<std::tuple<bool, bool>> {};

TEST_P(MaximisedWindowsTest, TheClickIsTheFrontWindows) {
    auto [redDotMode, shift] = GetParam();
    writeConfig(redDotMode ? "live = true\nmode = red-dot\narm = *\n" : liveAllLastWindow);
    // TextEdit is tracked first, so its cached frame is the one the cached pass meets first.
    auto behind = windowAt(textEdit, "Behind", maximised);
    auto front = windowAt(otherApp, "Front", maximised);
    desktop.setFrontmost(otherApp);
    startEngine();
    desktop.advance(10);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().at(refOf(behind)).contains(sharedRedDot),
              true);

    desktop.click(sharedRedDot, shift ? modifier::shift : 0);
    desktop.advance(1);

    Lines log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front(),
              std::string("00:00:10.000  red dot clicked — Other \"Front\"  (cached)") +
                  (shift ? "  [shift — raw 0x20000]" : ""));
    EXPECT_FALSE(desktop.isElementAlive(front));
    EXPECT_TRUE(desktop.isElementAlive(behind));
    EXPECT_FALSE(engine->clicks().recordOf(refOf(behind)));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].app, "Other");
    EXPECT_EQ(journal()[0].cause, "red dot");
    EXPECT_EQ(journal()[0].outcome, shift ? "shift held — kept running" : "quitting");
    EXPECT_TRUE(desktop.isRunning(textEdit));

    // TextEdit's next ⌘W is an ordinary close: the shift-click was not its.
    desktop.advance(15);
    takeLog();
    desktop.closeWindowWithoutClick(behind);
    desktop.advance(1 + windowSwapSettle);  // no red dot: the settle period before the quit
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0].app, "TextEdit");
    EXPECT_EQ(journal()[0].cause, "not the red dot (cmd-W / menu / programmatic)");
}

INSTANTIATE_TEST_SUITE_P(BothModesWithAndWithoutShift, MaximisedWindowsTest,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool()));

TEST_F(ClickConfirmationTest, OfTwoMaximisedWindowsOfOneAppTheFrontOneGetsTheClick) {
    auto back = windowAt(textEdit, "Back", maximised);
    auto front = windowAt(textEdit, "Front", maximised);
    startEngine();
    desktop.advance(10);
    ASSERT_EQ(desktop.windowAt(sharedRedDot), front);

    desktop.press(sharedRedDot);
    EXPECT_TRUE(engine->clicks().empty());  // the click is made when the button goes up
    desktop.release(sharedRedDot);

    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — TextEdit \"Front\"  (cached)"}));
    EXPECT_TRUE(engine->clicks().recordOf(refOf(front)));
    EXPECT_FALSE(engine->clicks().recordOf(refOf(back)));
}

TEST_F(ClickConfirmationTest, AFullScreenWindowElsewhereDoesNotTakeTheClickOfTheOneShown) {
    // Two windows of one app in full screen have the same bounds; only the one on the
    // current Space is shown, and its close button was never cached.
    auto away = windowAt(textEdit, "Away", {{100, 100}, {800, 600}});
    auto shown = windowAt(textEdit, "Shown", {{200, 200}, {800, 600}}, false);
    startEngine();
    desktop.advance(10);
    desktop.enterFullScreen(away);
    desktop.enterFullScreen(shown);
    desktop.advance(1);
    ASSERT_EQ(desktop.windowAt({15, 14}), shown);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(away)), 1u);
    takeLog();

    desktop.press({15, 14});

    EXPECT_FALSE(engine->clicks().recordOf(refOf(away)));
    desktop.release({15, 14});
}

TEST_F(ClickConfirmationTest, AHiddenAppsStaleFrameGetsNoCredit) {
    auto notes = windowAt(textEdit, "Notes", {{100, 100}, {800, 600}});
    windowAt(otherApp, "Elsewhere", {{1000, 100}, {400, 300}});
    startEngine();
    desktop.advance(10);
    desktop.hideApp(textEdit);
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(notes)), 1u);

    desktop.click(redDotOf(notes), modifier::shift);

    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(ClickConfirmationTest, AMinimisedWindowsStaleFrameGetsNoCredit) {
    auto notes = windowAt(textEdit, "Notes", {{100, 100}, {800, 600}});
    windowAt(textEdit, "Other notes", {{1000, 100}, {400, 300}});
    startEngine();
    desktop.advance(10);
    desktop.minimizeWindow(notes);
    desktop.runDue();
    takeLog();

    desktop.click(redDotOf(notes));

    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
}

TEST_F(ClickConfirmationTest, ACoveredRedDotGetsNoCredit) {
    auto covered = windowAt(textEdit, "Covered", {{100, 100}, {800, 600}});
    auto cover = windowAt(otherApp, "Cover", {{50, 50}, {800, 600}});
    desktop.setFrontmost(otherApp);
    startEngine();
    desktop.advance(10);
    ASSERT_EQ(desktop.windowAt(redDotOf(covered)), cover);

    desktop.click(redDotOf(covered));
    desktop.advance(1);

    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(desktop.isElementAlive(covered));
    EXPECT_TRUE(journal().empty());
}

TEST_F(ClickConfirmationTest, AnUnconfirmedCachedHitLeavesTheLivePassToFindTheButton) {
    // TextEdit's hidden window keeps a cached frame where the front app's window has its red
    // dot, which the watcher has not cached (it read the button as disabled).
    auto hidden = windowAt(textEdit, "Hidden", maximised);
    windowAt(textEdit, "Aside", {{1500, 100}, {400, 300}});
    auto front = windowAt(otherApp, "Front", maximised, false);
    desktop.setFrontmost(otherApp);
    startEngine();
    desktop.advance(10);
    desktop.hideApp(textEdit);
    desktop.setFrontmost(otherApp);
    desktop.setCloseButton(front, sim::CloseButtonDescription{});
    ASSERT_EQ(watcherOf(textEdit)->closeButtonFrames().count(refOf(hidden)), 1u);
    ASSERT_EQ(watcherOf(otherApp)->closeButtonFrames().count(refOf(front)), 0u);

    desktop.press(sharedRedDot);
    desktop.release(sharedRedDot);

    EXPECT_EQ(takeLog(), (Lines{"00:00:10.000  red dot clicked — Other \"Front\"  (live read)"}));
    EXPECT_TRUE(engine->clicks().recordOf(refOf(front)));
    EXPECT_FALSE(engine->clicks().recordOf(refOf(hidden)));
}

TEST_F(ClickConfirmationTest, WindowBoundsMatchToWithinRounding) {
    Rect frame{{100, 100}, {800, 600}};
    EXPECT_TRUE(sameWindowBounds(frame, frame));
    EXPECT_TRUE(sameWindowBounds({{100.5, 99.5}, {800.4, 600}}, frame));
    EXPECT_FALSE(sameWindowBounds({{101, 100}, {800, 600}}, frame));
    EXPECT_FALSE(sameWindowBounds({{100, 100}, {800, 601}}, frame));
}

}  // namespace
}  // namespace quelto::enginetest
