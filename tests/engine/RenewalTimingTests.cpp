// Renewals of a held click count from the moment the dialog check returned: on a slow
// application the check's own reads take time, and that time must not eat into the renewal.
// The desktop's read hook stands in for the slow reads, moving the clock while the check runs.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class RenewalTimingTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
        sim::WindowDescription desc;
        desc.title = "Letter";
        desc.asksToSave = true;
        letter = addWindow(textEdit, desc);
        startEngine();
        desktop.advance(10);
    }

    void TearDown() override {
        desktop.setReadHook(nullptr);
        EngineTest::TearDown();
    }

    // The next dialog check takes `seconds`: its first read of the window's children (the
    // sheet test that every check starts with) holds the main thread that long.
    void nextCheckTakes(double seconds) {
        armed_ = true;
        desktop.setReadHook([this, seconds](sim::ElementId id, const std::string& attribute) {
            if (!armed_ || id != letter || attribute != "AXChildren") return;
            armed_ = false;
            desktop.advance(seconds);
        });
    }

    const ClickRecord& click() const { return clickOf(letter); }

    sim::ElementId letter = 0;

  private:
    bool armed_ = false;
};

TEST_F(RenewalTimingTest, ARenewalWhileBlockedCountsFromTheEndOfTheCheck) {
    clickClose(letter);  // the save sheet comes down
    Date clicked = desktop.now();
    nextCheckTakes(0.5);
    desktop.advance(0.35);  // the first check starts at 0.35 s and returns at 0.85 s
    EXPECT_DOUBLE_EQ(desktop.now().seconds, (clicked + 0.85).seconds);
    ASSERT_TRUE(click().sustained);
    EXPECT_EQ(click().expiry, desktop.now() + ClickRecord::lifetime);
}

TEST_F(RenewalTimingTest, TheGraceAfterTheDialogCountsFromTheEndOfTheCheck) {
    clickClose(letter);
    Date clicked = desktop.now();
    desktop.advance(0.35);  // held, at the usual speed
    ASSERT_TRUE(click().sustained);
    desktop.answerSheet(letter, false);  // "Cancel": the sheet goes, the window stays
    desktop.advance(1.0);                // the check at 1.35 s sees no sheet: one more look decides
    ASSERT_TRUE(click().missedOnce);
    nextCheckTakes(0.75);
    desktop.advance(0.25);  // that look starts at 1.6 s and returns at 2.35 s
    EXPECT_DOUBLE_EQ(desktop.now().seconds, (clicked + 2.35).seconds);
    EXPECT_EQ(click().expiry, desktop.now() + ClickRecord::afterDialogGrace);
}

TEST_F(RenewalTimingTest, ACheckLongerThanTheLifetimeStillHoldsTheClick) {
    // Red-dot mode: only a click that still counts makes the close a red-dot close.
    writeConfig("live = true\nmode = red-dot\narm = *\n");
    clickClose(letter);
    nextCheckTakes(2.5);
    desktop.advance(0.35);  // the check returns 2.85 s after the click
    takeLog();
    desktop.answerSheet(letter, true);  // "Save": the window closes 0.05 s later
    desktop.advance(0.35);
    // The close came 2.9 s after the click, and still counts as the red dot.
    Lines log = takeLog();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0],
              "00:00:13.200  TextEdit (com.apple.TextEdit)  window closed  ←  red dot — after a "
              "dialog");
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, "red dot — after a dialog");
    EXPECT_EQ(journal()[0].outcome, "quitting");
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
}

TEST_F(RenewalTimingTest, AFastCheckRenewsExactlyAsBefore) {
    clickClose(letter);
    desktop.advance(0.35);
    EXPECT_EQ(click().expiry, desktop.now() + ClickRecord::lifetime);
    desktop.advance(1.0);
    EXPECT_EQ(click().expiry, desktop.now() + ClickRecord::lifetime);
}

}  // namespace
}  // namespace quelto::enginetest
