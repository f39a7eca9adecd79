// Reading scenarios: every problem is reported with the file, the line and what is wrong,
// the whole file is read before anything runs, and a file with any error yields no scenario.

#include <gtest/gtest.h>

#include "simtool/ScenarioParser.h"

namespace quelto::simtool {
namespace {

std::vector<std::string> errorsOf(const std::string& text) {
    ParseResult r = parseScenario(text, "x.scn");
    std::vector<std::string> out;
    for (const Diagnostic& d : r.errors) out.push_back(d.text());
    EXPECT_EQ(r.scenario.has_value(), out.empty());
    return out;
}

std::string onlyError(const std::string& text) {
    auto errors = errorsOf(text);
    EXPECT_EQ(errors.size(), 1u) << ::testing::PrintToString(errors);
    return errors.empty() ? "" : errors.front();
}

TEST(ScenarioParser, AGoodScenarioHasItsStepsInFileOrder) {
    ParseResult r = parseScenario(
        "# a comment\n"
        "clock 2026-03-02 09:00:00 +01:00\n"
        "app TextEdit com.apple.TextEdit   # a trailing comment\n"
        "window TextEdit \"Report.txt\" at 200,120 size 700x500\n"
        "\n"
        "start\n"
        "wait 2.5\n"
        "click close TextEdit \"Report.txt\" shift\n"
        "expect log \"red dot clicked\"\n",
        "x.scn");
    ASSERT_TRUE(r.scenario) << (r.errors.empty() ? "" : r.errors.front().text());
    const Scenario& s = *r.scenario;
    ASSERT_EQ(s.steps.size(), 6u);
    EXPECT_EQ(s.steps[0].line, 3);
    EXPECT_EQ(s.steps[0].command, "app");
    EXPECT_EQ(s.steps[2].command, "start");
    EXPECT_EQ(s.steps[5].line, 9);
    EXPECT_EQ(s.expectationCount, 1);
    EXPECT_EQ(s.utcOffsetSeconds, 3600);
    EXPECT_DOUBLE_EQ(s.start.seconds, 1772438400.0);  // 2026-03-02 08:00:00 UTC
}

TEST(ScenarioParser, UnknownCommandNamesTheLineAndSuggestsTheNearestCommand) {
    EXPECT_EQ(onlyError("start\nclik 10,10\n"),
              "x.scn:2: error: unknown command \"clik\" (did you mean \"click\"?)");
    EXPECT_EQ(onlyError("frobnicate\n"), "x.scn:1: error: unknown command \"frobnicate\"");
}

TEST(ScenarioParser, BadNumbersAreNamed) {
    EXPECT_EQ(onlyError("wait 2,5\n"),
              "x.scn:1: error: \"2,5\" is not a duration (as in 2.5, 2.5s, 250ms or 2m)");
    EXPECT_EQ(onlyError("wait -1\n"),
              "x.scn:1: error: \"-1\" is not a duration (as in 2.5, 2.5s, 250ms or 2m)");
    EXPECT_EQ(onlyError("app A com.a pid 1O1\n"),
              "x.scn:1: error: \"1O1\" is not a whole number (a process id)");
    EXPECT_EQ(onlyError("click 10;20\n"),
              "x.scn:1: error: \"10;20\" is not a screen point (as in 120,80)");
    EXPECT_EQ(onlyError("app A com.a\nwindow A \"W\" size 800*600\n"),
              "x.scn:2: error: \"800*600\" is not a size (as in 800x600)");
}

TEST(ScenarioParser, UnknownAppsAndWindowsAreNamed) {
    EXPECT_EQ(onlyError("app TextEdit com.apple.TextEdit\nwindow TxtEdit \"A\"\n"),
              "x.scn:2: error: no app named \"TxtEdit\" is declared before this line (did you "
              "mean \"TextEdit\"?)");
    EXPECT_EQ(onlyError("terminate Safari\n"),
              "x.scn:1: error: no app named \"Safari\" is declared before this line (declare it "
              "with app or launch)");
    EXPECT_EQ(onlyError("app T com.t\nwindow T \"Notes\"\nclose T \"Note\"\n"),
              "x.scn:3: error: T has no window \"Note\" declared before this line (did you mean "
              "\"Notes\"?)");
    // Declared later is not declared yet.
    EXPECT_EQ(onlyError("app T com.t\nclose T \"Notes\"\nwindow T \"Notes\"\n"),
              "x.scn:2: error: T has no window \"Notes\" declared before this line");
}

TEST(ScenarioParser, TimeNeverGoesBackwards) {
    EXPECT_EQ(onlyError("clock 2026-03-02 09:00:00 UTC\nwait 10\nat 09:00:05\n"),
              "x.scn:3: error: at 09:00:05 is before the scenario's time there, 09:00:10.000 — "
              "time only moves forward");
    EXPECT_TRUE(
        errorsOf("clock 2026-03-02 09:00:00 UTC\nwait 10\nat 09:00:10\nat 09:00:10.5\n").empty());
    EXPECT_EQ(onlyError("wait 1\nclock 09:00\n"),
              "x.scn:2: error: clock must come before start, wait and at");
}

TEST(ScenarioParser, MissingArgumentsNameWhatIsMissingAndTheUsage) {
    EXPECT_EQ(onlyError("wait\n"),
              "x.scn:1: error: wait needs a duration, as in wait 2.5 — usage: wait DURATION");
    EXPECT_EQ(
        onlyError("app T com.t\nwindow T\n"),
        "x.scn:2: error: window needs a window title — usage: window APP \"TITLE\" [OPTIONS]");
    EXPECT_EQ(onlyError("app T com.t\nwindow T \"W\"\nmove T \"W\"\n"),
              "x.scn:3: error: move needs \"to X,Y\" — usage: move APP \"TITLE\" to X,Y");
    EXPECT_EQ(onlyError("app T\n"),
              "x.scn:1: error: app T needs a bundle id (as in app T com.example.App) or no-bundle");
}

TEST(ScenarioParser, ExtraWordsAreRefused) {
    EXPECT_EQ(onlyError("start now\n"), "x.scn:1: error: unexpected \"now\" — usage: start");
}

TEST(ScenarioParser, QuotesAreChecked) {
    EXPECT_EQ(onlyError("app T com.t\nwindow T \"Notes\n"),
              "x.scn:2: error: a quoted text has no closing quote");
    EXPECT_EQ(onlyError("app T com.t\nwindow T Notes\n"),
              "x.scn:2: error: a window title is written in quotes, as in \"Notes\" — usage: "
              "window APP \"TITLE\" [OPTIONS]");
}

TEST(ScenarioParser, AConfigBlockNeedsItsEnd) {
    EXPECT_EQ(onlyError("config\n  live = true\n  arm = *\nstart\n"),
              "x.scn:1: error: the config block has no \"end\" line");
}

TEST(ScenarioParser, EveryErrorOfTheFileIsReportedAndNothingIsReturned) {
    ParseResult r = parseScenario(
        "clock 2026-03-02 25:00 UTC\n"
        "app TextEdit\n"
        "window TextEdit Notes\n"
        "start\n"
        "start\n"
        "expect journal outcome quitting\n",
        "x.scn");
    EXPECT_FALSE(r.scenario);
    std::vector<std::string> errors;
    for (const auto& d : r.errors) errors.push_back(d.text());
    EXPECT_EQ(errors,
              (std::vector<std::string>{
                  "x.scn:1: error: \"25:00\" is not a time of day (as in 09:00 or 09:00:15.250)",
                  // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): messages split to fit
                  "x.scn:2: error: app TextEdit needs a bundle id (as in app TextEdit "
                  "com.example.App) or no-bundle",
                  "x.scn:3: error: a window title is written in quotes, as in \"Notes\" — usage: "
                  "window APP \"TITLE\" [OPTIONS]",
                  "x.scn:5: error: Quelto is already started at line 4",
                  "x.scn:6: error: the outcome is written in quotes, as in \"quitting\" — usage: "
                  "expect journal [entry N] [app|bundle|cause|outcome \"TEXT\"] [quit yes|no] "
                  "[left N] | expect journal size N | expect journal empty",
              }));
}

TEST(ScenarioParser, AppsAreCheckedAsTheyAreDeclared) {
    EXPECT_EQ(onlyError("app A com.a pid 200\napp B com.b pid 200\n"),
              "x.scn:2: error: pid 200 is already A’s");
    EXPECT_EQ(onlyError("app A com.a\napp A com.a\n"),
              "x.scn:2: error: app A is already declared at line 1 (launch A starts it again)");
    EXPECT_EQ(onlyError("app A com.a wobbly\n"), "x.scn:1: error: unknown app option \"wobbly\"");
    EXPECT_EQ(onlyError("app A com.a decline-quit\n"),
              "x.scn:1: error: unknown app option \"decline-quit\" (did you mean "
              "\"declines-quit\"?)");
    EXPECT_EQ(onlyError("app A com.a observer-fails busy\n"),
              "x.scn:1: error: \"busy\" is not an Accessibility error (a name such as "
              "cannotComplete, or a code such as -25204)");
}

TEST(ScenarioParser, ExpectationsAreCheckedToo) {
    EXPECT_EQ(onlyError("expect jornal empty\n"),
              "x.scn:1: error: unknown expectation \"jornal\" (did you mean \"journal\"?)");
    EXPECT_EQ(onlyError("expect journal quit maybe\n"),
              "x.scn:1: error: quit is yes or no, not \"maybe\"");
    EXPECT_EQ(onlyError("expect journal colour \"red\"\n"),
              "x.scn:1: error: unknown journal field \"colour\" (app, bundle, cause, outcome, "
              "quit, left; or size N, or empty)");
    EXPECT_EQ(onlyError("expect menu row \"Quelto is on\"\n"),
              "x.scn:1: error: expect menu needs Quelto running: put start before it");
}

TEST(ScenarioParser, OpenedIsShownAndExpectedWithAQuotedText) {
    EXPECT_TRUE(errorsOf("show opened\nexpect opened \"link https://quelto.app\"\n"
                         "expect no opened \"Accessibility prompt\"\n")
                    .empty());
    EXPECT_EQ(onlyError("show opend\n"),
              "x.scn:1: error: cannot show \"opend\" (did you mean "
              "\"opened\"?)");
    EXPECT_EQ(onlyError("show opened now\n"),
              "x.scn:1: error: unexpected \"now\" — usage: show "
              "menu|icon|window|tab TAB|main-menu|pasteboard|alerts|apps|opened");
    EXPECT_EQ(onlyError("expect opend \"x\"\n"),
              "x.scn:1: error: unknown expectation \"opend\" (did you mean \"opened\"?)");
    EXPECT_EQ(onlyError("expect opened https://quelto.app\n").rfind("x.scn:1: error: ", 0), 0u);
}

TEST(ScenarioParser, InterfaceCommandsNeedQueltoStarted) {
    EXPECT_EQ(onlyError("menu open\n"),
              "x.scn:1: error: menu needs Quelto running: put start before it");
    EXPECT_EQ(
        onlyError("start\nsettings open preferences\n"),
        "x.scn:2: error: \"preferences\" is not a tab (general, apps, activity, help, about)");
    EXPECT_EQ(onlyError("start\nsettings swich on\n"),
              "x.scn:2: error: unknown settings action \"swich\" (did you mean \"switch\"?)");
}

TEST(ScenarioParser, ConfigEditsNeedAKeyAndValue) {
    EXPECT_EQ(onlyError("config set live\n"),
              "x.scn:1: error: config set needs KEY = VALUE, as in config set live = …");
    EXPECT_EQ(onlyError("config change live = true\n"),
              "x.scn:1: error: config takes a block, none, set, add or remove, not \"change\" — "
              "usage: config … end | config none | config set|add KEY = VALUE | config remove "
              "KEY [= VALUE]");
    EXPECT_TRUE(errorsOf("config remove exclude\nconfig add exclude = com.a\n").empty());
}

TEST(ScenarioParser, TheCommandListCoversEveryCommand) {
    std::vector<std::string> names;
    for (const auto& c : scenarioCommands()) names.push_back(c.name);
    for (const char* n :
         {"clock",         "config", "accessibility", "app",    "launch", "terminate", "front",
          "quit-response", "window", "dialog",        "sheet",  "answer", "close",     "move",
          "resize",        "focus",  "click",         "inject", "wait",   "at",        "start",
          "expect",        "menu",   "settings",      "show"})
        EXPECT_NE(std::find(names.begin(), names.end(), n), names.end()) << n;
}

TEST(ScenarioParser, DesktopCommandsNameTheirBadWords) {
    EXPECT_EQ(errorsOf("space 0\n"),
              (std::vector<std::string>{"x.scn:1: error: Spaces are numbered 1 to 16, not 0"}));
    EXPECT_EQ(errorsOf("app A com.a\nwindow A \"W\"\nfull-screen A \"W\" sideways\n"),
              (std::vector<std::string>{
                  "x.scn:3: error: unexpected \"sideways\" — usage: full-screen APP \"TITLE\" "
                  "[off]"}));
    EXPECT_EQ(errorsOf("release here\n"),
              (std::vector<std::string>{
                  "x.scn:1: error: \"here\" is not a modifier key (shift, option, command, "
                  "control, joined by + as in shift+option, or a raw flag word as in 0x20000)"}));
    EXPECT_EQ(errorsOf("app A com.a\nwindow A \"W\" asks-to-save\nanswer A \"W\" save-as\n"),
              (std::vector<std::string>{}));
    EXPECT_EQ(errorsOf("app A com.a\nwindow A \"W\" asks-to-save\nanswer A \"W\" maybe\n"),
              (std::vector<std::string>{"x.scn:3: error: a sheet is answered with save, "
                                        "save-as, dont-save or cancel, not \"maybe\""}));
    EXPECT_EQ(errorsOf("hide Nobody\n"),
              (std::vector<std::string>{"x.scn:1: error: no app named \"Nobody\" is declared "
                                        "before this line (declare it with app or launch)"}));
}

}  // namespace
}  // namespace quelto::simtool
