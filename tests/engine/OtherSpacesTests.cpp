// Windows on other Spaces and in full screen count in last-window mode: Accessibility lists
// only the current Space's windows, the window server knows them all.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class OtherSpacesTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    }

    sim::ElementId window(const std::string& title, Rect frame, int space = 0) {
        sim::WindowDescription desc;
        desc.title = title;
        desc.frame = frame;
        desc.space = space;
        auto id = desktop.addWindow(textEdit, desc);
        desktop.runDue();
        return id;
    }

    // Closes the window with its red dot and returns the decision's log lines.
    Lines closeByRedDot(sim::ElementId id) {
        Rect r = desktop.closeButtonFrame(id).value_or(Rect{});
        takeLog();
        desktop.click({r.origin.x + 7, r.origin.y + 8});
        desktop.advance(1);
        Lines log = takeLog();
        // Drop the click line; the rest is the report.
        if (!log.empty()) log.erase(log.begin());
        return log;
    }
};

TEST_F(OtherSpacesTest, AWindowOnSpaceTwoRemainsInLastWindowMode) {
    auto here = window("Here", {{100, 100}, {800, 600}});
    window("There", {{150, 150}, {800, 600}}, 2);
    startEngine();
    desktop.advance(10);

    EXPECT_EQ(
        closeByRedDot(here),
        (Lines{"00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  red dot",
               "              windows remaining: 1", "                · 1 more on other Spaces",
               "              → mode last-window: no action",
               "              → mode red-dot:     WOULD QUIT", ""}));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].windowsLeft, 1);
    EXPECT_EQ(journal()[0].outcome, "no action");
    EXPECT_FALSE(journal()[0].quit);
    EXPECT_TRUE(desktop.isRunning(textEdit));
}

TEST_F(OtherSpacesTest, AWindowInFullScreenRemains) {
    auto here = window("Here", {{100, 100}, {800, 600}});
    auto full = window("Full", {{200, 200}, {800, 600}});
    startEngine();
    desktop.enterFullScreen(full);
    desktop.switchToSpace(1);
    desktop.advance(10);
    ASSERT_FALSE(desktop.isListedInAXWindows(full));

    Lines log = closeByRedDot(here);
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[1], "              windows remaining: 1");
    EXPECT_EQ(log[2], "                · 1 more on other Spaces");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "no action");
    EXPECT_TRUE(desktop.isRunning(textEdit));
}

TEST_F(OtherSpacesTest, ListedWindowsAreNotCountedTwiceAndTheCountIsExact) {
    // Two maximised windows share their bounds, one here and one on Space 2; a minimised
    // window here is off screen but listed.
    Rect maximised{{0, 25}, {1440, 875}};
    auto kept = window("Kept", maximised);
    auto here = window("Here", {{1500, 100}, {800, 600}});
    auto minimised = window("Minimised", {{300, 300}, {500, 400}});
    window("Far", maximised, 2);
    window("Farther", {{400, 400}, {600, 400}}, 3);
    startEngine();
    desktop.minimizeWindow(minimised);
    desktop.advance(10);
    ASSERT_TRUE(desktop.isOnScreen(kept));

    Lines log = closeByRedDot(here);
    ASSERT_GE(log.size(), 5u);
    EXPECT_EQ(log[1], "              windows remaining: 4");
    EXPECT_EQ(log[4], "                · 2 more on other Spaces");
    EXPECT_EQ(journal()[0].windowsLeft, 4);
}

TEST_F(OtherSpacesTest, TinyWindowsElsewhereDoNotCount) {
    auto here = window("Here", {{100, 100}, {800, 600}});
    window("Helper", {{0, 0}, {39, 300}}, 2);
    window("Strip", {{0, 0}, {300, 39}}, 2);
    startEngine();
    desktop.advance(10);

    Lines log = closeByRedDot(here);
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[1], "              windows remaining: 0");
    EXPECT_EQ(log[2], "              → mode last-window: WOULD QUIT");
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(OtherSpacesTest, RedDotModeIsUnchangedAndNeverAsksTheWindowServer) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    auto here = window("Here", {{100, 100}, {800, 600}});
    window("There", {{150, 150}, {800, 600}}, 2);
    startEngine();
    desktop.advance(10);
    desktop.resetCounters();

    Lines log = closeByRedDot(here);
    // Only the click's confirmation read the window server.
    EXPECT_EQ(desktop.windowListReadCount(), 1u);
    ASSERT_GE(log.size(), 4u);
    log.resize(4);
    EXPECT_EQ(log, (Lines{"00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  red dot",
                          "              windows remaining: 0",
                          "              → mode last-window: WOULD QUIT",
                          "              → mode red-dot:     WOULD QUIT"}));
    EXPECT_EQ(journal()[0].outcome, "quitting");
}

TEST_F(OtherSpacesTest, ANeverQuitAppIsDecidedWithoutAskingTheWindowServer) {
    desktop.addApp(appDescription(103, "com.apple.finder", "Finder"));
    sim::WindowDescription desc;
    desc.title = "Home";
    auto home = desktop.addWindow(103, desc);
    desktop.runDue();
    startEngine();
    desktop.advance(10);
    desktop.resetCounters();

    desktop.closeWindowWithoutClick(home);
    desktop.advance(1);

    EXPECT_EQ(desktop.windowListReadCount(), 0u);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "always protected");
}

}  // namespace
}  // namespace quelto::enginetest
