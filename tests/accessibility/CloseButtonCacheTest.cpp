// The close-button cache: frames with their slack, the reasons for a missing frame, the
// retries of transient failures, the custom-chrome note, and the hit tests.

#include <gtest/gtest.h>

#include "accessibility/AppWatcher.h"
#include "tests/accessibility/WatcherFixture.h"

namespace quelto::testing {
namespace {

using sim::ElementId;

constexpr Date start{1767225600.0};

// Whether a sheet or dialog holds the window's close, counting every one (none came first).
std::optional<bool> blocked(const AppWatcher& watcher, const WindowRef& window) {
    return watcher.closeBlockedState(window, Date{}).blocked;
}

sim::CloseButtonDescription buttonAt(Rect frame) {
    sim::CloseButtonDescription desc;
    desc.frame = frame;
    return desc;
}

TEST_F(WatcherTest, FrameIsCachedWithTwoPointsOfSlack) {
    ElementId w = addWindow("Doc");
    desktop.setCloseButton(w, buttonAt(Rect{{100, 50}, {14, 16}}));
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->closeButtonFrames().at(ref(w)), (Rect{{98, 48}, {18, 20}}));
    EXPECT_EQ(watcher->closeButtonHit(Point{98, 48}), ref(w));
    EXPECT_EQ(watcher->closeButtonHit(Point{116, 68}), std::nullopt);
    EXPECT_EQ(watcher->closeButtonHit(Point{115.999, 67.999}), ref(w));
    EXPECT_EQ(watcher->closeButtonHit(Point{116, 50}), std::nullopt);
    EXPECT_EQ(watcher->closeButtonHit(Point{100, 68}), std::nullopt);
    EXPECT_EQ(watcher->closeButtonHit(Point{97.999, 50}), std::nullopt);
    EXPECT_EQ(watcher->missReason(ref(w)), std::nullopt);
}

TEST_F(WatcherTest, HitTestMakesNoPlatformCall) {
    ElementId a = addWindow("A", Rect{{0, 0}, {400, 300}});
    ElementId b = addWindow("B", Rect{{500, 0}, {400, 300}});
    auto watcher = makeWatcher();
    desktop.resetCounters();
    EXPECT_EQ(watcher->closeButtonHit(desktop.closeButtonFrame(a)->origin), ref(a));
    EXPECT_EQ(watcher->closeButtonHit(desktop.closeButtonFrame(b)->origin), ref(b));
    EXPECT_EQ(watcher->closeButtonHit(Point{-100, -100}), std::nullopt);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    // Not even for a window that is gone without its notification yet.
    desktop.destroyWindow(a);
    EXPECT_EQ(watcher->closeButtonHit(desktop.closeButtonFrame(b)->origin), ref(b));
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(WatcherTest, HitTestFollowsMovesAndDestruction) {
    ElementId w = addWindow("Doc", Rect{{100, 100}, {400, 300}});
    auto watcher = makeWatcher();
    Point old = desktop.closeButtonFrame(w)->origin;
    desktop.moveWindow(w, Point{600, 400});
    desktop.runDue();
    EXPECT_EQ(watcher->closeButtonHit(old), std::nullopt);
    EXPECT_EQ(watcher->closeButtonHit(desktop.closeButtonFrame(w)->origin), ref(w));
    Point now = desktop.closeButtonFrame(w)->origin;
    desktop.destroyWindow(w);
    desktop.runDue();
    EXPECT_EQ(watcher->closeButtonHit(now), std::nullopt);
}

TEST_F(WatcherTest, HitTestAmongManyWindows) {
    std::vector<ElementId> windows;
    for (int i = 0; i < 12; ++i)
        windows.push_back(addWindow(std::string(1, 'W').append(std::to_string(i)),
                                    Rect{{i * 100.0, 0}, {90, 90}}));
    auto watcher = makeWatcher();
    desktop.destroyWindow(windows[3]);
    desktop.destroyWindow(windows[0]);
    desktop.runDue();
    for (int i = 0; i < 12; ++i) {
        auto hit = watcher->closeButtonHit(Point{i * 100.0 + 10, 8});
        if (i == 3 || i == 0)
            EXPECT_EQ(hit, std::nullopt) << i;
        else
            EXPECT_EQ(hit, ref(windows[i])) << i;
    }
}

TEST_F(WatcherTest, TheTitleBarBelowAButtonInItsColumnsIsItsReach) {
    ElementId w = addWindow("Doc", Rect{{100, 100}, {400, 300}});
    auto watcher = makeWatcher();
    desktop.resetCounters();
    // The button (with slack) is 106…124 × 104…124; its reach goes down to the title bar's
    // 52 points (to y 152), in its columns.
    std::optional<WindowRef> inTitleBar;
    EXPECT_EQ(watcher->closeButtonHit(Point{115, 114}, &inTitleBar), ref(w));
    EXPECT_EQ(inTitleBar, std::nullopt);
    EXPECT_EQ(watcher->closeButtonHit(Point{115, 140}, &inTitleBar), std::nullopt);
    EXPECT_EQ(inTitleBar, ref(w));
    for (Point outside : {Point{115, 152}, Point{125, 140}, Point{300, 110}, Point{115, 99}}) {
        std::optional<WindowRef> none;
        EXPECT_EQ(watcher->closeButtonHit(outside, &none), std::nullopt);
        EXPECT_EQ(none, std::nullopt) << outside.x << "," << outside.y;
    }
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(WatcherTest, AShortWindowsReachEndsWithTheWindow) {
    ElementId w = addWindow("Strip", Rect{{100, 100}, {400, 30}});
    auto watcher = makeWatcher();
    std::optional<WindowRef> inTitleBar;
    EXPECT_EQ(watcher->closeButtonHit(Point{115, 129}, &inTitleBar), std::nullopt);
    EXPECT_EQ(inTitleBar, ref(w));
    inTitleBar.reset();
    EXPECT_EQ(watcher->closeButtonHit(Point{115, 131}, &inTitleBar), std::nullopt);
    EXPECT_EQ(inTitleBar, std::nullopt);
}

TEST_F(WatcherTest, AButtonMovedSilentlyIsFoundByAReread) {
    ElementId w = addWindow("Doc", Rect{{100, 100}, {400, 300}});
    auto watcher = makeWatcher();
    desktop.setToolbar(w, true);
    Rect moved = *desktop.closeButtonFrame(w);
    Point now{moved.minX() + moved.size.width / 2, moved.minY() + moved.size.height / 2};
    EXPECT_EQ(watcher->closeButtonHit(now), std::nullopt);
    EXPECT_TRUE(watcher->rereadCloseButton(ref(w)));
    EXPECT_EQ(watcher->closeButtonHit(now), ref(w));
    desktop.runDue();
}

TEST_F(WatcherTest, ARereadNeverReadsCustomChromeNorUnwatchedWindows) {
    ElementId custom = addWindow("Custom");
    sim::CloseButtonDescription none;
    none.present = false;
    desktop.setCloseButton(custom, none);
    auto watcher = makeWatcher();
    desktop.resetCounters();
    EXPECT_FALSE(watcher->rereadCloseButton(ref(custom)));
    ElementId later = addWindow("Later", Rect{{1000, 100}, {400, 300}}, false);
    EXPECT_FALSE(watcher->rereadCloseButton(ref(later)));
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(WatcherTest, CustomChromeIsNotedOnceAcrossMoves) {
    desktop.setReadCost(0);  // the note at the moment of attaching, the reads taking no time
    LogCapture capture;
    ElementId w = addWindow("Canvas");
    desktop.failAttribute(w, "AXCloseButton", axerror::noValue);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::unsupported(axerror::noValue));
    desktop.moveWindow(w, Point{10, 10});
    desktop.resizeWindow(w, Size{100, 100});
    desktop.runDue();
    watcher->resync();
    watcher->liveCloseButtonHit(Point{0, 0});
    auto notes = capture.linesContaining("note:");
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(
        notes[0],
        "00:00:00.000  note: Notes window \"Canvas\" — no AXCloseButton (noValue) — custom chrome");
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);  // never retried
}

TEST_F(WatcherTest, CustomChromeNoteIsPerWindowAndComesBackAfterADestroyedWindow) {
    LogCapture capture;
    auto desc = sim::testing::window("");
    desc.closeButton.present = false;  // attribute-unsupported
    ElementId a = desktop.addWindow(pid, desc);
    auto watcher = makeWatcher();
    desc.title = "Second";
    desktop.addWindow(pid, desc);
    desktop.advance(1);
    desktop.destroyWindow(a);
    desktop.runDue();
    auto notes = capture.linesContaining("note:");
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_NE(notes[0].find("note: Notes window \"<untitled>\" — no AXCloseButton "
                            "(attributeUnsupported) — custom chrome"),
              std::string::npos);
    EXPECT_NE(notes[1].find("window \"Second\""), std::string::npos);
}

TEST_F(WatcherTest, TransientFailureIsRetriedAtHalfOneAndAHalfAndThreeSeconds) {
    desktop.setReadCost(0);  // the schedule alone, without the reads' own time
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    std::vector<double> readTimes;
    desktop.setReadHook([&](ElementId id, const std::string& attribute) {
        if (id == w && attribute == "AXCloseButton") readTimes.push_back(desktop.now() - start);
    });
    auto watcher = makeWatcher();
    desktop.advance(60);
    EXPECT_EQ(readTimes, (std::vector<double>{0.0, 0.5, 1.5, 3.0}));
    EXPECT_EQ(watcher->missReason(ref(w)),
              CloseButtonMiss::transientFailure(axerror::cannotComplete));
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
    expectFrameOrMiss(*watcher, w);
    desktop.setReadHook(nullptr);
}

TEST_F(WatcherTest, RetryThatSucceedsCachesTheFrameAndStops) {
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, 2);
    auto watcher = makeWatcher();
    desktop.advance(0.5);
    EXPECT_FALSE(watcher->closeButtonFrames().count(ref(w)));
    desktop.advance(1.0);
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
    EXPECT_EQ(watcher->missReason(ref(w)), std::nullopt);
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST_F(WatcherTest, EveryTriggerStartsItsOwnChain) {
    desktop.setReadCost(0);  // the schedule alone, without the reads' own time
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    std::vector<double> readTimes;
    desktop.setReadHook([&](ElementId id, const std::string& attribute) {
        if (id == w && attribute == "AXCloseButton") readTimes.push_back(desktop.now() - start);
    });
    auto watcher = makeWatcher();
    desktop.advance(1.0);
    desktop.moveWindow(w, Point{0, 0});
    desktop.advance(60);
    EXPECT_EQ(readTimes, (std::vector<double>{0.0, 0.5, 1.0, 1.5, 1.5, 2.5, 3.0, 4.0}));
    desktop.setReadHook(nullptr);
}

TEST_F(WatcherTest, UnreadableEnabledCountsAsEnabled) {
    auto desc = sim::testing::window("Doc");
    desc.closeButton.enabled = std::nullopt;
    ElementId w = desktop.addWindow(pid, desc);
    auto watcher = makeWatcher();
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
    desktop.setAttribute(desktop.closeButtonOf(w), "AXEnabled", AXValue("yes"));
    desktop.moveWindow(w, Point{1, 1});
    desktop.runDue();
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
}

TEST_F(WatcherTest, DisabledButtonIsRecordedAndNeverRetriedBySchedule) {
    auto desc = sim::testing::window("Doc");
    desc.closeButton.enabled = false;
    ElementId w = desktop.addWindow(pid, desc);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::disabled());
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
    desktop.resetCounters();
    desktop.advance(60);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    // The button's number form reads the same way.
    desktop.setAttribute(desktop.closeButtonOf(w), "AXEnabled", AXValue(AXNumber{0}));
    sim::CloseButtonDescription enabled;
    desktop.setCloseButton(w, enabled);
    desktop.moveWindow(w, Point{1, 1});
    desktop.runDue();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::disabled());
}

