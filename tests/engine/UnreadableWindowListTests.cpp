// An application whose window list cannot be read when the decision is made has unknown
// windows, never zero: the last-window verdict is never reached through it.

#include "accessibility/AXRead.h"
#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

const char* const causeNotRedDot = "not the red dot (cmd-W / menu / programmatic)";

class UnreadableWindowListTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        notes = addWindow(textEdit, "Notes");
        draft = addWindow(textEdit, "Draft");
        startEngine();
        desktop.advance(10);
    }

    // The window list read fails `times` times from the moment the close has been
    // delivered, so that only the decision's own reads meet the failures.
    void failWindowListAtDecision(int times, AXError error = axerror::cannotComplete) {
        desktop.injectError(desktop.applicationElementId(textEdit), "AXWindows", error, times);
    }

    void keyboardCloseWithListFailing(sim::ElementId window, int times) {
        desktop.closeWindowWithoutClick(window);
        desktop.runDue();
        failWindowListAtDecision(times);
        desktop.advance(0.3);
    }

    sim::ElementId notes = 0;
    sim::ElementId draft = 0;
};

TEST_F(UnreadableWindowListTest, AListFailingTwiceAtTheDecisionKeepsTheAppRunning) {
    keyboardCloseWithListFailing(notes, 2);

    EXPECT_EQ(takeLog(),
              (Lines{
                  std::string("00:00:10.300  TextEdit (com.apple.TextEdit)  window closed  ←  ") +
                      causeNotRedDot,
                  "              windows remaining: unknown",
                  "              → mode last-window: no action",
                  "              → mode red-dot:     no action",
                  "              → no action (could not read TextEdit’s windows: cannotComplete)",
                  "",
              }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0], (Activity::Entry{.at = desktop.now(),
                                             .app = "TextEdit",
                                             .bundleID = "com.apple.TextEdit",
                                             .cause = causeNotRedDot,
                                             .windowsLeft = -1,
                                             .outcome = "windows unknown — kept running",
                                             .quit = false}));
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(desktop.isRunning(textEdit));
}

TEST_F(UnreadableWindowListTest, TheLogNamesTheErrorOfTheFailedRead) {
    desktop.closeWindowWithoutClick(notes);
    desktop.runDue();
    failWindowListAtDecision(2, axerror::apiDisabled);
    desktop.advance(0.3);
    Lines log = takeLog();
    ASSERT_EQ(log.size(), 6u);
    EXPECT_EQ(log[4], "              → no action (could not read TextEdit’s windows: apiDisabled)");
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(UnreadableWindowListTest, AListFailingOnlyOnceIsReadAtTheSecondTry) {
    // The catching-up read fails; the count is read afresh and counts the window still open.
    keyboardCloseWithListFailing(notes, 1);
    Lines log = takeLog();
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[1], "              windows remaining: 1");
    EXPECT_EQ(log[2], "                · Draft  [AXStandardWindow]");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "no action");
    EXPECT_EQ(journal()[0].windowsLeft, 1);
}

TEST_F(UnreadableWindowListTest, TheLastWindowReadableAfterOneFailureStillQuits) {
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(1);
    takeLog();
    keyboardCloseWithListFailing(notes, 1);
    desktop.advance(windowSwapSettle);  // no red dot: the settle period before the quit
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_EQ(journal()[0].windowsLeft, 0);
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
}

TEST_F(UnreadableWindowListTest, RedDotModeDoesNotCountWindowsAndStillQuits) {
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    clickClose(notes);
    desktop.advance(0.1);  // the window has gone and its close was delivered
    failWindowListAtDecision(2);
    desktop.advance(0.25);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"Notes\"  (cached)",
                             "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: unknown",
                             "              → mode last-window: no action",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → QUITTING TextEdit — terminate() returned true",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_EQ(journal()[0].windowsLeft, -1);
}

TEST_F(UnreadableWindowListTest, AnEarlierOutcomeStillComesFirst) {
    // Shift held on the red dot: the escape decides before any verdict, as always.
    clickClose(notes, modifier::shift);
    desktop.advance(0.1);
    failWindowListAtDecision(2);
    desktop.advance(0.25);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "shift held — kept running");
}

TEST_F(UnreadableWindowListTest, WithTheSwitchOffTheUnknownListIsStillTheReason) {
    writeConfig("live = false\nmode = last-window\narm = *\n");
    keyboardCloseWithListFailing(notes, 2);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "windows unknown — kept running");
}

TEST_F(UnreadableWindowListTest, TheWatcherReportsTheListAsUnknownWithTheError) {
    auto watcher = watcherOf(textEdit);
    ASSERT_TRUE(watcher);
    failWindowListAtDecision(1);
    AppWatcher::UserWindowList list = watcher->readUserWindows();
    EXPECT_FALSE(list.value.has_value());
    EXPECT_EQ(list.error, axerror::cannotComplete);

    list = watcher->readUserWindows();
    EXPECT_TRUE(list.value.has_value());
    EXPECT_EQ(list.error, axerror::success);
    EXPECT_EQ(list.value->windows.size(), 2u);
    // `userWindows()` is the same list, read the same way.
    failWindowListAtDecision(1);
    EXPECT_TRUE(watcher->userWindows().empty());
    EXPECT_EQ(watcher->userWindows().size(), 2u);
}

TEST_F(UnreadableWindowListTest, AnAppWithNoWindowsLeftHasAKnownEmptyList) {
    writeConfig("live = false\n");
    desktop.closeWindowWithoutClick(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(1);
    auto watcher = watcherOf(textEdit);
    ASSERT_TRUE(watcher);
    auto list = watcher->readUserWindows();
    EXPECT_TRUE(list.value.has_value());
    EXPECT_TRUE(list.value->windows.empty());
}

// The checked list reader beneath: a success without a value, or a value that is not a list
// of elements, is no list either.
TEST_F(UnreadableWindowListTest, TheCheckedListReaderTellsAnEmptyListFromNoList) {
    sim::ElementId app = desktop.applicationElementId(textEdit);
    AXElement element = desktop.applicationElement(textEdit);

    desktop.setAttribute(app, "AXWindows", AXValue(AXArray{}));
    Read<std::vector<AXElement>> read = axElementsChecked(element, "AXWindows");
    ASSERT_TRUE(read.value.has_value());
    EXPECT_TRUE(read.value->empty());
    EXPECT_EQ(read.error, axerror::success);

    desktop.setAttribute(app, "AXWindows", std::nullopt);
    read = axElementsChecked(element, "AXWindows");
    EXPECT_FALSE(read.value.has_value());
    EXPECT_EQ(read.error, axerror::noValue);

    desktop.setAttribute(app, "AXWindows", AXValue(std::string("not a list")));
    read = axElementsChecked(element, "AXWindows");
    EXPECT_FALSE(read.value.has_value());
    EXPECT_EQ(read.error, axerror::failure);

    desktop.setAttribute(app, "AXWindows", AXValue(AXArray{AXValue(std::string("x"))}));
    read = axElementsChecked(element, "AXWindows");
    EXPECT_FALSE(read.value.has_value());
    EXPECT_EQ(read.error, axerror::failure);
    EXPECT_TRUE(axElements(element, "AXWindows").empty());

    desktop.clearAttribute(app, "AXWindows");
    read = axElementsChecked(element, "AXWindows");
    ASSERT_TRUE(read.value.has_value());
    EXPECT_EQ(read.value->size(), 2u);
}

}  // namespace
}  // namespace quelto::enginetest
