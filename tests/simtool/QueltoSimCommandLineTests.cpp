// quelto-sim's command line: the options, the built-in session, and the scenarios that must
// fail, each with its exact messages and exit status.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "SimtoolTestSupport.h"
#include "simtool/BuiltinSession.h"

namespace quelto::simtool {
namespace {

using testing::runCli;
using testing::sourceRoot;

std::string failing(const std::string& name) {
    return (sourceRoot() / "tests" / "simtool" / "failing" / name).string();
}

TEST(QueltoSimCommandLine, HelpExplainsTheOptions) {
    auto r = runCli({"--help"});
    EXPECT_EQ(r.status, 0);
    for (const char* option : {"--quiet", "--log-only", "--check", "--print-session", "--keep-home",
                               "--commands", "check-updates", "docs/scenarios.md"})
        EXPECT_NE(r.out.find(option), std::string::npos) << option;
    EXPECT_EQ(r.err, "");
}

TEST(QueltoSimCommandLine, CommandsListsTheLanguage) {
    auto r = runCli({"--commands"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("  click X,Y [MODIFIERS]"), std::string::npos);
    EXPECT_NE(r.out.find("expect journal [entry N]"), std::string::npos);
}

TEST(QueltoSimCommandLine, BadOptionsAreRefused) {
    auto r = runCli({"--loud"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "quelto-sim: unknown option \"--loud\" (quelto-sim --help lists them)\n");
    auto two = runCli({"a.scn", "b.scn"});
    EXPECT_EQ(two.status, 2);
    EXPECT_EQ(two.err, "quelto-sim: one scenario at a time (extra argument \"b.scn\")\n");
    auto missing = runCli({"/nonexistent/x.scn"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "quelto-sim: cannot read /nonexistent/x.scn\n");
}

TEST(QueltoSimCommandLine, TheBuiltInSessionIsTheShippedOne) {
    std::ifstream in(sourceRoot() / "scenarios" / "session.scn", std::ios::binary);
    ASSERT_TRUE(in);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_EQ(builtinSessionText(), text.str());
    auto r = runCli({"--print-session"});
    EXPECT_EQ(r.out, text.str());
}

TEST(QueltoSimCommandLine, WithNoArgumentsTheSessionRunsAndPrintsLogJournalAndConfiguration) {
    auto r = runCli({});
    EXPECT_EQ(r.status, 0) << r.err;
    auto log = r.out.find("==> /Users/you/Library/Logs/Quelto.log <==\n");
    auto journal = r.out.find("==> Activity journal, newest first <==\n");
    auto config = r.out.find("==> /Users/you/Library/Application Support/Quelto/config.txt <==\n");
    ASSERT_EQ(log, 0u);
    ASSERT_NE(journal, std::string::npos);
    ASSERT_NE(config, std::string::npos);
    EXPECT_LT(journal, config);
    // A day of decisions: quits, a dialog, a keyboard close, protections, a dry run, a refusal.
    for (const char* line :
         {"  window closed  ←  red dot — after a dialog",
          "  window closed  ←  not the red dot (cmd-W / menu / programmatic)",
          "→ EXCLUDED (never-quit list)", "→ excluded by config",
          "→ no action (shift held — close without quitting)", "→ dry run (live = false)",
          "it declined the quit. Left alone.", "quit cleanly"})
        EXPECT_NE(r.out.find(line), std::string::npos) << line;
    EXPECT_EQ(r.err, "session.scn: all 40 expectations held\n");
}

TEST(QueltoSimCommandLine, QuietPrintsNothingWhenAllIsWell) {
    auto r = runCli({"--quiet", (sourceRoot() / "scenarios" / "road-of-one-close.scn").string()});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "");
}

TEST(QueltoSimCommandLine, LogOnlyPrintsTheLogAlone) {
    auto r =
        runCli({"--log-only", (sourceRoot() / "scenarios" / "road-of-one-close.scn").string()});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("\n", 0), 0u);  // the header's blank line
    EXPECT_EQ(r.out.find("==>"), std::string::npos);
}

TEST(QueltoSimCommandLine, CheckReadsWithoutRunning) {
    auto r = runCli({"--check", (sourceRoot() / "scenarios" / "road-of-one-close.scn").string()});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("expectations — fine"), std::string::npos);
    EXPECT_EQ(r.out.find("Quelto.log"), std::string::npos);
}

struct FailingScenario {
    const char* file;
    int status;
    std::vector<std::string> messages;  // after the file name
};

// Test listings name the scenario rather than dumping the parameter's bytes.
void PrintTo(const FailingScenario& f, std::ostream* os) {
    *os << f.file;
}

class MustFail : public ::testing::TestWithParam<FailingScenario> {};

TEST_P(MustFail, WithItsMessagesAndStatus) {
    const FailingScenario& f = GetParam();
    std::string path = failing(f.file);
    auto r = runCli({"--quiet", path});
    EXPECT_EQ(r.status, f.status);
    std::string expected;
    for (const std::string& m : f.messages) expected += path + m + "\n";
    EXPECT_EQ(r.err, expected);
    EXPECT_EQ(r.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Scenarios, MustFail,
    ::testing::Values(
        FailingScenario{"unknown-command.scn",
                        2,
                        {":5: error: unknown command \"clik\" (did you mean \"click\"?)",
                         ": 1 error; nothing was run"}},
        FailingScenario{"bad-number.scn",
                        2,
                        {":3: error: \"2,5\" is not a duration (as in 2.5, 2.5s, 250ms or 2m)",
                         ": 1 error; nothing was run"}},
        FailingScenario{"unknown-app.scn",
                        2,
                        {":4: error: no app named \"TxtEdit\" is declared before this line (did "
                         "you mean \"TextEdit\"?)",
                         ": 1 error; nothing was run"}},
        FailingScenario{"unknown-window.scn",
                        2,
                        {":5: error: TextEdit has no window \"Note\" declared before this line "
                         "(did you mean \"Notes\"?)",
                         ": 1 error; nothing was run"}},
        FailingScenario{"time-backwards.scn",
                        2,
                        {":5: error: at 09:00:05 is before the scenario's time there, "
                         "09:00:10.000 — time only moves forward",
                         ": 1 error; nothing was run"}},
        FailingScenario{"missing-argument.scn",
                        2,
                        {":3: error: wait needs a duration, as in wait 2.5 — usage: wait DURATION",
                         ": 1 error; nothing was run"}},
        FailingScenario{"several-errors.scn",
                        2,
                        {":2: error: \"25:00\" is not a time of day (as in 09:00 or 09:00:15.250)",
                         ":3: error: app TextEdit needs a bundle id (as in app TextEdit "
                         "com.example.App) or no-bundle",
                         ":4: error: a window title is written in quotes, as in \"Notes\" — usage: "
                         "window APP \"TITLE\" [OPTIONS]",
                         ":6: error: the outcome is written in quotes, as in \"quitting\" — usage: "
                         "expect journal [entry N] [app|bundle|cause|outcome \"TEXT\"] [quit "
                         "yes|no] [left N] | expect journal size N | expect journal empty",
                         ": 4 errors; nothing was run"}},
        FailingScenario{"failed-expectation.scn",
                        1,
                        {":13: failed: expected the newest journal entry to have outcome "
                         "\"quitting\"; it has \"paused — would have quit\"",
                         ":14: failed: expected TextEdit to be asked to quit; it was not"}},
        FailingScenario{
            "window-not-open.scn", 2, {":8: error: TextEdit’s window \"Notes\" is not open"}}),
    [](const ::testing::TestParamInfo<FailingScenario>& info) {
        std::string name;
        for (const char* c = info.param.file; *c && *c != '.'; ++c) name += (*c == '-') ? '_' : *c;
        return name;
    });

}  // namespace
}  // namespace quelto::simtool
