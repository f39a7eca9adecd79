// An application left alone for a few seconds after a call to it waited out its time-out: the
// quiet period itself, the reads and registrations spared meanwhile, the work put off and
// done once the period is over, and the one read a close decision still makes.

#include <gtest/gtest.h>

#include <string>

#include "accessibility/AXRead.h"
#include "accessibility/QuietPeriod.h"
#include "tests/accessibility/WatcherFixture.h"

namespace quelto::testing {
namespace {

using sim::ElementId;

const std::string leftAloneLine = "Notes is not answering — leaving it alone for 3 s";

// ---- The period ----

class QuietPeriodTest : public ::testing::Test {
  protected:
    QuietPeriodTest() {
        desktop.clockTheLog();
        log.attach();
        log.take();
    }
    // A call that took `seconds` and ended with `error`.
    void call(double seconds, AXError error) {
        Date started = desktop.now();
        desktop.advance(seconds);
        quiet.noteCall(started, error);
    }
    sim::SimDesktop desktop{Date{1767225600.0}};
    QuietPeriod quiet{desktop, "Notes"};
    LogCapture& log = LogCapture::shared();
};

TEST_F(QuietPeriodTest, ACallThatWaitedOutItsTimeOutStartsThreeQuietSeconds) {
    EXPECT_FALSE(quiet.isQuiet());
    call(1.0, axerror::cannotComplete);
    EXPECT_TRUE(quiet.isQuiet());
    EXPECT_DOUBLE_EQ(quiet.remaining(), 3.0);
    EXPECT_EQ(log.messages(), (LogCapture::Lines{leftAloneLine}));
    desktop.advance(2.999);
    EXPECT_TRUE(quiet.isQuiet());
    desktop.advance(0.001);
    EXPECT_FALSE(quiet.isQuiet());
    EXPECT_EQ(quiet.remaining(), 0);
}

TEST_F(QuietPeriodTest, AQuickRefusalOrAnotherErrorIsNoTimeOut) {
    call(0.0001, axerror::cannotComplete);  // an app still starting up
    call(1.0, axerror::failure);
    call(1.0, axerror::success);  // an app that answered late
    EXPECT_FALSE(quiet.isQuiet());
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(QuietPeriodTest, OneLineWhileTheAppGoesOnNotAnswering) {
    call(1.0, axerror::cannotComplete);
    desktop.advance(3.0);
    call(1.0, axerror::cannotComplete);  // the first call after the period: still silent
    EXPECT_TRUE(quiet.isQuiet());
    EXPECT_DOUBLE_EQ(quiet.remaining(), 3.0);
    EXPECT_EQ(log.messages().size(), 1u);

    // It answered once: the next silence is a new one, and says so.
    desktop.advance(3.0);
    call(0.0001, axerror::success);
    call(1.0, axerror::cannotComplete);
    EXPECT_EQ(log.messages(), (LogCapture::Lines{leftAloneLine, leftAloneLine}));
}

TEST_F(QuietPeriodTest, ATimeOutDuringThePeriodMakesItLastFromThen) {
    call(1.0, axerror::cannotComplete);
    desktop.advance(2.0);
    call(1.0, axerror::cannotComplete);  // a read made all the same (a close decision's)
    EXPECT_DOUBLE_EQ(quiet.remaining(), 3.0);
    EXPECT_EQ(log.messages().size(), 1u);
}

TEST_F(QuietPeriodTest, ReadsInALeaveAloneScopeAreSparedAndThoseToAskAreMade) {
    desktop.addApp(sim::testing::app(42, "Notes", "com.apple.Notes"));
    ElementId w =
        desktop.addWindow(42, sim::testing::window("Doc", Rect{{0, 0}, {400, 300}}), true);
    AXElement window = desktop.element(w);
    desktop.setSystemWideMessagingTimeout(1.0f);
    desktop.hangApp(42, std::nullopt);
    {
        ReadsOf reads(quiet, ReadsOf::Mode::leaveAlone);
        EXPECT_EQ(axCopyChecked(window, "AXTitle").error, axerror::cannotComplete);  // waits
        EXPECT_TRUE(quiet.isQuiet());
        desktop.resetCounters();
        Date before = desktop.now();
        EXPECT_EQ(axCopyChecked(window, "AXRole").error, axerror::cannotComplete);
        EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
        EXPECT_EQ(desktop.now(), before);
        {
            ReadsOf ask(quiet, ReadsOf::Mode::ask);
            EXPECT_EQ(axCopyChecked(window, "AXRole").error, axerror::cannotComplete);
            EXPECT_EQ(desktop.accessibilityReadCount(), 1u);
        }
        // The outer scope counts again.
        axCopyChecked(window, "AXRole");
        EXPECT_EQ(desktop.accessibilityReadCount(), 1u);
    }
    // Outside any scope nothing is spared.
    axCopyChecked(window, "AXRole");
    EXPECT_EQ(desktop.accessibilityReadCount(), 2u);
}

// ---- The watcher ----

class LeftAlone : public WatcherTest {
  protected:
    LeftAlone() {
        desktop.setReadCost(0.0001);
        desktop.setSystemWideMessagingTimeout(1.0f);  // as the start sets it
        log.attach();
        log.take();
    }
    // Makes the app stop answering and has a call of the watcher wait out its time-out.
    void hangAndTimeOut(const std::shared_ptr<AppWatcher>& watcher, std::optional<double> seconds) {
        desktop.hangApp(pid, seconds);
        desktop.shiftDisplays(Point{10, 0});
        watcher->refreshEveryCloseButton();  // what the engine does when they move
        ASSERT_TRUE(watcher->isLeftAlone());
    }
    LogCapture& log = LogCapture::shared();
};

TEST_F(LeftAlone, AReadThatTimesOutLeavesTheAppAloneAndSaysSoOnce) {
    addWindow("A", Rect{{0, 0}, {400, 300}});
    addWindow("B", Rect{{500, 0}, {400, 300}});
    auto watcher = makeWatcher();
    desktop.runDue();
    EXPECT_FALSE(watcher->isLeftAlone());
    desktop.hangApp(pid, std::nullopt);
    desktop.resetCounters();
    Date before = desktop.now();
    watcher->refreshEveryCloseButton();
    // One read waited its second; the other window was not asked.
    EXPECT_NEAR(desktop.now() - before, 1.0, 0.01);
    EXPECT_EQ(desktop.accessibilityReadCount(), 1u);
    EXPECT_TRUE(watcher->isLeftAlone());
    EXPECT_EQ(log.messages(), (LogCapture::Lines{leftAloneLine}));
}

TEST_F(LeftAlone, CatchUpsAreNotMadeMeanwhileAndOneIsMadeAfterwards) {
    addWindow("A");
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, 2.0);
    ElementId later = addWindow("Later", Rect{{500, 0}, {400, 300}}, false);  // unannounced
    desktop.resetCounters();
    watcher->resync();
    watcher->resync();
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_FALSE(watcher->isWatched(ref(later)));
    // The app answers again at 2 s; the one catch-up put off runs when the period ends.
    desktop.advance(3.0);
    EXPECT_FALSE(watcher->isLeftAlone());
    EXPECT_TRUE(watcher->isWatched(ref(later)));
    EXPECT_EQ(desktop.readCount(desktop.applicationElementId(pid), "AXWindows"), 1u);
    expectFrameOrMiss(*watcher, later);
    EXPECT_EQ(watcher->closeButtonFrames().count(ref(later)), 1u);
}

TEST_F(LeftAlone, CloseButtonsPutOffAreReadOnceThePeriodEnds) {
    ElementId a = addWindow("A", Rect{{0, 0}, {400, 300}});
    ElementId b = addWindow("B", Rect{{500, 0}, {400, 300}});
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, 2.0);
    // The window whose read timed out lost its frame (as a failed refresh does); the other one
    // keeps its old one until it is read again.
    EXPECT_EQ(watcher->closeButtonFrames().size(), 1u);
    desktop.advance(3.5);
    EXPECT_EQ(watcher->closeButtonFrames().size(), 2u);
    Rect frameA = desktop.closeButtonFrame(a).value();
    EXPECT_TRUE(watcher->closeButtonFrames().at(ref(a)).contains(frameA.origin));
    Rect frameB = desktop.closeButtonFrame(b).value();
    EXPECT_TRUE(watcher->closeButtonFrames().at(ref(b)).contains(frameB.origin));
    EXPECT_EQ(log.linesContaining("not answering").size(), 1u);
}

TEST_F(LeftAlone, TheLiveHitTestAndTheWindowListAnswerWithoutAsking) {
    ElementId a = addWindow("A", Rect{{0, 0}, {400, 300}});
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, std::nullopt);
    desktop.resetCounters();
    Rect frame = desktop.closeButtonFrame(a).value();
    EXPECT_EQ(watcher->liveCloseButtonHit(frame.origin), std::nullopt);
    EXPECT_EQ(watcher->readWindows(), std::nullopt);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(LeftAlone, TheCloseDecisionsCountIsStillRead) {
    addWindow("A");
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, std::nullopt);
    desktop.resetCounters();
    AppWatcher::UserWindowList list = watcher->readUserWindows();
    EXPECT_EQ(desktop.accessibilityReadCount(), 1u);
    EXPECT_FALSE(list.value.has_value());  // unknown, never zero
    EXPECT_EQ(list.error, axerror::cannotComplete);
    EXPECT_EQ(log.linesContaining("not answering").size(), 1u);
}

