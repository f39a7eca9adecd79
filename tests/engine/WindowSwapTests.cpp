// A window swap is not a last window: in last-window mode, a close that was not a credited
// red-dot click and leaves no window is counted again after the settle period, and quits only
// when there is still no window.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

const char* const causeNotRedDot = "not the red dot (cmd-W / menu / programmatic)";
const char* const waiting =
    "              → waiting 1.5 s for a window to follow before quitting (an app swapping "
    "windows shows none for a moment)";

class WindowSwapTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        welcome = addWindow(textEdit, "Welcome");
    }

    bool askedToQuit(Pid pid) const {
        for (const auto& request : desktop.quitRequests())
            if (request.pid == pid) return true;
        return false;
    }

    static bool has(const Lines& lines, const std::string& text) {
        for (const auto& line : lines)
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    sim::ElementId welcome = 0;
};

TEST_F(WindowSwapTest, AWindowThatFollowsWithinTheSettlePeriodKeepsTheAppRunning) {
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(welcome);
    desktop.advance(0.3);
    EXPECT_EQ(takeLog().back(), "");
    EXPECT_TRUE(journal().empty());
    desktop.advance(0.7);
    addWindow(textEdit, "Project");
    desktop.advance(0.8);  // 1.5 s after the first count

    Lines log = takeLog();
    EXPECT_EQ(log, (Lines{
                       std::string("00:00:11.800  TextEdit (com.apple.TextEdit)  counted again "
                                   "1.5 s after the window closed  ←  ") +
                           causeNotRedDot,
                       "              windows remaining: 1",
                       "                · Project  [AXStandardWindow]",
                       "              → mode last-window: no action",
                       "              → mode red-dot:     no action",
                       "              → no action (a window followed — a window swap, not a last "
                       "window)",
                       "",
                   }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "window swap — kept running");
    EXPECT_EQ(journal()[0].windowsLeft, 1);
    EXPECT_FALSE(journal()[0].quit);
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowSwapTest, NoWindowAfterTheSettlePeriodQuits) {
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(welcome);
    desktop.advance(0.3);
    Lines first = takeLog();
    EXPECT_TRUE(has(first, waiting));
    EXPECT_FALSE(askedToQuit(textEdit));
    desktop.advance(1.49);
    EXPECT_FALSE(askedToQuit(textEdit));
    desktop.advance(0.01);
    EXPECT_TRUE(askedToQuit(textEdit));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_EQ(journal()[0].cause, causeNotRedDot);
}

TEST_F(WindowSwapTest, ACreditedRedDotClickDoesNotWait) {
    startEngine();
    desktop.advance(10);
    clickClose(welcome);
    desktop.advance(0.35);
    EXPECT_FALSE(has(takeLog(), "waiting 1.5 s"));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_TRUE(askedToQuit(textEdit));
}

TEST_F(WindowSwapTest, RedDotModeDoesNotWait) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(welcome);
    desktop.advance(0.3);
    EXPECT_FALSE(has(takeLog(), "waiting 1.5 s"));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "no action");
}

TEST_F(WindowSwapTest, AnAppThatTerminatesDuringTheSettlePeriodIsNotCountedAgain) {
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(welcome);
    desktop.advance(0.3);
    takeLog();
    desktop.terminateApp(textEdit);
    desktop.advance(0.1);
    EXPECT_TRUE(has(takeLog(), "TextEdit quit on its own while a close was in flight"));
    desktop.advance(2);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(journal().empty());
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowSwapTest, AConfigurationEditedDuringTheSettlePeriodCounts) {
    startEngine();
    desktop.advance(10);
    desktop.closeWindowWithoutClick(welcome);
    desktop.advance(0.3);
    writeConfig("live = false\nmode = last-window\narm = *\n");
    desktop.advance(1.5);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "paused — would have quit");
    EXPECT_FALSE(askedToQuit(textEdit));
}

}  // namespace
}  // namespace quelto::enginetest
