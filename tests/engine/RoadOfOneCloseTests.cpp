// Whole stories on the simulated desktop, from start-up through clicks and closes to the
// application going away, as the user's log tells them.

#include "platform/NotificationCenter.h"
#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

using RoadOfOneCloseTest = EngineTest;

TEST_F(RoadOfOneCloseTest, FromTheClickToQuitCleanly) {
    writeConfig("# Quelto configuration\nlive = true\nmode = last-window\narm = *\n");
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    auto notes = addWindow(textEdit, "Notes");
    desktop.setFrontmost(textEdit);

    startEngine(true);
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(5);

    EXPECT_EQ(takeLog(),
              (Lines{
                  "00:00:00.000  LIVE — mode last-window — all apps",
                  "              config: " + ConfigStore::path(),
                  "",
                  "00:00:00.000  attaching to 1 foreground apps",
                  "                ✓ TextEdit  (com.apple.TextEdit)  1 windows",
                  "              armed — closing the last window of an armed app WILL quit it",
                  "",
                  "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                  "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  red dot",
                  "              windows remaining: 0",
                  "              → mode last-window: WOULD QUIT",
                  "              → mode red-dot:     WOULD QUIT",
                  "              → QUITTING TextEdit — terminate() returned true",
                  "",
                  "00:00:12.350     TextEdit quit cleanly",
              }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], (Activity::Entry{.at = Date{1767225610.35},
                                             .app = "TextEdit",
                                             .bundleID = "com.apple.TextEdit",
                                             .cause = "red dot",
                                             .windowsLeft = 0,
                                             .outcome = "quitting",
                                             .quit = true}));
    ASSERT_EQ(desktop.quitRequests().size(), 1u);
    EXPECT_EQ(desktop.quitRequests()[0].pid, textEdit);
    EXPECT_FALSE(desktop.quitRequests()[0].forced);
    EXPECT_FALSE(desktop.isRunning(textEdit));
    // The termination forgot the application completely.
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(engine->closes().empty());
    EXPECT_TRUE(engine->quits().empty());
}

TEST_F(RoadOfOneCloseTest, ALaunchedApplicationIsFollowedFromItsLaunchToItsQuit) {
    startEngine();
    desktop.advance(2);
    desktop.launchApp(appDescription(201, "com.apple.Maps", "Maps"));
    auto map = addWindow(201, "Map");
    desktop.advance(0.5);
    desktop.advance(10);
    clickClose(map);
    desktop.advance(3);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:02.500  now watching Maps",
                             "00:00:12.500  red dot clicked — Maps \"Map\"  (cached)",
                             "00:00:12.850  Maps (com.apple.Maps)  window closed  ←  red dot",
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → QUITTING Maps — terminate() returned true",
                             "",
                             "00:00:14.850     Maps quit cleanly",
                         }));
}

TEST_F(RoadOfOneCloseTest, AnAppThatQuitsItselfDuringTheGatheringGetsNoReport) {
    auto desc = appDescription(textEdit, "com.apple.TextEdit", "TextEdit");
    desc.quitsWithLastWindow = true;
    desktop.addApp(desc);
    auto notes = addWindow(textEdit, "Notes");
    startEngine();
    desktop.advance(10);
    clickClose(notes);
    desktop.advance(5);
    // Closed at 10.05; the application terminates itself 0.1 s later, inside the gathering.
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                             "00:00:10.150  TextEdit quit on its own while a close was in "
                             "flight — nothing to do",
                             "",
                         }));
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(engine->apps().empty());
}

TEST_F(RoadOfOneCloseTest, AHandEditBetweenTwoDecisionsTakesEffectWithoutARestart) {
    writeConfig("live = false\nmode = last-window\narm = *\n");
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    desktop.addApp(appDescription(102, "com.apple.Maps", "Maps"));
    auto notes = addWindow(textEdit, "Notes");
    auto map = addWindow(102, "Map");
    startEngine();
    desktop.advance(10);

    clickClose(notes);
    desktop.advance(1);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "paused — would have quit");

    // The user edits the file by hand: switched on, and Maps excluded… then changes mind.
    writeConfig("# edited\nLIVE = TRUE\nmode = last-window\narm = *\nexclude = com.apple.Maps\n");
    writeConfig("# edited\nLIVE = TRUE\nmode = last-window\narm = *\n");
    clickClose(map);
    desktop.advance(1);
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0].app, "Maps");
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_TRUE(journal()[0].quit);
    ASSERT_EQ(desktop.quitRequests().size(), 1u);
    EXPECT_EQ(desktop.quitRequests()[0].pid, 102);
}

TEST_F(RoadOfOneCloseTest, AHandEditOfTheModeIsSeenByTheNextClose) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    addWindow(textEdit, "C");
    startEngine();
    desktop.advance(10);

    clickClose(a);
    desktop.advance(1);
    EXPECT_EQ(journal().at(0).outcome, "no action");

    writeConfig("live = true\nmode = red-dot\narm = *\n");
    clickClose(b);
    desktop.advance(1);
    EXPECT_EQ(journal().at(0).outcome, "quitting");
    EXPECT_EQ(journal().at(0).windowsLeft, 1);
}

TEST_F(RoadOfOneCloseTest, TheJournalChangeIsAnnouncedForEveryDecision) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    auto a = addWindow(textEdit, "A");
    auto b = addWindow(textEdit, "B");
    int posts = 0;
    Subscription observer =
        NotificationCenter::defaultCenter().addObserver(Activity::changed, [&] { ++posts; });
    startEngine();
    desktop.advance(10);
    clickClose(a);
    desktop.advance(1);
    clickClose(b);
    desktop.advance(1);
    EXPECT_EQ(posts, 2);
}

}  // namespace
}  // namespace quelto::enginetest
