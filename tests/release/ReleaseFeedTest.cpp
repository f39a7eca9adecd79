// scripts/release-feed: the reply it prints goes through the update check's own validation
// and, served as the site's reply, decides which running builds are offered the update.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ReleaseTestSupport.h"
#include "platform/BuildSettings.h"
#include "platform/SystemClock.h"
#include "sim/SimDesktop.h"
#include "tests/support/LogCapture.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

using releasetest::runScript;
using releasetest::ScriptRun;
using releasetest::sourcePath;
using Strings = std::vector<std::string>;

const std::string kDownload =
    "https://github.com/quelto/quelto/releases/download/v1.2.0/Quelto-1.2.0.dmg";
const std::string kChangelog = sourcePath("tests/release/data/CHANGELOG.md");
const Strings kNotes = {
    "Quelto remembers the window you closed last.",
    "A bold claim, a link and code, which the feed shows as plain words on one line.",
    "Quitting Mail no longer takes ten seconds."};

ScriptRun feed(const std::string& version, const std::string& build, const std::string& url,
               const std::string& changelog = kChangelog) {
    return runScript("scripts/release-feed", {version, build, url, changelog});
}

std::optional<UpdateChecker::Latest> validated(const std::string& body) {
    HttpResult reply;
    reply.statusCode = 200;
    reply.body = body;
    return UpdateChecker::parseReply(reply);
}

TEST(ReleaseFeed, PrintsTheReplyTheUpdateCheckAccepts) {
    ScriptRun run = feed("1.2.0", "57", kDownload);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(validated(run.out), (UpdateChecker::Latest{"1.2.0", 57, kDownload, kNotes}));
}

TEST(ReleaseFeed, ASectionWithoutSubheadingsGivesItsItems) {
    ScriptRun run = feed("1.0.0", "1", kDownload);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(validated(run.out),
              (UpdateChecker::Latest{"1.0.0", 1, kDownload, {"The first release."}}));
}

TEST(ReleaseFeed, ThisBuildsVersionHasItsSectionInTheChangelog) {
    ScriptRun run =
        runScript("scripts/release-feed", {build::version, build::buildNumber, kDownload});
    ASSERT_EQ(run.status, 0) << run.err;
    std::optional<UpdateChecker::Latest> latest = validated(run.out);
    ASSERT_TRUE(latest.has_value()) << run.out;
    EXPECT_EQ(latest->version, build::version);
    EXPECT_EQ(std::to_string(latest->build), build::buildNumber);
    EXPECT_FALSE(latest->notes.empty());
}

TEST(ReleaseFeed, RefusesWhatTheUpdateCheckCouldNotUse) {
    struct Case {
        Strings args;
        std::string message;
    };
    std::vector<Case> cases = {
        {{"1.3.0", "57", kDownload, kChangelog},
         "release-feed: CHANGELOG.md has no section for 1.3.0: add a heading \"## [1.3.0] - "
         "YYYY-MM-DD\" with the changes under it\n"},
        {{"1.0.1", "57", kDownload, kChangelog},
         "release-feed: CHANGELOG.md's section for 1.0.1 is empty: write down what changed\n"},
        {{"v1.2.0", "57", kDownload, kChangelog},
         "release-feed: the version \"v1.2.0\" is not one to three whole numbers separated by "
         "dots, such as 1.2.0\n"},
        {{"1.2.0", "57", "downloads/Quelto.dmg", kChangelog},
         "release-feed: the download address \"downloads/Quelto.dmg\" is not an absolute "
         "http(s) address\n"},
        {{"1.2.0", "57", "https://quelto.app/a file.dmg", kChangelog},
         "release-feed: the download address \"https://quelto.app/a file.dmg\" is not an "
         "absolute http(s) address\n"},
        {{"1.2.0", "57", kDownload, sourcePath("tests/release/data/missing.md")},
         "release-feed: cannot read " + sourcePath("tests/release/data/missing.md") +
             ": No such file or directory\n"},
    };
    for (std::string build : {"0", "1.2", "-3", "1234567890123456789"})
        cases.push_back(
            {{"1.2.0", build, kDownload, kChangelog},
             "release-feed: the build \"" + build +
                 "\" is not a whole number from 1 up (at most 18 digits), such as 57\n"});
    for (const Case& c : cases) {
        ScriptRun run = runScript("scripts/release-feed", c.args);
        EXPECT_EQ(run.status, 1) << c.args[0] << " " << c.args[1] << " " << c.args[2];
        EXPECT_EQ(run.out, "") << "no half feed on standard output";
        EXPECT_EQ(run.err, c.message);
    }
}