TEST_F(WatcherTest, ButtonWithoutFrameRecordsNoFrame) {
    ElementId w = addWindow("Doc");
    desktop.failAttribute(desktop.closeButtonOf(w), "AXPosition", axerror::cannotComplete);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::noFrame());
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST_F(WatcherTest, UnreadableRoleIsTransientAndRetried) {
    ElementId w = addWindow("Doc");
    desktop.injectError(w, "AXRole", axerror::cannotComplete, 1);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)),
              CloseButtonMiss::transientFailure(axerror::cannotComplete));
    EXPECT_EQ(desktop.pendingWorkCount(), 1u);
    desktop.advance(0.5);
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
}

TEST_F(WatcherTest, RoleWithNoValueIsTransientWithSuccess) {
    ElementId w = addWindow("Doc");
    desktop.setAttribute(w, "AXRole", std::nullopt);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::transientFailure(axerror::success));
}

TEST_F(WatcherTest, CloseButtonOfTheWrongTypeIsTransientWithSuccess) {
    ElementId w = addWindow("Doc");
    desktop.setAttribute(w, "AXCloseButton", AXValue("button"));
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::transientFailure(axerror::success));
    desktop.setAttribute(w, "AXCloseButton", std::nullopt);
    desktop.moveWindow(w, Point{2, 2});
    desktop.runDue();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::transientFailure(axerror::success));
}

