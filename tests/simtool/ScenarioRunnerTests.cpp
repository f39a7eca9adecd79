// Running scenarios in-process: the run drives the real core on the simulated desktop, its
// output is the same from run to run, failed expectations and steps that cannot be done are
// reported with their line, and the run leaves nothing behind.

#include <gtest/gtest.h>

#include <filesystem>

#include "settings/Activity.h"
#include "settings/Config.h"
#include "simtool/RunReport.h"
#include "simtool/ScenarioParser.h"
#include "simtool/ScenarioRunner.h"

namespace quelto::simtool {
namespace {

RunResult run(const std::string& text) {
    ParseResult parsed = parseScenario(text, "t.scn");
    EXPECT_TRUE(parsed.scenario) << (parsed.errors.empty() ? "" : parsed.errors.front().text());
    if (!parsed.scenario) return {};
    ScenarioRunner runner(*parsed.scenario);
    return runner.run();
}

std::vector<std::string> diagnostics(const RunResult& r) {
    std::vector<std::string> out;
    for (const auto& d : r.diagnostics) out.push_back(d.text());
    return out;
}

const char* const oneClose =
    "clock 2026-03-02 09:00:00 +01:00\n"
    "config\n"
    "  live = true\n"
    "  arm = *\n"
    "end\n"
    "app TextEdit com.apple.TextEdit\n"
    "window TextEdit \"Report.txt\"\n"
    "start\n"
    "wait 10\n"
    "click close TextEdit \"Report.txt\"\n"
    "wait 3\n"
    "expect journal outcome \"quitting\" quit yes\n"
    "expect not running TextEdit\n";

TEST(ScenarioRunner, RunsTheRealEngineAndCollectsLogJournalAndConfiguration) {
    RunResult r = run(oneClose);
    EXPECT_EQ(r.exitStatus, 0) << ::testing::PrintToString(diagnostics(r));
    EXPECT_TRUE(r.completed);
    EXPECT_EQ(r.expectationsMet, 3);
    EXPECT_EQ(r.expectationsFailed, 0);
    // Timestamps from the virtual clock, in the scenario's time zone.
    EXPECT_NE(
        r.log.find(
            "\n09:00:00.000  Quelto\n              log file: /Users/you/Library/Logs/Quelto.log\n"),
        std::string::npos)
        << r.log;
    EXPECT_NE(r.log.find("09:00:10.000  red dot clicked — TextEdit \"Report.txt\"  (cached)\n"),
              std::string::npos);
    EXPECT_NE(r.log.find("09:00:12.350     TextEdit quit cleanly\n"), std::string::npos);
    ASSERT_EQ(r.journalLines.size(), 2u);
    EXPECT_EQ(r.journalLines[0], "Time      Application  Closed by  Left  Result    Quit");
    EXPECT_EQ(r.journalLines[1], "09:00:10  TextEdit     red dot       0  quitting  yes");
    ASSERT_TRUE(r.config);
    EXPECT_EQ(*r.config, "live = true\narm = *\n");
    EXPECT_EQ(r.logPath, "/Users/you/Library/Logs/Quelto.log");
    EXPECT_EQ(r.configPath, "/Users/you/Library/Application Support/Quelto/config.txt");
}

TEST(ScenarioRunner, TheSameScenarioGivesTheSameOutputEveryTime) {
    RunResult a = run(oneClose);
    RunResult b = run(oneClose);
    EXPECT_EQ(formatReport(a, {}), formatReport(b, {}));
    EXPECT_EQ(a.log, b.log);
}

TEST(ScenarioRunner, EachRunStartsWithoutTheFilesOfTheOneBefore) {
    run(oneClose);
    RunResult r = run("start\nexpect log count 1 \"log file:\"\nexpect journal empty\n");
    EXPECT_EQ(r.exitStatus, 0) << ::testing::PrintToString(diagnostics(r));
    // With no configuration file, the start-up is a first run.
    EXPECT_NE(r.log.find("first run — enabled, and set to start at login"), std::string::npos);
}

TEST(ScenarioRunner, AFailedExpectationNamesItsLineWhatWasExpectedAndWhatWasFound) {
    RunResult r =
        run("clock 2026-03-02 09:00:00 UTC\n"
            "config\n"
            "  live = false\n"
            "  arm = *\n"
            "end\n"
            "app TextEdit com.apple.TextEdit\n"
            "window TextEdit \"Notes\"\n"
            "start\n"
            "wait 10\n"
            "click close TextEdit \"Notes\"\n"
            "wait 1\n"
            "expect journal outcome \"quitting\" quit no\n"
            "expect asked-to-quit TextEdit\n"
            "expect log \"QUITTING\"\n"
            "expect no log \"dry run\"\n"
            "expect log line \"09:00:10.350  TextEdit  window closed\"\n");
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_TRUE(r.completed);
    EXPECT_EQ(r.expectationsMet, 1);
    EXPECT_EQ(r.expectationsFailed, 5);
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{
                  "t.scn:12: failed: expected the newest journal entry to have outcome "
                  "\"quitting\"; it has \"paused — would have quit\"",
                  "t.scn:13: failed: expected TextEdit to be asked to quit; it was not",
                  "t.scn:14: failed: expected a log line containing \"QUITTING\"; none of the 17 "
                  "lines has it",
                  "t.scn:15: failed: expected no log line containing \"dry run\"; found "
                  "\"              → dry run (live = false)\"",
                  "t.scn:16: failed: expected the log line \"09:00:10.350  TextEdit  window "
                  "closed\"; none of the 17 lines is exactly that",
              }));
}

