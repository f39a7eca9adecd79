// When the watcher first saw each window and sheet, and the look for a dialog holding a
// clicked close that leaves out the dialogs and sheets already up before the click.

#include <algorithm>

#include "tests/accessibility/WatcherFixture.h"
#include "tests/support/AXNames.h"

namespace quelto::testing {
namespace {

using sim::ElementId;

// Reads take no time here, so that a moment a window was seen is the moment of the test.
class DialogBirthTest : public WatcherTest {
  protected:
    void SetUp() override { desktop.setReadCost(0); }
};

TEST_F(DialogBirthTest, EachWindowIsNotedWhenFirstSeen) {
    ElementId before = addWindow("Before");
    auto watcher = makeWatcher();
    EXPECT_EQ(watcher->firstSeen(ref(before)), std::optional<Date>(desktop.now()));

    desktop.advance(3);
    ElementId announced = addWindow("Announced", Rect{{300, 300}, {400, 300}});
    desktop.runDue();
    EXPECT_EQ(watcher->firstSeen(ref(announced)), std::optional<Date>(desktop.now()));

    // A window that opened unannounced is seen when the watcher catches up.
    ElementId quiet = addWindow("Quiet", Rect{{500, 500}, {400, 300}}, false);
    desktop.advance(4);
    EXPECT_EQ(watcher->firstSeen(ref(quiet)), std::nullopt);
    watcher->resync();
    EXPECT_EQ(watcher->firstSeen(ref(quiet)), std::optional<Date>(desktop.now()));

    desktop.destroyWindow(announced);
    desktop.runDue();
    EXPECT_EQ(watcher->firstSeen(ref(announced)), std::nullopt);
}

TEST_F(DialogBirthTest, AnAlertShownAgainIsSeenAnew) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    ElementId alert = desktop.showDialog(pid, "AXApplicationAlertDialog", "Save?", true);
    desktop.runDue();
    // The app keeps its alert: answered, it is ordered out; asked again, it is shown again.
    desktop.orderOutWindow(alert);
    desktop.advance(10);
    desktop.orderInWindow(alert);
    desktop.runDue();
    EXPECT_EQ(watcher->firstSeen(ref(alert)), std::optional<Date>(desktop.now()));
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked, std::optional<bool>(true));
}

TEST_F(DialogBirthTest, EachSheetIsNotedWhenItComesDownAndForgottenWhenItGoes) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    ElementId app = desktop.applicationElementId(pid);
    auto registered = desktop.registrations(pid);
    EXPECT_EQ(std::count(registered.begin(), registered.end(),
                         std::pair<ElementId, std::string>{app, axSheetCreated}),
              1);
    desktop.advance(2);
    ElementId sheet = desktop.showSheet(w);
    desktop.runDue();
    EXPECT_EQ(watcher->firstSeen(ref(sheet)), std::optional<Date>(desktop.now()));
    desktop.advance(1);
    desktop.answerSheet(w, false);
    desktop.runDue();
    EXPECT_EQ(watcher->firstSeen(ref(sheet)), std::nullopt);
}

TEST_F(DialogBirthTest, ADialogOrSheetFirstSeenBeforeTheMomentHoldsNothing) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.advance(1);
    ElementId alert = desktop.showDialog(pid, "AXApplicationAlertDialog", "Alert", true);
    desktop.showSheet(w);
    desktop.runDue();
    Date shown = desktop.now();
    desktop.advance(3);

    // Seen before the moment: up before the click, holding nothing.
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked,
              std::optional<bool>(false));
    // Seen at the moment: the sheet holds, then the dialog window, which is named.
    AppWatcher::CloseHold held = watcher->closeBlockedState(ref(w), shown);
    EXPECT_EQ(held.blocked, std::optional<bool>(true));
    EXPECT_EQ(held.dialog, std::nullopt);
    desktop.answerSheet(w, false);
    held = watcher->closeBlockedState(ref(w), shown);
    EXPECT_EQ(held.blocked, std::optional<bool>(true));
    EXPECT_EQ(held.dialog, std::optional<WindowRef>(ref(alert)));
}

TEST_F(DialogBirthTest, ADialogOrSheetNeverSeenHolds) {
    ElementId w = addWindow("Doc");
    // The app takes none of its app-level notifications: no dialog or sheet is announced.
    desktop.injectError(desktop.applicationElementId(pid), "register", axerror::cannotComplete, -1);
    auto watcher = makeWatcher();
    desktop.advance(1);
    ElementId sheet = desktop.showSheet(w);
    ElementId alert = desktop.showDialog(pid, "AXDialog", "Alert");
    desktop.advance(20);
    EXPECT_EQ(watcher->firstSeen(ref(sheet)), std::nullopt);
    EXPECT_EQ(watcher->firstSeen(ref(alert)), std::nullopt);

    // Their births are unknown: they hold, however late the moment.
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked, std::optional<bool>(true));
    desktop.answerSheet(w, false);
    AppWatcher::CloseHold held = watcher->closeBlockedState(ref(w), desktop.now());
    EXPECT_EQ(held.blocked, std::optional<bool>(true));
    EXPECT_EQ(held.dialog, std::optional<WindowRef>(ref(alert)));
}

TEST_F(DialogBirthTest, WindowsSeenBeforeTheMomentAreNotRead) {
    ElementId w = addWindow("Doc");
    addWindow("Second", Rect{{300, 300}, {400, 300}});
    auto watcher = makeWatcher();
    desktop.advance(5);
    desktop.resetCounters();
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked,
              std::optional<bool>(false));
    EXPECT_EQ(desktop.readCount(w, "AXChildren"), 1u);
    EXPECT_EQ(desktop.readCount("AXWindows"), 1u);
    EXPECT_EQ(desktop.readCount("AXSubrole"), 0u);
}

TEST_F(DialogBirthTest, TheLookTellsCannotTellFromNoDialog) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    desktop.advance(5);
    desktop.injectError(desktop.applicationElementId(pid), "AXWindows", axerror::cannotComplete);
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked, std::nullopt);
    desktop.injectError(w, "AXChildren", axerror::invalidUIElement);
    EXPECT_EQ(watcher->closeBlockedState(ref(w), desktop.now()).blocked,
              std::optional<bool>(false));
}

TEST_F(DialogBirthTest, IsDialogAsksTheWindowItselfWhereverItIs) {
    ElementId w = addWindow("Doc");
    auto watcher = makeWatcher();
    ElementId alert = desktop.showDialog(pid, "AXApplicationAlertDialog", "Save?", true);
    desktop.runDue();
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::optional<bool>(true));
    EXPECT_EQ(watcher->isDialog(ref(w)), std::optional<bool>(false));

    // On another Space the app does not list it, but the window answers.
    desktop.switchToSpace(2);
    desktop.runDue();
    EXPECT_TRUE(watcher->readWindows()->empty());
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::optional<bool>(true));

    desktop.injectError(alert, "AXSubrole", axerror::cannotComplete);
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::nullopt);
    desktop.setSubrole(alert, "AXStandardWindow");
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::optional<bool>(false));
    desktop.setSubrole(alert, std::nullopt);
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::optional<bool>(false));
    desktop.destroyWindow(alert);
    EXPECT_EQ(watcher->isDialog(ref(alert)), std::optional<bool>(false));
}

}  // namespace
}  // namespace quelto::testing