TEST_F(WatcherTest, CloseButtonReadFailingOtherwiseIsTransientWithItsError) {
    ElementId w = addWindow("Doc");
    desktop.failAttribute(w, "AXCloseButton", axerror::failure);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::transientFailure(axerror::failure));
}

TEST_F(WatcherTest, RetryAfterTheWindowWasDestroyedChangesNothing) {
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    desktop.resetCounters();
    desktop.advance(60);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    EXPECT_TRUE(watcher->closeButtonMisses().empty());
    EXPECT_TRUE(watcher->closeButtonFrames().empty());
}

TEST_F(WatcherTest, RetryAfterTheWatcherWasReleasedEndsTheChain) {
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    EXPECT_EQ(desktop.pendingWorkCount(), 1u);
    watcher.reset();
    desktop.resetCounters();
    desktop.advance(60);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(WatcherTest, ExactlyOneOfFrameOrMissAfterEveryRefresh) {
    ElementId framed = addWindow("Framed");
    ElementId slow = addWindow("Slow");
    ElementId chrome = addWindow("Chrome");
    ElementId off = addWindow("Off");
    ElementId noFrame = addWindow("NoFrame");
    ElementId panel = addWindow("Panel");
    desktop.injectError(slow, "AXCloseButton", axerror::cannotComplete, 2);
    desktop.failAttribute(chrome, "AXCloseButton", axerror::attributeUnsupported);
    sim::CloseButtonDescription disabled;
    disabled.enabled = false;
    desktop.setCloseButton(off, disabled);
    desktop.failAttribute(desktop.closeButtonOf(noFrame), "AXSize", axerror::noValue);
    desktop.setSubrole(panel, "AXFloatingWindow");
    auto watcher = makeWatcher();
    const std::vector<ElementId> all{framed, slow, chrome, off, noFrame, panel};
    auto check = [&] {
        for (ElementId w : all) expectFrameOrMiss(*watcher, w);
    };
    check();
    for (int step = 0; step < 8; ++step) {
        desktop.advance(0.5);
        check();
    }
    // Now turn every window around and refresh again.
    desktop.clearAttribute(chrome, "AXCloseButton");
    desktop.setCloseButton(off, sim::CloseButtonDescription{});
    desktop.clearAttribute(desktop.closeButtonOf(noFrame), "AXSize");
    desktop.setSubrole(panel, "AXStandardWindow");
    desktop.failAttribute(framed, "AXCloseButton", axerror::cannotComplete);
    for (ElementId w : all) desktop.moveWindow(w, Point{20, 20});
    desktop.runDue();
    check();
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(chrome)));
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(off)));
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(noFrame)));
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(panel)));
    EXPECT_EQ(watcher->missReason(ref(framed)),
              CloseButtonMiss::transientFailure(axerror::cannotComplete));
    watcher->liveCloseButtonHit(Point{-1000, -1000});
    check();
    desktop.advance(10);
    check();
}

