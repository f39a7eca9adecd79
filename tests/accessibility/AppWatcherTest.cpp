// The app watcher: creation and its refusals, the observer and its registrations, the
// handling of the five notifications, the window lists, resync and release.

#include "accessibility/AppWatcher.h"

#include <gtest/gtest.h>

#include "accessibility/WindowClassification.h"
#include "tests/accessibility/WatcherFixture.h"
#include "tests/support/AXNames.h"

namespace quelto::testing {
namespace {

using sim::ElementId;

// An observer for calling the callback directly; the callback never uses it.
struct UnusedObserver final : AXObserver {
    AXError addNotification(const AXElement&, const std::string&, void*) override {
        return axerror::success;
    }
    void addRunLoopSourceToMainRunLoop() override {}
    void removeRunLoopSourceFromMainRunLoop() override {}
};

TEST_F(WatcherTest, CreatesAWatcherWithItsFacts) {
    desktop.advance(3.25);
    auto watcher = makeWatcher();
    ASSERT_NE(watcher, nullptr);
    EXPECT_EQ(watcher->pid, pid);
    EXPECT_EQ(watcher->name, "Notes");
    EXPECT_EQ(watcher->bundleID, "com.apple.Notes");
    EXPECT_EQ(watcher->attachedAt, Date{1767225603.25});
    EXPECT_EQ(watcher->trackedWindowCount(), 0u);
}

TEST_F(WatcherTest, NoWatcherForProcessIdZeroOrNegative) {
    desktop.addApp(sim::testing::app(0, "Kernel"));
    desktop.addApp(sim::testing::app(-3, "Odd"));
    EXPECT_EQ(
        AppWatcher::create(desktop.runningApplication(0), sink, desktop.context().watcherContext()),
        nullptr);
    EXPECT_EQ(AppWatcher::create(desktop.runningApplication(-3), sink,
                                 desktop.context().watcherContext()),
              nullptr);
    EXPECT_EQ(AppWatcher::create(nullptr, sink, desktop.context().watcherContext()), nullptr);
    EXPECT_EQ(desktop.liveObserverCount(), 0);
}

TEST_F(WatcherTest, NoWatcherWhenNoObserverCanBeMade) {
    auto desc = sim::testing::app(43, "Locked");
    desc.observerError = axerror::cannotComplete;
    desktop.addApp(desc);
    EXPECT_EQ(AppWatcher::create(desktop.runningApplication(43), sink,
                                 desktop.context().watcherContext()),
              nullptr);
    EXPECT_EQ(desktop.liveObserverCount(), 0);
    EXPECT_EQ(desktop.observersWithSourceOnRunLoop(), 0);
}

TEST_F(WatcherTest, NamesWithoutLocalizedNameOrBundleIdentifier) {
    desktop.addApp(sim::testing::app(4321));
    auto watcher = AppWatcher::create(desktop.runningApplication(4321), sink,
                                      desktop.context().watcherContext());
    ASSERT_NE(watcher, nullptr);
    EXPECT_EQ(watcher->name, "pid 4321");
    EXPECT_EQ(watcher->bundleID, "<none>");
}

TEST_F(WatcherTest, ObserverOnTheRunLoopWithRegistrationsInOrder) {
    ElementId a = addWindow("A");
    ElementId b = addWindow("B");
    auto watcher = makeWatcher();
    ASSERT_NE(watcher, nullptr);
    EXPECT_EQ(desktop.liveObserverCount(), 1);
    EXPECT_EQ(desktop.observersWithSourceOnRunLoop(), 1);
    ElementId app = desktop.applicationElementId(pid);
    using R = std::vector<std::pair<ElementId, std::string>>;
    // Windows in "AXWindows" order: front to back, so B first.
    EXPECT_EQ(desktop.registrations(pid), (R{{app, axWindowCreated},
                                             {app, axFocusedWindowChanged},
                                             {app, axSheetCreated},
                                             {b, axElementDestroyed},
                                             {b, axWindowMoved},
                                             {b, axWindowResized},
                                             {b, axTitleChanged},
                                             {a, axElementDestroyed},
                                             {a, axWindowMoved},
                                             {a, axWindowResized},
                                             {a, axTitleChanged}}));
    for (void* refcon : desktop.registrationRefcons(pid)) EXPECT_EQ(refcon, watcher.get());
    EXPECT_EQ(watcher->trackedWindowCount(), 2u);
}

TEST_F(WatcherTest, RefconDoesNotKeepTheWatcherAlive) {
    auto watcher = makeWatcher();
    std::weak_ptr<AppWatcher> weak = watcher;
    EXPECT_EQ(weak.use_count(), 1);
    watcher.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(WatcherTest, MessagingTimeOutOfOneSecondOnTheApplicationElement) {
    auto watcher = makeWatcher();
    EXPECT_EQ(desktop.messagingTimeout(desktop.applicationElementId(pid)), 1.0f);
}

TEST_F(WatcherTest, ReleaseTakesTheSourceOffTheRunLoop) {
    auto watcher = makeWatcher();
    watcher.reset();
    EXPECT_EQ(desktop.liveObserverCount(), 0);
    EXPECT_EQ(desktop.observersReleasedWithSourceAttached(), 0);
}

TEST_F(WatcherTest, ReleasedWatcherReceivesNothingThatWasQueued) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    addWindow("New");
    desktop.moveWindow(*desktop.windowNamed(pid, "New"), Point{5, 5});
    EXPECT_GT(desktop.pendingWorkCount(), 0u);
    watcher.reset();
    desktop.advance(10);  // under AddressSanitizer a stray callback would be fatal
    EXPECT_TRUE(sink.reports.empty());
}

TEST_F(WatcherTest, WindowCreatedStartsWatching) {
    auto watcher = makeWatcher();
    ElementId w = addWindow("Doc");
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    desktop.runDue();
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_EQ(desktop.registrationCount(w, axElementDestroyed), 1u);
    EXPECT_EQ(desktop.registrationCount(w, axWindowMoved), 1u);
    EXPECT_EQ(desktop.registrationCount(w, axWindowResized), 1u);
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
}

TEST_F(WatcherTest, WindowCreatedForAWatchedWindowDoesNothingAgain) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    std::uint64_t requests = desktop.notificationRequestCount();
    desktop.resetCounters();
    desktop.postNotification(desktop.applicationElementId(pid), axWindowCreated, w);
    desktop.runDue();
    EXPECT_EQ(desktop.notificationRequestCount(), requests);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_EQ(watcher->trackedWindowCount(), 1u);
}

TEST_F(WatcherTest, FocusedWindowChangedCatchesUpOnAMissedWindow) {
    auto watcher = makeWatcher();
    ElementId w = addWindow("Quiet", Rect{{100, 100}, {800, 600}}, false);
    desktop.runDue();
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    desktop.focusWindow(w);
    desktop.runDue();
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(w)));
}

