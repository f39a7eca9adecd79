// The Help tab's master switch check while the settings file cannot be read: the switch it
// would report on is only the defaults', so it fails and says what is wrong with the file.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/ui/UiTestSupport.h"
#include "ui/MainWindowModel.h"

namespace quelto {
namespace {

using uitest::Lines;
using uitest::writeConfig;

const MainWindowModel::HealthCheck unreadableCheck{
    "Quelto’s settings file can’t be read",
    "config.txt is not valid UTF-8, so nothing will be quit. Fix it by hand, or change a "
    "setting here: the file is then kept aside and a new one started.",
    false, "exclamationmark.circle.fill"};

class UnreadableConfigCheckTest : public uitest::UiTest {
  protected:
    void TearDown() override {
        std::error_code ec;
        for (auto& e : std::filesystem::directory_iterator(ConfigStore::directory(), ec))
            if (e.path().filename().string().rfind("config.txt.unreadable-", 0) == 0)
                std::filesystem::remove_all(e.path(), ec);
        uitest::UiTest::TearDown();
    }
};

TEST_F(UnreadableConfigCheckTest, TheMasterSwitchCheckSaysTheFileCannotBeRead) {
    writeConfig("# R\xE9glages\nlive = true\narm = *\n");
    desktop.setTrusted(true);
    MainWindowModel model(desktop.shellContext());
    ASSERT_EQ(model.checkRows().size(), 3u);
    EXPECT_EQ(model.checkRows()[1], unreadableCheck);
    EXPECT_TRUE(model.checkRows()[0].passed);
}

TEST_F(UnreadableConfigCheckTest, AfterTheSwitchIsSavedTheCheckReportsTheSwitchAgain) {
    writeConfig("# R\xE9glages\nlive = true\narm = *\n");
    MainWindowModel model(desktop.shellContext());
    model.toggleLive(false);
    EXPECT_EQ(takeLog(),
              (Lines{"config.txt is not valid UTF-8 — moved it aside to " + ConfigStore::path() +
                     ".unreadable-20260101-010000 before saving"}));
    EXPECT_EQ(model.checkRows()[1].title, "Quelto is switched off");
}

TEST_F(UnreadableConfigCheckTest, OtherProblemsAreNamedInTheSameSentence) {
    auto checks = MainWindowModel::healthChecks(true, Config(), LoginItem::Status::enabled,
                                                std::string("is not a regular file"));
    EXPECT_EQ(checks[1].title, "Quelto’s settings file can’t be read");
    EXPECT_EQ(
        checks[1].detail.rfind("config.txt is not a regular file, so nothing will be quit.", 0),
        0u);
    EXPECT_TRUE(checks[0].passed);
    EXPECT_TRUE(checks[2].passed);
}

}  // namespace
}  // namespace quelto