TEST_F(WatcherTest, LiveHitNeverRereadsCustomChromeAndRereadsDisabled) {
    ElementId chrome = addWindow("Chrome", Rect{{0, 0}, {300, 300}});
    ElementId off = addWindow("Off", Rect{{400, 0}, {300, 300}});
    desktop.failAttribute(chrome, "AXCloseButton", axerror::attributeUnsupported);
    sim::CloseButtonDescription disabled;
    disabled.enabled = false;
    desktop.setCloseButton(off, disabled);
    auto watcher = makeWatcher();
    desktop.resetCounters();
    // The disabled button comes back enabled; the live test finds it.
    desktop.setCloseButton(off, sim::CloseButtonDescription{});
    Point onButton = desktop.closeButtonFrame(off)->origin;
    EXPECT_EQ(watcher->closeButtonHit(onButton), std::nullopt);
    EXPECT_EQ(watcher->liveCloseButtonHit(onButton), ref(off));
    EXPECT_EQ(desktop.readCount(chrome, "AXRole"), 0u);
    EXPECT_EQ(desktop.readCount(chrome, "AXCloseButton"), 0u);
    EXPECT_EQ(desktop.readCount(off, "AXRole"), 1u);
    EXPECT_EQ(desktop.readCount(off, "AXCloseButton"), 1u);
    EXPECT_EQ(watcher->closeButtonHit(onButton), ref(off));  // the cache learned it
}