TEST(ReleaseFeed, WithoutItsArgumentsItShowsHowToCallIt) {
    ScriptRun run = runScript("scripts/release-feed", {"1.2.0", "57"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "scripts/release-feed VERSION BUILD URL [NOTES-FILE]\n");
}

// The generated feed served as the site's reply to a whole check on the simulated desktop.
class ReleaseFeedServed : public ::testing::Test {
  protected:
    void SetUp() override {
        desktop.clockTheLog();
        UpdateChecker::setSite(std::nullopt);
        ScriptRun run = feed("1.2.0", "57", kDownload);
        ASSERT_EQ(run.status, 0) << run.err;
        HttpResult reply;
        reply.statusCode = 200;
        reply.body = run.out;
        desktop.setHttpReply(std::string(build::siteURL) + "/api/latest", reply);
        desktop.setBundleInfo("CFBundleShortVersionString", "1.1.0");
    }

    // The alert a check shows while the running build is `build`.
    AlertDescription checkWhileRunning(const std::string& build) {
        desktop.setBundleInfo("CFBundleVersion", build);
        UpdateChecker::check(desktop.shellContext().updateContext());
        desktop.advance(1);
        EXPECT_EQ(desktop.shownAlerts().size(), 1u);
        return desktop.shownAlerts().empty() ? AlertDescription{} : desktop.shownAlerts().back();
    }

    test::LogCapture logged;
    sim::SimDesktop desktop;
};

TEST_F(ReleaseFeedServed, ABuildBelowItIsOfferedTheUpdate) {
    desktop.queueAlertAnswer(Alerts::firstButtonReturn);
    EXPECT_EQ(checkWhileRunning("56"),
              (AlertDescription{"Quelto 1.2.0 is available",
                                "You have 1.1.0 (build 56).\n\nWhat’s new:\n"
                                "  •  Quelto remembers the window you closed last.\n"
                                "  •  A bold claim, a link and code, which the feed shows as plain "
                                "words on one line.\n"
                                "  •  Quitting Mail no longer takes ten seconds.",
                                {"Download", "Not Now"}}));
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1.0, build 56)",
                                          "update available: 1.2.0 build 57 at " + kDownload,
                                          "opening the download for 1.2.0"}));
    EXPECT_EQ(desktop.openedURLs(), Strings{kDownload});
}

TEST_F(ReleaseFeedServed, TheSameBuildIsUpToDate) {
    EXPECT_EQ(checkWhileRunning("57"),
              (AlertDescription{"Quelto is up to date",
                                "You have version 1.1.0 (build 57), which is the latest.",
                                {}}));
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1.0, build 57)",
                                          "up to date — the site offers 1.2.0 build 57"}));
    EXPECT_TRUE(desktop.openedURLs().empty());
}

TEST_F(ReleaseFeedServed, ANewerBuildIsUpToDate) {
    EXPECT_EQ(checkWhileRunning("58").messageText, "Quelto is up to date");
    EXPECT_EQ(logged.messages(), (Strings{"checking for updates (this build is 1.1.0, build 58)",
                                          "up to date — the site offers 1.2.0 build 57"}));
}

}  // namespace
}  // namespace quelto
