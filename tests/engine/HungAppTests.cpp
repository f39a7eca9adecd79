// No Accessibility call holds the engine's main thread for more than a second: the start sets
// the system-wide time-out, so a hung app's windows give up after one second too, and a click
// on another app made meanwhile is still attributed once the thread is free.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

class HungAppTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.setReadCost(0.0001);  // here the reads' time is the point
        writeConfig("live = true\nmode = red-dot\narm = *\n");
    }

    double longestStall() const {
        double longest = 0;
        for (const sim::Stall& s : desktop.stalls()) longest = std::max(longest, s.seconds);
        return longest;
    }
};

TEST_F(HungAppTest, TheStartSetsTheSystemWideTimeOutToOneSecond) {
    EXPECT_EQ(desktop.systemWideMessagingTimeout(), std::nullopt);
    startEngine();
    EXPECT_EQ(desktop.systemWideMessagingTimeout(), std::optional<float>(1.0f));
}

TEST_F(HungAppTest, AHungAppHoldsTheMainThreadSecondsNotMinutes) {
    constexpr Pid pages = 102;
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    desktop.addApp(appDescription(pages, "com.apple.iWork.Pages", "Pages"));
    auto letter = addWindow(pages, "Letter");
    addWindow(pages, "Draft");
    auto notes = addWindow(textEdit, "Notes");
    addWindow(textEdit, "Report");
    startEngine();
    desktop.advance(10);

    // Pages hangs; its red dot is clicked: the read of its windows for the confirmation waits
    // its second and fails, and the frame the watcher knows confirms the hit. The dialog check
    // 0.35 s later makes its three reads of Pages, each waiting its one second: seconds, not
    // minutes. A TextEdit click made meanwhile is handled once the thread is free.
    desktop.hangApp(pages, std::nullopt);
    clickClose(letter);
    desktop.asyncAfter(0.5, [&] { clickClose(notes); });  // TextEdit, meanwhile
    desktop.advance(20);
    EXPECT_LE(longestStall(), 3.01);
    EXPECT_GE(longestStall(), 2.99);  // the dialog check's three reads of the hung app

    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal()[0].app, "TextEdit");
    EXPECT_EQ(journal()[0].cause, "red dot");
    EXPECT_TRUE(journal()[0].quit);
}

TEST_F(HungAppTest, ThreeHungAppsAtStartHoldTheThreadOneSecondAtAStretch) {
    desktop.addApp(appDescription(textEdit, "com.apple.TextEdit", "TextEdit"));
    addWindow(textEdit, "Notes");
    std::vector<sim::ElementId> docs;
    for (Pid hung : {201, 202, 203}) {
        std::string name = "Hung" + std::to_string(hung);
        desktop.addApp(appDescription(hung, "com.example." + name, name));
        docs.push_back(addWindow(hung, "Doc"));
        desktop.hangApp(hung, 30.0);
    }
    startEngine();
    desktop.advance(40);
    // Each attach waits for its first registration only; what else the hung apps would have
    // been asked waits for their quiet periods, one call per turn.
    EXPECT_LE(longestStall(), 1.01);
    EXPECT_GE(longestStall(), 0.99);
    // Once they answer again, their windows are watched and their close buttons cached.
    clickClose(docs[1]);
    desktop.advance(1);
    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal()[0].app, "Hung202");
    EXPECT_EQ(journal()[0].cause, "red dot");
}

}  // namespace
}  // namespace quelto::enginetest