TEST_F(LeftAlone, AnAttachWaitsOneSecondAndPutsOffTheRest) {
    ElementId w = addWindow("A");
    desktop.hangApp(pid, 2.0);
    Date before = desktop.now();
    auto watcher = makeWatcher();
    ASSERT_NE(watcher, nullptr);
    EXPECT_NEAR(desktop.now() - before, 1.0, 0.01);  // the first registration alone
    EXPECT_EQ(desktop.notificationRequestCount(), 1u);
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    // Once the period is over, the app answers: registrations taken, windows watched.
    desktop.advance(10);
    EXPECT_EQ(desktop.registrationCount(desktop.applicationElementId(pid), "AXWindowCreated"), 1u);
    EXPECT_EQ(
        desktop.registrationCount(desktop.applicationElementId(pid), "AXFocusedWindowChanged"), 1u);
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_EQ(desktop.registrationCount(w, "AXUIElementDestroyed"), 1u);
    EXPECT_EQ(watcher->closeButtonFrames().count(ref(w)), 1u);
    EXPECT_TRUE(log.linesContaining("did not take").empty());
}

TEST_F(LeftAlone, AWindowAnnouncedMeanwhileIsFollowedAfterwards) {
    addWindow("First", Rect{{500, 0}, {400, 300}});
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, 2.0);
    ElementId w = addWindow("New");  // announced: watched at once, asked nothing yet
    desktop.runDue();
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_EQ(desktop.registrationCount(w, "AXUIElementDestroyed"), 0u);
    desktop.advance(3.0);
    EXPECT_EQ(desktop.registrationCount(w, "AXUIElementDestroyed"), 1u);
    EXPECT_EQ(watcher->closeButtonFrames().count(ref(w)), 1u);
}

TEST_F(LeftAlone, ATitleChangedMeanwhileIsReadAfterwards) {
    ElementId w = addWindow("Old");
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, 2.0);
    desktop.advance(3.0);  // the refreshes put off are done: the title is known
    ASSERT_NE(watcher->knownWindow(ref(w)), nullptr);
    hangAndTimeOut(watcher, 2.0);
    desktop.setTitle(w, "New");
    desktop.runDue();
    desktop.resetCounters();
    EXPECT_EQ(desktop.readCount(w, "AXTitle"), 0u);
    desktop.advance(3.0);
    EXPECT_EQ(watcher->knownWindow(ref(w))->title, std::optional<std::string>("New"));
}

TEST_F(LeftAlone, WorkPutOffHoldsTheWatcherWeakly) {
    addWindow("A");
    auto watcher = makeWatcher();
    hangAndTimeOut(watcher, std::nullopt);
    watcher->resync();
    watcher.reset();
    desktop.recoverApp(pid);
    desktop.advance(5);  // nothing runs on a released watcher
    SUCCEED();
}

}  // namespace
}  // namespace quelto::testing
