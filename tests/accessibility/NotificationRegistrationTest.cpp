// The watcher's observer registrations, tried again after a transient refusal: on a short
// schedule, holding the watcher weakly, with one log line when the last try fails.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/accessibility/WatcherFixture.h"
#include "tests/support/AXNames.h"

namespace quelto::testing {
namespace {

using sim::ElementId;
using Registrations = std::vector<std::pair<ElementId, std::string>>;

class RegistrationRetries : public WatcherTest {
  protected:
    RegistrationRetries() {
        log.attach();
        log.take();
    }
    ElementId app() const { return desktop.applicationElementId(pid); }
    // The refusals still to come on an element.
    void refuse(ElementId id, int times, AXError error = axerror::cannotComplete) {
        desktop.injectError(id, "register", error, times);
    }
    LogCapture& log = LogCapture::shared();
};

TEST_F(RegistrationRetries, AppLevelRegistrationsRefusedTwiceAreTakenHalfASecondLater) {
    refuse(app(), 2);
    auto watcher = makeWatcher();
    ASSERT_NE(watcher, nullptr);
    EXPECT_TRUE(desktop.registrations(pid).empty());
    desktop.advance(0.4);
    EXPECT_TRUE(desktop.registrations(pid).empty());
    desktop.advance(0.2);
    // The sheets' notification is asked for once the app takes the others.
    EXPECT_EQ(desktop.registrations(pid), (Registrations{{app(), axWindowCreated},
                                                         {app(), axFocusedWindowChanged},
                                                         {app(), axSheetCreated}}));

    // A window created from then on is announced and watched.
    ElementId w = addWindow("Later");
    desktop.runDue();
    EXPECT_TRUE(watcher->isWatched(ref(w)));
    EXPECT_TRUE(log.linesContaining("did not take").empty());
}

TEST_F(RegistrationRetries, OnlyTheRefusedRegistrationIsTriedAgain) {
    refuse(app(), 1);  // the first, AXWindowCreated
    auto watcher = makeWatcher();
    EXPECT_EQ(desktop.registrations(pid), (Registrations{{app(), axFocusedWindowChanged}}));
    desktop.advance(0.5);
    EXPECT_EQ(desktop.registrations(pid), (Registrations{{app(), axFocusedWindowChanged},
                                                         {app(), axWindowCreated},
                                                         {app(), axSheetCreated}}));
}

TEST_F(RegistrationRetries, TriesFiveTimesOnTheScheduleThenLogsOnce) {
    refuse(app(), -1);
    auto watcher = makeWatcher();
    const double start = desktop.now().seconds;
    const std::uint64_t afterFirst = desktop.notificationRequestCount();
    EXPECT_EQ(afterFirst, 2u);
    // Retries after 0.5, 1, 2 and 4 s: at 0.5, 1.5, 3.5 and 7.5 s from the first.
    for (double at : {0.5, 1.5, 3.5, 7.5}) {
        desktop.advance(at - (desktop.now().seconds - start) - 0.01);
        std::uint64_t before = desktop.notificationRequestCount();
        desktop.advance(0.02);
        EXPECT_EQ(desktop.notificationRequestCount(), before + 2) << "no try at " << at << " s";
    }
    desktop.advance(60);
    EXPECT_EQ(desktop.notificationRequestCount(), afterFirst + 8);
    EXPECT_EQ(log.messages(),
              (LogCapture::Lines{"Notes did not take AXWindowCreated, AXFocusedWindowChanged "
                                 "(cannotComplete) after 5 tries — its new windows are found "
                                 "only at each close decision"}));
    EXPECT_EQ(desktop.pendingWorkCount(), 0u);
}

TEST_F(RegistrationRetries, TheSheetsNotificationIsAskedForWhenCatchingUpAfterTheAppRefused) {
    refuse(app(), -1);
    auto watcher = makeWatcher();
    desktop.advance(10);  // five tries, one line
    EXPECT_EQ(desktop.registrationCount(app(), axSheetCreated), 0u);
    // The app answers again; the next time the watcher catches up, its sheets are followed.
    desktop.clearInjectedErrors();
    watcher->resync();
    EXPECT_EQ(desktop.registrationCount(app(), axSheetCreated), 1u);
    std::uint64_t requests = desktop.notificationRequestCount();
    watcher->resync();
    EXPECT_EQ(desktop.notificationRequestCount(), requests);
}

TEST_F(RegistrationRetries, FinalRefusalsAreNotTriedAgain) {
    refuse(app(), -1, axerror::notificationUnsupported);
    auto watcher = makeWatcher();
    desktop.advance(10);
    watcher->resync();
    EXPECT_EQ(desktop.notificationRequestCount(), 3u);
    EXPECT_TRUE(log.linesContaining("did not take").empty());
}

TEST_F(RegistrationRetries, ARetryHoldsTheWatcherWeakly) {
    refuse(app(), -1);
    auto watcher = makeWatcher();
    std::weak_ptr<AppWatcher> weak = watcher;
    watcher.reset();
    EXPECT_TRUE(weak.expired());
    desktop.advance(10);
    EXPECT_EQ(desktop.notificationRequestCount(), 2u);
    EXPECT_TRUE(log.linesContaining("did not take").empty());
}

TEST_F(RegistrationRetries, AWindowsRegistrationsAreTriedAgainUntilItCloses) {
    ElementId w = addWindow("Report");
    refuse(w, 3);  // all three of the window's registrations, once
    auto watcher = makeWatcher();
    EXPECT_EQ(desktop.registrationCount(w, axElementDestroyed), 0u);
    desktop.advance(0.5);
    EXPECT_EQ(desktop.registrationCount(w, axElementDestroyed), 1u);
    EXPECT_EQ(desktop.registrationCount(w, axWindowMoved), 1u);
    EXPECT_EQ(desktop.registrationCount(w, axWindowResized), 1u);

    // Its close is seen.
    desktop.closeWindowWithoutClick(w);
    desktop.runDue();
    ASSERT_EQ(sink.reports.size(), 1u);

    // A window refusing for good is given up when it goes, without a line.
    ElementId other = addWindow("Other", Rect{{100, 100}, {800, 600}}, false);
    refuse(other, -1);
    watcher->resync();
    desktop.advance(0.6);
    desktop.closeWindowWithoutClick(other);
    desktop.advance(10);  // the next try meets a window that is gone: the last one
    std::uint64_t requests = desktop.notificationRequestCount();
    desktop.advance(10);
    EXPECT_EQ(desktop.notificationRequestCount(), requests);
    EXPECT_TRUE(log.linesContaining("did not take").empty());
}

TEST_F(RegistrationRetries, AWindowRefusingForGoodGetsOneLine) {
    ElementId w = addWindow("Report");
    refuse(w, -1);
    auto watcher = makeWatcher();
    desktop.advance(10);
    EXPECT_EQ(log.messages(),
              (LogCapture::Lines{"Notes did not take AXUIElementDestroyed, AXWindowMoved, "
                                 "AXWindowResized (cannotComplete) for its window \"Report\" "
                                 "after 5 tries — closing it may go unnoticed"}));
    EXPECT_TRUE(watcher->isWatched(ref(w)));
}

}  // namespace
}  // namespace quelto::testing