TEST_F(WatcherTest, MovedAndResizedRefreshTheFrame) {
    ElementId w = addWindow("Doc", Rect{{100, 100}, {800, 600}});
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->closeButtonFrames().at(ref(w)), (Rect{{106, 104}, {18, 20}}));
    desktop.moveWindow(w, Point{300, 200});
    desktop.runDue();
    EXPECT_EQ(watcher->closeButtonFrames().at(ref(w)), (Rect{{306, 204}, {18, 20}}));
    sim::CloseButtonDescription bigger;
    bigger.frame = Rect{{310, 210}, {20, 20}};
    desktop.setCloseButton(w, bigger);
    desktop.resizeWindow(w, Size{900, 700});
    desktop.runDue();
    EXPECT_EQ(watcher->closeButtonFrames().at(ref(w)), (Rect{{308, 208}, {24, 24}}));
}

TEST_F(WatcherTest, MovedForAnUnwatchedWindowIsIgnored) {
    auto watcher = makeWatcher();
    ElementId w = addWindow("Quiet", Rect{{100, 100}, {800, 600}}, false);
    desktop.resetCounters();
    desktop.postNotification(w, axWindowMoved, w);  // no registration: nothing arrives
    desktop.runDue();
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_FALSE(watcher->isWatched(ref(w)));
}

