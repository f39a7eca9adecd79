// The close decision as a pure function: one case per check of the decision order, each
// built so that the check before it does not apply and the ones after it would give another
// answer, so that a check moved out of its place fails here.

#include <gtest/gtest.h>

#include <cctype>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine/CloseDecision.h"

namespace quelto {
namespace {

using Reason = Verdict::Reason;
using Lines = std::vector<std::string>;

const char* const lastWindowWouldQuit = "→ mode last-window: WOULD QUIT";
const char* const lastWindowNoAction = "→ mode last-window: no action";
const char* const redDotWouldQuit = "→ mode red-dot:     WOULD QUIT";
const char* const redDotNoAction = "→ mode red-dot:     no action";

// A keyboard close of TextEdit's last window, long after attaching.
CloseFacts lastWindowClosed() {
    CloseFacts facts;
    facts.app = "TextEdit";
    facts.bundleID = "com.apple.TextEdit";
    facts.closes = PendingReport{.windowsClosed = 1, .sawCloseButton = true};
    facts.windows = std::vector<RemainingWindow>{};
    facts.sinceAttach = 60;
    return facts;
}

// A red-dot close of one of TextEdit's windows, with another one left.
CloseFacts redDotWithAWindowLeft() {
    CloseFacts facts = lastWindowClosed();
    facts.closes.wasRedDot = true;
    facts.windows = std::vector<RemainingWindow>{{"Draft", "standard window"}};
    return facts;
}

Config liveAll(Config::Mode mode = Config::Mode::lastWindow) {
    Config config;
    config.live = true;
    config.armAll = true;
    config.mode = mode;
    return config;
}

struct Case {
    std::string name;
    CloseFacts facts;
    std::optional<Config> config;
    Reason reason;
    Lines details;
    std::string outcome;
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << c.name;
}

// Before anything is judged: revoked access, the never-quit list, the activation policy.
void addAccessAndPolicy(std::vector<Case>& cases) {
    {  // 0. Revoked access, before everything: nothing was read, nothing is decided.
        CloseFacts facts = lastWindowClosed();
        facts.bundleID = "com.apple.finder";
        facts.neverQuit = true;
        facts.regular = false;
        facts.accessRevoked = true;
        facts.windows = std::nullopt;
        cases.push_back({"access revoked", facts, std::nullopt, Reason::accessRevoked, {}, ""});
    }
    {  // 1. The never-quit list, before the configuration is read and whatever else holds.
        CloseFacts facts = lastWindowClosed();
        facts.bundleID = "com.apple.finder";
        facts.neverQuit = true;
        facts.closes.modifiers = modifier::shift;
        facts.sinceAttach = 1;
        cases.push_back({"never-quit list",
                         facts,
                         std::nullopt,
                         Reason::neverQuit,
                         {"→ EXCLUDED (never-quit list)"},
                         "always protected"});
    }
    {  // The never-quit list comes before the activation policy.
        CloseFacts facts = lastWindowClosed();
        facts.bundleID = "com.apple.finder";
        facts.neverQuit = true;
        facts.regular = false;
        cases.push_back({"never-quit list, not regular",
                         facts,
                         std::nullopt,
                         Reason::neverQuit,
                         {"→ EXCLUDED (never-quit list)"},
                         "always protected"});
    }
    {  // 1b. The activation policy at the decision, before the escape modifier and the rest.
        CloseFacts facts = lastWindowClosed();
        facts.regular = false;
        facts.closes.wasRedDot = true;
        facts.closes.modifiers = modifier::shift;
        facts.sinceAttach = 1;
        cases.push_back(
            {"not a regular app",
             facts,
             liveAll(),
             Reason::notRegular,
             {"→ no action (TextEdit has no Dock icon now — only a regular app is quit)"},
             "not a regular app — kept running"});
    }
}

// The checks before either mode is judged: the escape modifier, a disabled close button,
// the attach grace.
void addProtections(std::vector<Case>& cases) {
    {  // 2. The escape modifier, before a disabled button and the attach grace.
        CloseFacts facts = lastWindowClosed();
        facts.closes.modifiers = modifier::shift | modifier::command;
        facts.closes.sawCloseButton = false;
        facts.closes.misses = {CloseButtonMiss::disabled()};
        facts.sinceAttach = 1;
        cases.push_back({"shift held",
                         facts,
                         liveAll(),
                         Reason::escapeHeld,
                         {"→ no action (shift held — close without quitting)"},
                         "shift held — kept running"});
    }
    {
        CloseFacts facts = redDotWithAWindowLeft();
        facts.closes.modifiers = modifier::option;
        Config config = liveAll(Config::Mode::redDot);
        config.escape = Config::Escape::option;
        cases.push_back({"option held with the option escape",
                         facts,
                         config,
                         Reason::escapeHeld,
                         {"→ no action (option held — close without quitting)"},
                         "option held — kept running"});
    }
    {  // Another modifier than the escape's does not escape.
        CloseFacts facts = redDotWithAWindowLeft();
        facts.closes.modifiers = modifier::shift;
        Config config = liveAll(Config::Mode::redDot);
        config.escape = Config::Escape::option;
        cases.push_back({"shift held with the option escape",
                         facts,
                         config,
                         Reason::quit,
                         {lastWindowNoAction, redDotWouldQuit},
                         "quitting"});
    }
    {  // With no escape, no modifiers escape.
        CloseFacts facts = redDotWithAWindowLeft();
        facts.closes.modifiers = modifier::shift | modifier::option;
        Config config = liveAll(Config::Mode::redDot);
        config.escape = Config::Escape::none;
        cases.push_back({"no escape",
                         facts,
                         config,
                         Reason::quit,
                         {lastWindowNoAction, redDotWouldQuit},
                         "quitting"});
    }
    {  // 3. A disabled close button, before the attach grace.
        CloseFacts facts = lastWindowClosed();
        facts.closes.sawCloseButton = false;
        facts.closes.misses = {CloseButtonMiss::transientFailure(axerror::cannotComplete),
                               CloseButtonMiss::disabled()};
        facts.sinceAttach = 1;
        cases.push_back(
            {"close button disabled",
             facts,
             liveAll(),
             Reason::closeButtonDisabled,
             {"→ no action (close button was disabled — the app closed this window, not the "
              "user)"},
             "close button disabled — kept running"});
    }
    {  // A disabled button gathered with a cached one is not the disabled case.
        CloseFacts facts = lastWindowClosed();
        facts.closes.misses = {CloseButtonMiss::disabled()};
        facts.settled = true;
        cases.push_back({"disabled with a cached button",
                         facts,
                         liveAll(),
                         Reason::quit,
                         {lastWindowWouldQuit, redDotNoAction},
                         "quitting"});
    }
    {  // Nor one with a red-dot close.
        CloseFacts facts = lastWindowClosed();
        facts.closes.wasRedDot = true;
        facts.closes.sawCloseButton = false;
        facts.closes.misses = {CloseButtonMiss::disabled()};
        cases.push_back({"disabled with a red dot",
                         facts,
                         liveAll(),
                         Reason::quit,
                         {lastWindowWouldQuit, redDotWouldQuit},
                         "quitting"});
    }
    {  // 4. The attach grace, before the verdicts; the seconds to one decimal.
        CloseFacts facts = lastWindowClosed();
        facts.sinceAttach = 4.96;
        Config config = liveAll();
        config.live = false;
        cases.push_back({"too soon after attaching",
                         facts,
                         config,
                         Reason::tooSoonAfterAttach,
                         {"→ no action (only 5.0s since Quelto attached to TextEdit — too early "
                          "to tell a close from a launch-time window swap)"},
                         "too soon after attaching — kept running"});
    }
    {  // The grace ends at five seconds.
        CloseFacts facts = lastWindowClosed();
        facts.sinceAttach = 5.0;
        facts.settled = true;
        cases.push_back({"grace over",
                         facts,
                         liveAll(),
                         Reason::quit,
                         {lastWindowWouldQuit, redDotNoAction},
                         "quitting"});
    }
    {  // A red-dot close is exempt from the grace.
        CloseFacts facts = lastWindowClosed();
        facts.closes.wasRedDot = true;
        facts.sinceAttach = 0.5;
        cases.push_back({"red dot within the grace",
                         facts,
                         liveAll(),
                         Reason::quit,
                         {lastWindowWouldQuit, redDotWouldQuit},
                         "quitting"});
    }
}

// The modes' verdicts: unknown windows, then the configured mode.
void addModeVerdicts(std::vector<Case>& cases) {
    {  // 5. Windows that could not be counted, in last-window mode: before the switch.
        CloseFacts facts = lastWindowClosed();
        facts.closes.wasRedDot = true;
        facts.windows = std::nullopt;
        facts.windowsError = axerror::cannotComplete;
        Config config = liveAll();
        config.live = false;
        cases.push_back({"windows unknown",
                         facts,
                         config,
                         Reason::windowsUnknown,
                         {lastWindowNoAction, redDotWouldQuit,
                          "→ no action (could not read TextEdit’s windows: cannotComplete)"},
                         "windows unknown — kept running"});
    }
    {  // A window that could not be classified makes the count unknown too, and is named.
        CloseFacts facts = lastWindowClosed();
        facts.windows = std::nullopt;
        facts.windowsError = axerror::cannotComplete;
        facts.unclassified = "Draft";
        Config config = liveAll();
        config.live = false;
        cases.push_back(
            {"a window not classified",
             facts,
             config,
             Reason::windowsUnknown,
             {lastWindowNoAction, redDotNoAction,
              "→ no action (could not classify TextEdit’s window \"Draft\": cannotComplete)"},
             "windows unknown — kept running"});
    }
    {  // A classification that failed without an error says so.
        CloseFacts facts = lastWindowClosed();
        facts.windows = std::nullopt;
        facts.unclassified = "Draft";
        cases.push_back({"a window not classified, no error",
                         facts,
                         liveAll(),
                         Reason::windowsUnknown,
                         {lastWindowNoAction, redDotNoAction,
                          "→ no action (could not classify TextEdit’s window \"Draft\": no text)"},
                         "windows unknown — kept running"});
    }
    {  // Red-dot mode does not count windows.
        CloseFacts facts = lastWindowClosed();
        facts.closes.wasRedDot = true;
        facts.windows = std::nullopt;
        facts.windowsError = axerror::cannotComplete;
        cases.push_back({"windows unknown in red-dot mode",
                         facts,
                         liveAll(Config::Mode::redDot),
                         Reason::quit,
                         {lastWindowNoAction, redDotWouldQuit},
                         "quitting"});
    }
    {  // 6. The configured mode: last-window with a window left.
        CloseFacts facts = redDotWithAWindowLeft();
        Config config = liveAll();
        config.live = false;
        cases.push_back({"last-window mode, a window left",
                         facts,
                         config,
                         Reason::noAction,
                         {lastWindowNoAction, redDotWouldQuit},
                         "no action"});
    }
    {  // A window on another Space is a window left.
        CloseFacts facts = lastWindowClosed();
        facts.windowsElsewhere = 1;
        cases.push_back({"a window on another Space",
                         facts,
                         liveAll(),
                         Reason::noAction,
                         {lastWindowNoAction, redDotNoAction},
                         "no action"});
    }
    {  // Red-dot mode: a close that is not the red dot.
        CloseFacts facts = lastWindowClosed();
        Config config = liveAll(Config::Mode::redDot);
        config.live = false;
        cases.push_back({"red-dot mode, not the red dot",
                         facts,
                         config,
                         Reason::noAction,
                         {lastWindowWouldQuit, redDotNoAction},
                         "no action"});
    }
}

// After a verdict to quit: the master switch, the exclusions, the arming.
void addQuitChecks(std::vector<Case>& cases) {
    {  // 7. The master switch, before the exclusions.
        CloseFacts facts = lastWindowClosed();
        Config config = liveAll();
        config.live = false;
        config.excluded = {"com.apple.TextEdit"};
        cases.push_back({"switch off",
                         facts,
                         config,
                         Reason::paused,
                         {lastWindowWouldQuit, redDotNoAction, "→ dry run (live = false)"},
                         "paused — would have quit"});
    }
    {  // 8. The user's exclusions, before the arming.
        CloseFacts facts = redDotWithAWindowLeft();
        Config config = liveAll(Config::Mode::redDot);
        config.excluded = {"com.apple.TextEdit"};
        cases.push_back({"excluded",
                         facts,
                         config,
                         Reason::excludedByConfig,
                         {lastWindowNoAction, redDotWouldQuit, "→ excluded by config"},
                         "excluded — kept running"});
    }
    {  // 9. Armed: quit, once counted again after the settle period.
        CloseFacts facts = lastWindowClosed();
        facts.settled = true;
        Config config = liveAll();
        config.armAll = false;
        config.armed = {"com.apple.TextEdit"};
        cases.push_back({"armed",
                         facts,
                         config,
                         Reason::quit,
                         {lastWindowWouldQuit, redDotNoAction},
                         "quitting"});
    }
    {  // 10. Not armed.
        CloseFacts facts = lastWindowClosed();
        Config config = liveAll();
        config.armAll = false;
        config.armed = {"com.apple.Preview"};
        cases.push_back(
            {"not armed",
             facts,
             config,
             Reason::notArmed,
             {lastWindowWouldQuit, redDotNoAction, "→ dry run (com.apple.TextEdit is not armed)"},
             "not armed"});
    }
}

// In last-window mode, a quit that no red-dot click asked for waits for a window to follow.
void addSettling(std::vector<Case>& cases) {
    {  // 11. Armed, last-window mode, no red dot, not yet counted again: the settle period.
        CloseFacts facts = lastWindowClosed();
        cases.push_back({"settle period",
                         facts,
                         liveAll(),
                         Reason::settling,
                         {lastWindowWouldQuit, redDotNoAction,
                          "→ waiting 1.5 s for a window to follow before quitting (an app "
                          "swapping windows shows none for a moment)"},
                         ""});
    }
    {  // A credited red-dot click does not wait.
        CloseFacts facts = lastWindowClosed();
        facts.closes.wasRedDot = true;
        cases.push_back({"red dot does not settle",
                         facts,
                         liveAll(),
                         Reason::quit,
                         {lastWindowWouldQuit, redDotWouldQuit},
                         "quitting"});
    }
    {  // Nor does a decision that would not quit anyway.
        CloseFacts facts = lastWindowClosed();
        Config config = liveAll();
        config.armAll = false;
        cases.push_back(
            {"not armed does not settle",
             facts,
             config,
             Reason::notArmed,
             {lastWindowWouldQuit, redDotNoAction, "→ dry run (com.apple.TextEdit is not armed)"},
             "not armed"});
    }
    {  // Counted again after the settle period, a window is there: a window swap.
        CloseFacts facts = redDotWithAWindowLeft();
        facts.closes.wasRedDot = false;
        facts.settled = true;
        cases.push_back({"window swap",
                         facts,
                         liveAll(),
                         Reason::windowSwap,
                         {lastWindowNoAction, redDotNoAction,
                          "→ no action (a window followed — a window swap, not a last window)"},
                         "window swap — kept running"});
    }
    {  // A window on another Space found at the second count is one too.
        CloseFacts facts = lastWindowClosed();
        facts.settled = true;
        facts.windowsElsewhere = 1;
        cases.push_back({"window swap elsewhere",
                         facts,
                         liveAll(),
                         Reason::windowSwap,
                         {lastWindowNoAction, redDotNoAction,
                          "→ no action (a window followed — a window swap, not a last window)"},
                         "window swap — kept running"});
    }
}

std::vector<Case> decisionOrder() {
    std::vector<Case> cases;
    addAccessAndPolicy(cases);
    addProtections(cases);
    addModeVerdicts(cases);
    addQuitChecks(cases);
    addSettling(cases);
    return cases;
}

class DecideTest : public ::testing::TestWithParam<Case> {};

TEST_P(DecideTest, GivesTheVerdictOfItsPlaceInTheOrder) {
    const Case& c = GetParam();
    Verdict verdict = decide(c.facts, c.config);
    EXPECT_EQ(verdict.reason, c.reason);
    EXPECT_EQ(verdict.details, c.details);
    EXPECT_EQ(verdict.outcome, c.outcome);
    EXPECT_EQ(verdict.quits(), c.reason == Reason::quit);
}

INSTANTIATE_TEST_SUITE_P(DecisionOrder, DecideTest, ::testing::ValuesIn(decisionOrder()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             std::string name;
                             for (char ch : info.param.name)
                                 if (std::isalnum(static_cast<unsigned char>(ch))) name += ch;
                             return name;
                         });

TEST(Decide, TheJournalSaysWhatBecameOfTheQuitRequest) {
    EXPECT_EQ(quitOutcome(QuitAttempt::requested), "quitting");
    EXPECT_EQ(quitOutcome(QuitAttempt::throttled), "quit already requested");
    EXPECT_EQ(quitOutcome(QuitAttempt::appGone), "app already gone");
}

TEST(Decide, TheCauseSaysHowTheWindowsWent) {
    CloseFacts facts = lastWindowClosed();
    facts.closes = PendingReport{.windowsClosed = 1, .wasRedDot = true};
    EXPECT_EQ(facts.cause(), "red dot");
    facts.closes.afterDialog = true;
    EXPECT_EQ(facts.cause(), "red dot — after a dialog");
    facts.closes = PendingReport{.windowsClosed = 1, .sawCloseButton = true};
    EXPECT_EQ(facts.cause(), "not the red dot (cmd-W / menu / programmatic)");
    facts.closes = PendingReport{.windowsClosed = 2};
    EXPECT_EQ(facts.cause(), "undetermined — no cached close button");
    facts.closes.misses = {CloseButtonMiss::transientFailure(axerror::cannotComplete),
                           CloseButtonMiss::disabled()};
    EXPECT_EQ(facts.cause(), "undetermined — read failed (cannotComplete)");
}

TEST(Decide, TheWindowsLeftAreTheListedOnesAndThoseElsewhereOrUnknown) {
    CloseFacts facts = redDotWithAWindowLeft();
    EXPECT_EQ(facts.windowsLeft(), 1);
    facts.windowsElsewhere = 2;
    EXPECT_EQ(facts.windowsLeft(), 3);
    facts.windows = std::nullopt;
    EXPECT_EQ(facts.windowsLeft(), -1);
}

TEST(Decide, TheEscapeMasks) {
    EXPECT_EQ(escapeMask(Config::Escape::shift), modifier::shift);
    EXPECT_EQ(escapeMask(Config::Escape::option), modifier::option);
    EXPECT_EQ(escapeMask(Config::Escape::none), 0u);
}

}  // namespace
}  // namespace quelto
