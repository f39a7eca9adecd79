// What counts as an application's windows at a decision on a real Mac: windows that cannot be
// classified, windows on other Spaces and ordered out, an activation policy that changed,
// revoked Accessibility access, and a window swap that leaves a moment of no window.

#include "tests/engine/EngineFixture.h"

namespace quelto::enginetest {
namespace {

const char* const causeNotRedDot = "not the red dot (cmd-W / menu / programmatic)";

class WindowInventoryTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        desktop.addApp(appSpec(textEdit, "com.apple.TextEdit", "TextEdit"));
        notes = addWindow(textEdit, "Notes");
        draft = addWindow(textEdit, "Draft");
    }

    bool askedToQuit(Pid pid) const {
        for (const auto& request : desktop.quitRequests())
            if (request.pid == pid) return true;
        return false;
    }

    bool logHas(const Lines& lines, const std::string& text) const {
        for (const auto& line : lines)
            if (line.find(text) != std::string::npos) return true;
        return false;
    }

    sim::ElementId notes = 0;
    sim::ElementId draft = 0;
};

TEST_F(WindowInventoryTest, AWindowWhoseRoleCannotBeReadMakesTheCountUnknown) {
    startEngine();
    desktop.advance(10);
    desktop.injectError(draft, "AXRole", axerror::cannotComplete, -1);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(2);

    Lines log = takeLog();
    EXPECT_TRUE(logHas(log, "              windows remaining: unknown"));
    EXPECT_TRUE(logHas(
        log, "→ no action (could not classify TextEdit’s window \"Draft\": cannotComplete)"));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].cause, causeNotRedDot);
    EXPECT_EQ(journal()[0].outcome, "windows unknown — kept running");
    EXPECT_EQ(journal()[0].windowsLeft, -1);
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, AWindowWhoseSubroleCannotBeReadMakesTheCountUnknownToo) {
    startEngine();
    desktop.advance(10);
    desktop.injectError(draft, "AXSubrole", axerror::failure, -1);
    desktop.closeWindowWithoutClick(notes);
    desktop.advance(2);
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "windows unknown — kept running");
    EXPECT_FALSE(askedToQuit(textEdit));
}

TEST_F(WindowInventoryTest, ADialogThatIsClassifiedIsStillNoUserWindow) {
    startEngine();
    desktop.advance(10);
    desktop.showDialog(textEdit, "AXDialog", "Find");
    desktop.runDue();
    desktop.closeWindowWithoutClick(notes);
    desktop.closeWindowWithoutClick(draft);
    desktop.advance(5);
    ASSERT_FALSE(journal().empty());
    EXPECT_EQ(journal()[0].windowsLeft, 0);
    EXPECT_TRUE(askedToQuit(textEdit));
}

}  // namespace
}  // namespace quelto::enginetest