TEST_F(WatcherTest, DestroyedStandardWindowWithFrameIsReportedWithTheButton) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    EXPECT_TRUE(sink.reports[0].ref == ref(w));
    EXPECT_EQ(sink.reports[0].watcher, watcher);
    EXPECT_TRUE(sink.reports[0].hadCloseButton);
    EXPECT_EQ(sink.reports[0].miss, std::nullopt);
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    EXPECT_EQ(watcher->closeButtonFrames().count(ref(w)), 0u);
    EXPECT_EQ(watcher->trackedWindowCount(), 0u);
}

TEST_F(WatcherTest, DestroyedDialogIsForgottenAndNotReported) {
    auto watcher = makeWatcher();
    ElementId d = desktop.showDialog(pid, "AXDialog", "Print");
    desktop.runDue();
    ASSERT_TRUE(watcher->isWatched(ref(d)));
    EXPECT_EQ(watcher->missReason(ref(d)), CloseButtonMiss::notStandardWindow());
    desktop.destroyWindow(d);
    desktop.runDue();
    EXPECT_TRUE(sink.reports.empty());
    EXPECT_FALSE(watcher->isWatched(ref(d)));
    EXPECT_EQ(watcher->missReason(ref(d)), std::nullopt);
    EXPECT_TRUE(watcher->closeButtonMisses().empty());
    EXPECT_TRUE(watcher->closeButtonFrames().empty());
}

TEST_F(WatcherTest, DestroyedWindowWhoseRoleWasNeverReadableIsNotReported) {
    ElementId w = addWindow("Busy");
    desktop.injectError(w, "AXRole", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    desktop.advance(5);
    EXPECT_EQ(watcher->missReason(ref(w)),
              CloseButtonMiss::transientFailure(axerror::cannotComplete));
    desktop.destroyWindow(w);
    desktop.runDue();
    EXPECT_TRUE(sink.reports.empty());
}

TEST_F(WatcherTest, DestroyedCustomChromeWindowIsNotReported) {
    auto desc = sim::testing::window("Chrome");
    desc.closeButton.present = false;
    desc.closeButton.missingError = axerror::noValue;
    ElementId w = desktop.addWindow(pid, desc);
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::unsupported(axerror::noValue));
    desktop.destroyWindow(w);
    desktop.runDue();
    EXPECT_TRUE(sink.reports.empty());
    EXPECT_FALSE(watcher->isWatched(ref(w)));
    EXPECT_TRUE(watcher->closeButtonMisses().empty());
}

TEST_F(WatcherTest, DestroyedWindowWithADisabledButtonIsReportedWithTheMiss) {
    auto desc = sim::testing::window("Disabled");
    desc.closeButton.enabled = false;
    ElementId w = desktop.addWindow(pid, desc);
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    EXPECT_FALSE(sink.reports[0].hadCloseButton);
    EXPECT_EQ(sink.reports[0].miss, CloseButtonMiss::disabled());
}

TEST_F(WatcherTest, DestroyedWindowWhoseButtonHadNoFrameIsReportedWithTheMiss) {
    ElementId w = addWindow("NoFrame");
    desktop.failAttribute(desktop.closeButtonOf(w), "AXSize", axerror::cannotComplete);
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    EXPECT_FALSE(sink.reports[0].hadCloseButton);
    EXPECT_EQ(sink.reports[0].miss, CloseButtonMiss::noFrame());
}