TEST_F(WatcherTest, LiveHitSkipsFramedWindowsAndSchedulesNoRetry) {
    ElementId framed = addWindow("Framed", Rect{{0, 0}, {300, 300}});
    ElementId slow = addWindow("Slow", Rect{{400, 0}, {300, 300}});
    desktop.injectError(slow, "AXCloseButton", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    desktop.advance(60);
    desktop.resetCounters();
    EXPECT_EQ(watcher->liveCloseButtonHit(desktop.closeButtonFrame(slow)->origin), std::nullopt);
    EXPECT_EQ(desktop.readCount(framed, "AXRole"), 0u);
    EXPECT_EQ(desktop.readCount(slow, "AXCloseButton"), 1u);
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
    desktop.clearInjectedErrors();
    EXPECT_EQ(watcher->liveCloseButtonHit(desktop.closeButtonFrame(slow)->origin), ref(slow));
}

TEST_F(WatcherTest, LiveHitNeedsThePointInsideTheFreshFrame) {
    ElementId w = addWindow("Doc");
    desktop.failAttribute(desktop.closeButtonOf(w), "AXPosition", axerror::cannotComplete);
    auto watcher = makeWatcher();
    desktop.clearAttribute(desktop.closeButtonOf(w), "AXPosition");
    EXPECT_EQ(watcher->liveCloseButtonHit(Point{0, 0}), std::nullopt);
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));  // updated as a side effect
}

TEST_F(WatcherTest, CloseBlockedBySheet) {
    ElementId w = addWindow("Doc");
    ElementId other = addWindow("Other");
    auto watcher = makeWatcher();
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
    desktop.showSheet(w);
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(true));
    EXPECT_EQ(blocked(*watcher, ref(other)), std::optional<bool>(false));
    desktop.answerSheet(w, false);
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
}

TEST_F(WatcherTest, CloseBlockedByAnyDialogOfTheApplication) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    for (const char* subrole :
         {"AXDialog", "AXSystemDialog", "AXApplicationDialog", "AXApplicationAlertDialog"}) {
        ElementId d = desktop.showDialog(pid, subrole, "Alert");
        EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(true)) << subrole;
        EXPECT_EQ(blocked(*watcher, ref(d)), std::optional<bool>(true)) << subrole;
        desktop.destroyWindow(d);
        EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false)) << subrole;
    }
    ElementId panel = desktop.showDialog(pid, "AXFloatingWindow", "Panel");
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
    desktop.destroyWindow(panel);
    desktop.addApp(sim::testing::app(50, "Other"));
    desktop.showDialog(50, "AXSystemDialog", "Elsewhere");
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
}