TEST(ScenarioRunner, AStepThatCannotBeDoneStopsTheRun) {
    RunResult r =
        run("app TextEdit com.apple.TextEdit\n"
            "window TextEdit \"Notes\"\n"
            "start\n"
            "close TextEdit \"Notes\"\n"
            "wait 1\n"
            "close TextEdit \"Notes\"\n"
            "expect log \"never reached\"\n");
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_FALSE(r.completed);
    EXPECT_EQ(r.expectationsFailed, 0);
    EXPECT_EQ(
        diagnostics(r),
        (std::vector<std::string>{"t.scn:6: error: TextEdit’s window \"Notes\" is not open"}));
    // What happened up to there is still there to read.
    EXPECT_NE(r.log.find("attaching to 1 foreground apps"), std::string::npos);
}

TEST(ScenarioRunner, AppsThatAreNotRunningCannotBeUsed) {
    RunResult r =
        run("app TextEdit com.apple.TextEdit\n"
            "start\n"
            "terminate TextEdit\n"
            "window TextEdit \"Notes\"\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{"t.scn:4: error: TextEdit is not running"}));
    RunResult again = run("app TextEdit com.apple.TextEdit\nlaunch TextEdit\n");
    EXPECT_EQ(diagnostics(again),
              (std::vector<std::string>{"t.scn:2: error: TextEdit is already running (pid 101)"}));
}

TEST(ScenarioRunner, HandEditsKeepTheRestOfTheFile) {
    RunResult r =
        run("config\n"
            "  # mine\n"
            "  live = true\n"
            "  arm = *\n"
            "end\n"
            "start\n"
            "config set live = false\n"
            "config add exclude = com.apple.Music\n"
            "expect config line \"live = false\"\n"
            "expect config line \"# mine\"\n"
            "expect no config line \"live = true\"\n");
    EXPECT_EQ(r.exitStatus, 0) << ::testing::PrintToString(diagnostics(r));
    ASSERT_TRUE(r.config);
    EXPECT_EQ(*r.config, "# mine\nlive = false\narm = *\nexclude = com.apple.Music\n");
}

TEST(ScenarioRunner, ScreensArePrintedAfterTheConfiguration) {
    RunResult r =
        run("clock 2026-03-02 09:00:00 UTC\n"
            "config\n  live = true\nend\n"
            "start\n"
            "menu open\n"
            "expect menu row \"No apps armed — nothing will quit\" disabled\n"
            "expect icon paused\n");
    EXPECT_EQ(r.exitStatus, 0) << ::testing::PrintToString(diagnostics(r));
    ASSERT_EQ(r.screens.size(), 1u);
    EXPECT_EQ(r.screens[0].title, "menu");
    EXPECT_EQ(r.screens[0].line, 6);
    std::string report = formatReport(r, {});
    auto config = report.find("==> /Users/you/Library/Application Support/Quelto/config.txt <==");
    auto menu = report.find("==> menu · 09:00:00 (line 6) <==\n✓ Quelto is on\n");
    ASSERT_NE(config, std::string::npos);
    ASSERT_NE(menu, std::string::npos) << report;
    EXPECT_LT(config, menu);
    EXPECT_EQ(formatReport(r, {.logOnly = true}), r.log);
}

TEST(ScenarioRunner, TheHomeIsShownAsTheScenarioSays) {
    RunResult r = run(
        "home /Users/ada\nstart\nexpect log \"log file: /Users/ada/Library/Logs/Quelto.log\"\n");
    EXPECT_EQ(r.exitStatus, 0) << ::testing::PrintToString(diagnostics(r));
}

TEST(JournalTable, ColumnsAreAlignedByCharactersNotBytes) {
    Activity::Entries entries = {
        {Date{1772442000.0}, "Safari", "com.apple.Safari", "red dot — after a dialog", 0,
         "quitting", true},
        {Date{1772442001.0}, "Preview", "com.apple.Preview", "red dot", 2, "no action", false},
    };
    auto lines = journalTable(entries, 0);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "Time      Application  Closed by                 Left  Result     Quit");
    EXPECT_EQ(lines[1], "09:00:00  Safari       red dot — after a dialog     0  quitting   yes");
    EXPECT_EQ(lines[2], "09:00:01  Preview      red dot                      2  no action  no");
    EXPECT_EQ(journalTable({}, 0), std::vector<std::string>{"(no entries)"});
}