TEST_F(WatcherTest, DestroyedWindowWhoseLastReadFailedTransientlyIsReportedWithTheMiss) {
    ElementId w = addWindow("Slow");
    desktop.injectError(w, "AXCloseButton", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    EXPECT_FALSE(sink.reports[0].hadCloseButton);
    EXPECT_EQ(sink.reports[0].miss, CloseButtonMiss::transientFailure(axerror::cannotComplete));
}

TEST_F(WatcherTest, OnceConfirmedStandardAWindowStaysReportable) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.setSubrole(w, "AXFloatingWindow");
    desktop.moveWindow(w, Point{10, 10});
    desktop.runDue();
    EXPECT_EQ(watcher->missReason(ref(w)), CloseButtonMiss::notStandardWindow());
    desktop.destroyWindow(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);
    EXPECT_FALSE(sink.reports[0].hadCloseButton);
    EXPECT_EQ(sink.reports[0].miss, CloseButtonMiss::notStandardWindow());
}

TEST_F(WatcherTest, DestroyedForAnUnknownWindowIsIgnored) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    ElementId stranger = addWindow("Stranger", Rect{{0, 0}, {10, 10}}, false);
    UnusedObserver none;
    AppWatcher::observerCallback(none, desktop.element(stranger), axElementDestroyed,
                                 watcher.get());
    EXPECT_TRUE(sink.reports.empty());
    EXPECT_TRUE(watcher->isWatched(ref(w)));
}

TEST_F(WatcherTest, UnknownNotificationsAndNullRefconsAreIgnored) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.resetCounters();
    UnusedObserver none;
    AppWatcher::observerCallback(none, desktop.element(w), "AXValueChanged", watcher.get());
    AppWatcher::observerCallback(none, desktop.element(w), axElementDestroyed, nullptr);
    AppWatcher::observerCallback(none, desktop.element(w), "axuielementdestroyed", watcher.get());
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_TRUE(sink.reports.empty());
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(WatcherTest, WindowListsReadAfresh) {
    ElementId doc = addWindow("Doc");
    ElementId dialog = desktop.showDialog(pid, "AXDialog", "Save");
    auto watcher = makeWatcher();
    auto current = watcher->currentWindows();
    ASSERT_EQ(current.size(), 2u);
    EXPECT_TRUE(WindowRef{current[0]} == ref(dialog));
    auto standard = watcher->standardWindows();
    ASSERT_EQ(standard.size(), 1u);
    EXPECT_TRUE(WindowRef{standard[0]} == ref(doc));
    desktop.resetCounters();
    watcher->currentWindows();
    watcher->currentWindows();
    EXPECT_EQ(desktop.readCount("AXWindows"), 2u);
    desktop.injectError(desktop.applicationElementId(pid), "AXWindows", axerror::cannotComplete);
    EXPECT_TRUE(watcher->currentWindows().empty());
}

TEST_F(WatcherTest, UserWindowsKeepSlowWindowsAndDropOnesWithoutACloseButton) {
    ElementId plain = addWindow("Plain");
    ElementId unsupported = addWindow("Unsupported");
    ElementId noValue = addWindow("NoValue");
    ElementId slow = addWindow("Slow");
    ElementId empty = addWindow("Empty");
    ElementId dialog = desktop.showDialog(pid, "AXDialog", "Dialog");
    auto watcher = makeWatcher();
    desktop.failAttribute(unsupported, "AXCloseButton", axerror::attributeUnsupported);
    desktop.failAttribute(noValue, "AXCloseButton", axerror::noValue);
    desktop.failAttribute(slow, "AXCloseButton", axerror::cannotComplete);
    desktop.setAttribute(empty, "AXCloseButton", std::nullopt);
    std::vector<WindowRef> users;
    for (const AXElement& e : watcher->userWindows()) users.push_back(WindowRef{e});
    EXPECT_EQ(users, (std::vector<WindowRef>{ref(empty), ref(slow), ref(plain)}));
    (void)dialog;
}

TEST_F(WatcherTest, UserWindowsSkipUnreadableWindows) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.injectError(w, "AXRole", axerror::cannotComplete);
    EXPECT_TRUE(watcher->userWindows().empty());
    EXPECT_EQ(watcher->userWindows().size(), 1u);
}