TEST_F(WatcherTest, UnreadableRolesAndSubrolesCountAsNoMatch) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    ElementId sheet = desktop.showSheet(w);
    ElementId dialog = desktop.showDialog(pid, "AXDialog", "Alert");
    desktop.failAttribute(sheet, "AXRole", axerror::cannotComplete);
    desktop.failAttribute(dialog, "AXSubrole", axerror::cannotComplete);
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
    desktop.injectError(w, "AXChildren", axerror::cannotComplete);
    desktop.clearAttribute(dialog, "AXSubrole");
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(true));
}

TEST_F(WatcherTest, CloseBlockedReadsChildrenWindowsAndSubroles) {
    ElementId w = addWindow("Doc");
    addWindow("Second");
    auto watcher = makeWatcher();
    desktop.resetCounters();
    EXPECT_EQ(blocked(*watcher, ref(w)), std::optional<bool>(false));
    EXPECT_EQ(desktop.readCount(w, "AXChildren"), 1u);
    EXPECT_EQ(desktop.readCount("AXRole"), 1u);  // the close button child
    EXPECT_EQ(desktop.readCount("AXWindows"), 1u);
    EXPECT_EQ(desktop.readCount("AXSubrole"), 2u);
}

TEST_F(WatcherTest, MissReasonOfUnknownWindowIsNone) {
    auto watcher = makeWatcher();
    ElementId w = addWindow("Later", Rect{{0, 0}, {10, 10}}, false);
    EXPECT_EQ(watcher->missReason(ref(w)), std::nullopt);
}

TEST(CloseButtonMissText, Descriptions) {
    EXPECT_EQ(CloseButtonMiss::unsupported(axerror::noValue).description(),
              "no AXCloseButton (noValue) — custom chrome");
    EXPECT_EQ(CloseButtonMiss::unsupported(axerror::attributeUnsupported).description(),
              "no AXCloseButton (attributeUnsupported) — custom chrome");
    EXPECT_EQ(CloseButtonMiss::transientFailure(axerror::cannotComplete).description(),
              "read failed (cannotComplete)");
    EXPECT_EQ(CloseButtonMiss::transientFailure(axerror::success).description(),
              "read failed (success)");
    EXPECT_EQ(CloseButtonMiss::transientFailure(axerror::illegalArgument).description(),
              "read failed (error -25201)");
    EXPECT_EQ(CloseButtonMiss::notStandardWindow().description(), "not a standard window");
    EXPECT_EQ(CloseButtonMiss::disabled().description(), "close button disabled");
    EXPECT_EQ(CloseButtonMiss::noFrame().description(), "close button has no frame");
}

TEST(CloseButtonMissText, OnlyTransientFailuresAreWorthRetrying) {
    EXPECT_TRUE(CloseButtonMiss::transientFailure(axerror::cannotComplete).isWorthRetrying());
    EXPECT_FALSE(CloseButtonMiss::unsupported(axerror::noValue).isWorthRetrying());
    EXPECT_FALSE(CloseButtonMiss::notStandardWindow().isWorthRetrying());
    EXPECT_FALSE(CloseButtonMiss::disabled().isWorthRetrying());
    EXPECT_FALSE(CloseButtonMiss::noFrame().isWorthRetrying());
}

TEST(CloseButtonMissText, EqualityComparesKindAndError) {
    EXPECT_EQ(CloseButtonMiss::unsupported(axerror::noValue),
              CloseButtonMiss::unsupported(axerror::noValue));
    EXPECT_NE(CloseButtonMiss::unsupported(axerror::noValue),
              CloseButtonMiss::unsupported(axerror::attributeUnsupported));
    EXPECT_NE(CloseButtonMiss::unsupported(axerror::noValue),
              CloseButtonMiss::transientFailure(axerror::noValue));
}

}  // namespace
}  // namespace quelto::testing
