// What must hold whatever happens: Quelto never watches or quits itself, never quits a
// protected application, never quits while the switch is off, and never forces a quit.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

using InvariantTest = EngineTest;

TEST_F(InvariantTest, QueltoNeverWatchesOrQuitsItself) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    desktop.addApp(appDescription(ownPid, "app.quelto.Quelto", "Quelto"));
    auto settings = addWindow(ownPid, "Quelto Settings");
    desktop.setFrontmost(ownPid);
    startEngine();
    desktop.advance(10);
    EXPECT_FALSE(watcherOf(ownPid));

    // A launch notification for itself changes nothing.
    engine->appLaunched(desktop.runningApplication(ownPid));
    desktop.advance(1);
    EXPECT_FALSE(watcherOf(ownPid));

    // Its own close button: the platform does not deliver the click, and a click that did
    // arrive would find no watcher for it, cached or live.
    Point button = closeButtonCentre(settings);
    engine->handleClick(button, 0);
    clickClose(settings);
    desktop.advance(5);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(desktop.isRunning(ownPid));
}

TEST_F(InvariantTest, NoBundleOfTheNeverQuitListIsEverQuit) {
    writeConfig("live = true\nmode = red-dot\narm = *\nescape = none\n");
    Pid pid = 300;
    std::vector<sim::ElementId> windows;
    for (const std::string& id : neverQuitBundleIDs()) {
        desktop.addApp(appDescription(pid, id, "App " + id));
        windows.push_back(addWindow(pid, "Main"));
        addWindow(pid, "Second");
        ++pid;
    }
    ASSERT_EQ(windows.size(), 8u);
    startEngine();
    desktop.advance(10);
    for (auto w : windows) {
        clickClose(w);
        desktop.advance(0.35);
    }
    // …and their last windows, by keyboard.
    for (Pid p = 300; p < pid; ++p)
        for (auto w : desktop.windowsOf(p)) desktop.closeWindowWithoutClick(w);
    desktop.advance(30);

    ASSERT_EQ(journal().size(), 16u);
    for (const auto& e : journal()) {
        EXPECT_EQ(e.outcome, "always protected") << e.bundleID;
        EXPECT_FALSE(e.quit);
    }
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(engine->quits().empty());
}

TEST_F(InvariantTest, NothingIsQuitWhileTheSwitchIsOff) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    desktop.addApp(appDescription(102, "com.apple.Maps", "Maps"));
    auto notes = addWindow(textEdit, "Notes");
    auto draft = addWindow(textEdit, "Draft");
    auto map = addWindow(102, "Map");
    writeConfig("live = false\nmode = red-dot\narm = *\nescape = none\n");
    startEngine();
    desktop.advance(10);

    clickClose(notes, modifier::shift);
    desktop.advance(1);
    writeConfig("live = false\nmode = last-window\narm = *\n");
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(1);
    clickClose(map);
    desktop.advance(30);

    ASSERT_EQ(journal().size(), 3u);
    for (const auto& e : journal()) {
        EXPECT_EQ(e.outcome, "paused — would have quit");
        EXPECT_FALSE(e.quit);
    }
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(desktop.isRunning(textEdit));
    EXPECT_TRUE(desktop.isRunning(102));
}

TEST_F(InvariantTest, EveryQuitIsAPoliteRequestNeverAForcedOne) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    for (Pid pid = 101; pid <= 104; ++pid) {
        auto desc = appDescription(pid, "com.example.App" + std::to_string(pid), "App");
        desc.declinesQuit = pid % 2 == 0;
        desktop.addApp(desc);
        addWindow(pid, "A");
        addWindow(pid, "B");
    }
    startEngine();
    desktop.advance(10);
    for (int round = 0; round < 3; ++round) {
        for (Pid pid = 101; pid <= 104; ++pid) {
            auto windows = desktop.windowsOf(pid);
            if (!windows.empty()) clickClose(windows.front());
        }
        desktop.advance(11);
    }
    desktop.advance(60);

    ASSERT_FALSE(desktop.quitRequests().empty());
    for (const auto& request : desktop.quitRequests()) EXPECT_FALSE(request.forced);
    // The apps that declined were asked again only after the throttle, never made to quit.
    EXPECT_TRUE(desktop.isRunning(102));
    EXPECT_TRUE(desktop.isRunning(104));
    EXPECT_FALSE(desktop.isRunning(101));
    EXPECT_FALSE(desktop.isRunning(103));
}

}  // namespace
}  // namespace quelto::enginetest
