// Fresh watchers for fresh processes: the delayed attach does nothing for an application that
// terminated meanwhile, and a watcher left for a dead process never stands in for a new
// process that reuses its process id.

#include "tests/engine/EngineFixture.h"
#include "tests/engine/ForwardingWorkspace.h"

namespace quelto::enginetest {
namespace {

constexpr Pid reused = 300;

class FreshProcessTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        // The user's exclusion: Music must never be quit.
        writeConfig("live = true\nmode = last-window\narm = *\nexclude = com.apple.Music\n");
        startEngine();
        desktop.advance(1.0);  // 00:00:01
    }

    // Preview is launched and quits within 0.3 s; Music then starts under the same pid.
    void previewQuitsAndMusicReusesItsPid() {
        desktop.launchApp(appDescription(reused, "com.apple.Preview", "Preview"));
        desktop.runDue();
        desktop.advance(0.2);
        desktop.terminateApp(reused);
        desktop.runDue();
        desktop.advance(0.1);  // 00:00:01.300
        desktop.launchApp(appDescription(reused, "com.apple.Music", "Music"));
        desktop.runDue();
    }
};

TEST_F(FreshProcessTest, TheDelayedAttachDoesNothingForAnAppAlreadyGone) {
    desktop.launchApp(appDescription(206, "com.apple.Maps", "Maps"));
    desktop.runDue();
    desktop.advance(0.2);
    desktop.terminateApp(206);
    desktop.runDue();
    desktop.advance(0.3);  // the attach was due now
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->apps().empty());
    EXPECT_EQ(desktop.liveObserverCount(), 0);
}

TEST_F(FreshProcessTest, ANewProcessReusingThePidGetsItsOwnWatcher) {
    previewQuitsAndMusicReusesItsPid();
    desktop.advance(0.2);  // Preview's attach was due at 00:00:01.500
    EXPECT_TRUE(takeLog().empty());
    EXPECT_TRUE(engine->apps().empty());

    desktop.advance(0.3);  // Music's, at 00:00:01.800
    EXPECT_EQ(takeLog(), (Lines{"00:00:01.800  now watching Music"}));
    auto watcher = watcherOf(reused);
    ASSERT_TRUE(watcher);
    EXPECT_EQ(watcher->name, "Music");
    EXPECT_EQ(watcher->bundleID, "com.apple.Music");
    EXPECT_EQ(watcher->attachedAt, desktop.now());
    EXPECT_EQ(desktop.liveObserverCount(), 1);
}

TEST_F(FreshProcessTest, TheExcludedAppReusingThePidIsNeverQuitUnderAnotherName) {
    previewQuitsAndMusicReusesItsPid();
    auto library = addWindow(reused, "Library");
    desktop.advance(10);
    takeLog();

    desktop.closeWindowWithoutClick(library);
    desktop.advance(0.3);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:11.600  Music (com.apple.Music)  window closed  ←  not the "
                             "red dot (cmd-W / menu / programmatic)",
                             "              windows remaining: 0",
                             "              → mode last-window: WOULD QUIT",
                             "              → mode red-dot:     no action",
                             "              → excluded by config",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].app, "Music");
    EXPECT_EQ(journal()[0].outcome, "excluded — kept running");
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(desktop.isRunning(reused));
}

// The desktop's workspace, except that termination notifications go unheard while `deaf`.
class DeafWorkspace final : public ForwardingWorkspace {
  public:
    using ForwardingWorkspace::ForwardingWorkspace;
    Subscription observeTerminations(ApplicationHandler handler) override {
        return inner_.observeTerminations([this, handler](const RunningApplicationRef& app) {
            if (!deaf) handler(app);
        });
    }
    bool deaf = false;
};

TEST(FreshProcess, AWatcherLeftForADeadProcessIsReplacedAtTheNewLaunch) {
    sim::SimDesktop desktop;
    desktop.clockTheLog();
    // The attach at the moment the design gives it: reads take no time here.
    desktop.setReadCost(0);
    desktop.setOwnPid(500);
    writeConfig(liveAllLastWindow);
    DeafWorkspace workspace(desktop);
    LogCapture::shared().attach();
    auto engine = Engine::create(withWorkspace(desktop.context(), workspace));
    engine->start();
    desktop.runDue();

    auto preview = appDescription(reused, "com.apple.Preview", "Preview");
    preview.declinesQuit = true;
    desktop.launchApp(preview);
    desktop.runDue();
    sim::WindowDescription pageDescription;
    pageDescription.title = "Page";
    auto page = desktop.addWindow(reused, pageDescription);
    desktop.advance(0.5);
    auto stale = engine->apps().watcherOf(reused);
    ASSERT_TRUE(stale);
    EXPECT_EQ(stale->name, "Preview");
    // A quit request it declines, and a click on a window that takes its time to close: its
    // process's throttle entry and click are still remembered when the termination goes
    // unheard.
    auto centre = [&](sim::ElementId window) {
        Rect r = desktop.closeButtonFrame(window).value_or(Rect{});
        return Point{r.origin.x + r.size.width / 2, r.origin.y + r.size.height / 2};
    };
    desktop.click(centre(page));
    desktop.advance(0.5);
    ASSERT_TRUE(engine->quits().lastRequest(reused));
    sim::WindowDescription slowDescription;
    slowDescription.title = "Slow";
    slowDescription.closeDelay = 30;
    auto slow = desktop.addWindow(reused, slowDescription);
    desktop.runDue();
    desktop.click(centre(slow));
    ASSERT_TRUE(engine->clicks().recordOf(WindowRef{desktop.element(slow)}));
    workspace.deaf = true;
    desktop.terminateApp(reused);
    desktop.runDue();
    workspace.deaf = false;
    LogCapture::shared().take();

    desktop.launchApp(appDescription(reused, "com.apple.Music", "Music"));
    desktop.runDue();
    desktop.advance(0.5);
    EXPECT_EQ(LogCapture::shared().take(), (Lines{"00:00:01.500  now watching Music"}));
    auto fresh = engine->apps().watcherOf(reused);
    EXPECT_NE(fresh, stale);
    EXPECT_EQ(fresh->bundleID, "com.apple.Music");
    EXPECT_EQ(fresh->attachedAt, desktop.now());
    EXPECT_TRUE(engine->quits().empty());
    EXPECT_TRUE(engine->clicks().empty());

    engine.reset();
    desktop.advance(60);
    LogCapture::shared().take();
}

TEST_F(FreshProcessTest, ALaunchNotificationForTheSameLiveProcessKeepsItsWatcher) {
    desktop.launchApp(appDescription(reused, "com.apple.Preview", "Preview"));
    desktop.runDue();
    desktop.advance(0.5);
    auto first = watcherOf(reused);
    ASSERT_TRUE(first);
    takeLog();
    engine->appLaunched(desktop.runningApplication(reused));
    desktop.advance(0.5);
    EXPECT_EQ(watcherOf(reused), first);
    EXPECT_EQ(takeLog(), (Lines{"00:00:02.000  now watching Preview"}));
}

}  // namespace
}  // namespace quelto::enginetest