// Where windows are, and clicks that find nothing visible to aim at.
const char* const twoApps =
    "app Mail com.apple.mail\n"
    "app Notes com.apple.Notes\n"
    "window Mail \"Inbox\" at 100,100 size 600x400\n"
    "window Notes \"Ideas\" at 300,200 size 600x400\n"
    "window Notes \"Far\" at 300,200 size 300x200 space 2\n"
    "start\n";

TEST(ScenarioRunner, AClickOnACoveredWindowStopsTheRunWithWhy) {
    RunResult r = run(std::string(twoApps) + "click Mail \"Inbox\"\nclick Notes \"Far\"\n");
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(diagnostics(r), (std::vector<std::string>{
                                  "t.scn:8: error: Notes’s window \"Far\" has no visible point "
                                  "to click: it is on Space 2 and the current Space is Space 1"}));
    r = run(std::string(twoApps) +
            "window Mail \"Cover\" at 0,0 size 1500x900\nclick Notes \"Ideas\"\n");
    EXPECT_EQ(diagnostics(r), (std::vector<std::string>{
                                  "t.scn:8: error: Notes’s window \"Ideas\" has no visible point "
                                  "to click: it is covered by Mail’s window \"Cover\""}));
    r = run(std::string(twoApps) + "minimize Notes \"Ideas\"\nclick close Notes \"Ideas\"\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{"t.scn:8: error: Notes’s window \"Ideas\" has no close "
                                        "button on screen to click: it is minimised"}));
    r = run(std::string(twoApps) + "hide Notes\nclick Notes \"Ideas\"\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{"t.scn:8: error: Notes’s window \"Ideas\" has no visible "
                                        "point to click: Notes is hidden"}));
}

TEST(ScenarioRunner, ReleaseNeedsAPressAndAPressNeedsARelease) {
    RunResult r = run(std::string(twoApps) + "release\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{"t.scn:7: error: the mouse button is not down: press comes "
                                        "first"}));
    r = run(std::string(twoApps) + "press 10,10\npress 20,20\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{"t.scn:8: error: the mouse button is already down: release "
                                        "it first"}));
}

TEST(ScenarioRunner, ExpectationsNameWhatTheWindowIs) {
    RunResult r = run(std::string(twoApps) +
                      "minimize Notes \"Ideas\"\n"
                      "expect window Notes \"Ideas\" on-screen\n"
                      "expect window Notes \"Far\" listed\n"
                      "expect frontmost Mail\n");
    EXPECT_EQ(diagnostics(r),
              (std::vector<std::string>{
                  "t.scn:8: failed: expected Notes’s window \"Ideas\" to be on-screen; it is "
                  "off-screen, minimized, listed",
                  "t.scn:9: failed: expected Notes’s window \"Far\" to be listed; it is "
                  "off-screen, unlisted",
                  "t.scn:10: failed: expected Mail to be frontmost; none is"}));
}

}  // namespace
}  // namespace quelto::simtool