TEST_F(WatcherTest, ResyncWatchesMissedWindowsAndNeverDropsAny) {
    ElementId a = addWindow("A");
    auto watcher = makeWatcher();
    ElementId b = addWindow("B", Rect{{0, 0}, {50, 50}}, false);
    watcher->resync();
    EXPECT_TRUE(watcher->isWatched(ref(b)));
    // A window gone without a destroyed notification stays watched.
    desktop.terminateApp(pid);
    desktop.addApp(sim::testing::app(pid, "Notes"));
    watcher->resync();
    EXPECT_TRUE(watcher->isWatched(ref(a)));
    EXPECT_EQ(watcher->trackedWindowCount(), 2u);
}

TEST_F(WatcherTest, ResyncRetriesOnlyWindowsWithoutFrameAndWithoutFinalMiss) {
    ElementId framed = addWindow("Framed");
    ElementId transient = addWindow("Transient");
    ElementId disabled = addWindow("Disabled");
    ElementId chrome = addWindow("Chrome");
    ElementId unknownSubrole = addWindow("Panel");
    desktop.injectError(transient, "AXCloseButton", axerror::cannotComplete, 4);
    sim::CloseButtonDescription off;
    off.enabled = false;
    desktop.setCloseButton(disabled, off);
    desktop.failAttribute(chrome, "AXCloseButton", axerror::attributeUnsupported);
    desktop.setSubrole(unknownSubrole, "AXFloatingWindow");
    auto watcher = makeWatcher();
    desktop.advance(10);  // the transient chain runs out
    EXPECT_EQ(watcher->missReason(ref(transient)),
              CloseButtonMiss::transientFailure(axerror::cannotComplete));
    desktop.resetCounters();
    watcher->resync();
    EXPECT_EQ(desktop.readCount(transient, "AXRole"), 1u);
    EXPECT_EQ(desktop.readCount(framed, "AXRole"), 0u);
    EXPECT_EQ(desktop.readCount(disabled, "AXRole"), 0u);
    EXPECT_EQ(desktop.readCount(chrome, "AXRole"), 0u);
    EXPECT_EQ(desktop.readCount(unknownSubrole, "AXRole"), 0u);
    EXPECT_TRUE(watcher->closeButtonFrames().count(ref(transient)));
}

TEST_F(WatcherTest, ResyncOfAnEmptyListDoesNothing) {
    auto watcher = makeWatcher();
    desktop.resetCounters();
    watcher->resync();
    EXPECT_EQ(desktop.accessibilityReadCount(), 1u);
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST_F(WatcherTest, WatcherOutlivingTheDesktopIsReleasedQuietly) {
    std::shared_ptr<AppWatcher> watcher;
    RecordingSink other;
    {
        sim::SimDesktop second;
        second.clockTheLog();
        second.addApp(sim::testing::app(9, "Nine"));
        second.addWindow(9, sim::testing::window("Doc"));
        watcher = AppWatcher::create(second.runningApplication(9), other,
                                     second.context().watcherContext());
        ASSERT_NE(watcher, nullptr);
    }
    watcher.reset();
    desktop.clockTheLog();
    SUCCEED();
}

TEST_F(WatcherTest, EngineMayReleaseTheWatcherWhileItReports) {
    struct Dropping final : DestroyedWindowSink {
        std::shared_ptr<AppWatcher> held;
        int calls = 0;
        void windowDestroyed(const WindowRef&, const std::shared_ptr<AppWatcher>& watcher, bool,
                             std::optional<CloseButtonMiss>) override {
            ++calls;
            EXPECT_EQ(watcher, held);
            held.reset();
            EXPECT_GT(watcher->pid, 0);  // still alive for the length of the call
        }
    } dropping;
    ElementId a = addWindow("A");
    ElementId b = addWindow("B");
    dropping.held = AppWatcher::create(desktop.runningApplication(pid), dropping,
                                       desktop.context().watcherContext());
    desktop.destroyWindow(a);
    desktop.destroyWindow(b);
    desktop.advance(1);
    EXPECT_EQ(dropping.calls, 1);
    EXPECT_EQ(dropping.held, nullptr);
}

}  // namespace
}  // namespace quelto::testing
