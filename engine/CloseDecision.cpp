// The close decision, judged in one place, in a fixed order.

#include "engine/CloseDecision.h"

#include <cstdio>

namespace quelto {

namespace {

std::string graceText(double elapsed, const std::string& name) {
    char seconds[64];
    std::snprintf(seconds, sizeof seconds, "%.1f", elapsed);
    return std::string("→ no action (only ") + seconds + "s since Quelto attached to " + name +
           " — too early to tell a close from a launch-time window swap)";
}

std::string settleText() {
    return std::string("→ waiting ") + settleSeconds() +
           " s for a window to follow before quitting (an app swapping windows shows none "
           "for a moment)";
}

Verdict verdict(Verdict::Reason reason, std::vector<std::string> details, std::string outcome) {
    return Verdict{reason, std::move(details), std::move(outcome)};
}

}  // namespace

std::string settleSeconds() {
    char seconds[64];
    std::snprintf(seconds, sizeof seconds, "%.1f", windowSwapSettle);
    return seconds;
}

long CloseFacts::windowsLeft() const {
    if (!windows) return -1;
    return static_cast<long>(windows->size()) + windowsElsewhere;
}

std::string CloseFacts::cause() const {
    if (closes.wasRedDot) return closes.afterDialog ? "red dot — after a dialog" : "red dot";
    if (closes.sawCloseButton) return "not the red dot (cmd-W / menu / programmatic)";
    return "undetermined — " + (closes.misses.empty() ? std::string("no cached close button")
                                                      : closes.misses.front().description());
}

ModifierFlags escapeMask(Config::Escape escape) {
    switch (escape) {
        case Config::Escape::shift:
            return modifier::shift;
        case Config::Escape::option:
            return modifier::option;
        case Config::Escape::none:
            return 0;
    }
    return 0;
}

Verdict decide(const CloseFacts& facts, const std::optional<Config>& loaded) {
    using Reason = Verdict::Reason;
    // Without Accessibility access nothing was read: there is nothing to decide on.
    if (facts.accessRevoked) return verdict(Reason::accessRevoked, {}, "");
    // The built-in protection comes before the configuration is even read.
    if (facts.neverQuit || !loaded)
        return verdict(Reason::neverQuit, {"→ EXCLUDED (never-quit list)"}, "always protected");
    // Only an app that is regular now may be quit: a menu-bar utility shows a Dock icon only
    // while its settings window is open, and goes on running without it.
    if (!facts.regular)
        return verdict(
            Reason::notRegular,
            {"→ no action (" + facts.app + " has no Dock icon now — only a regular app is quit)"},
            "not a regular app — kept running");
    const Config& config = *loaded;
    const PendingReport& closes = facts.closes;

    if (ModifierFlags mask = escapeMask(config.escape); mask != 0 && (closes.modifiers & mask)) {
        std::string escape(Config::rawValue(config.escape));
        return verdict(Reason::escapeHeld,
                       {"→ no action (" + escape + " held — close without quitting)"},
                       escape + " held — kept running");
    }

    bool disabledButton = false;
    for (const auto& miss : closes.misses)
        if (miss.kind == CloseButtonMiss::Kind::disabled) disabledButton = true;
    if (disabledButton && !closes.wasRedDot && !closes.sawCloseButton)
        return verdict(Reason::closeButtonDisabled,
                       {"→ no action (close button was disabled — the app closed this window, "
                        "not the user)"},
                       "close button disabled — kept running");

    if (!closes.wasRedDot && facts.sinceAttach < PendingReport::attachGrace)
        return verdict(Reason::tooSoonAfterAttach, {graceText(facts.sinceAttach, facts.app)},
                       "too soon after attaching — kept running");

    const bool known = facts.windows.has_value();
    const bool lastWindowQuits = known && facts.windowsLeft() == 0;
    const bool redDotQuits = closes.wasRedDot;
    std::vector<std::string> details = {
        std::string("→ mode last-window: ") + (lastWindowQuits ? "WOULD QUIT" : "no action"),
        std::string("→ mode red-dot:     ") + (redDotQuits ? "WOULD QUIT" : "no action"),
    };

    // Windows that could not be counted are not zero windows: the last-window verdict is
    // never reached through an unreadable list. (Red-dot mode does not count windows.)
    if (config.mode == Config::Mode::lastWindow && !known) {
        if (facts.unclassified)
            details.push_back("→ no action (could not classify " + facts.app + "’s window \"" +
                              *facts.unclassified + "\": " +
                              (facts.windowsError.isSuccess() ? std::string("no text")
                                                              : facts.windowsError.name()) +
                              ")");
        else
            details.push_back("→ no action (could not read " + facts.app +
                              "’s windows: " + facts.windowsError.name() + ")");
        return verdict(Reason::windowsUnknown, std::move(details),
                       "windows unknown — kept running");
    }

    bool wouldQuit = config.mode == Config::Mode::lastWindow ? lastWindowQuits : redDotQuits;
    if (!wouldQuit) {
        // Counted again after the settle period, a window is there: the app swapped windows.
        if (facts.settled && config.mode == Config::Mode::lastWindow && known) {
            details.push_back("→ no action (a window followed — a window swap, not a last window)");
            return verdict(Reason::windowSwap, std::move(details), "window swap — kept running");
        }
        return verdict(Reason::noAction, std::move(details), "no action");
    }

    if (!config.live) {
        details.push_back("→ dry run (live = false)");
        return verdict(Reason::paused, std::move(details), "paused — would have quit");
    }

    if (config.excluded.count(facts.bundleID) != 0) {
        details.push_back("→ excluded by config");
        return verdict(Reason::excludedByConfig, std::move(details), "excluded — kept running");
    }

    if (config.mayQuit(facts.bundleID)) {
        // No window now may be a window swap: unless the red dot was clicked, count again
        // after the settle period.
        if (config.mode == Config::Mode::lastWindow && !closes.wasRedDot && !facts.settled) {
            details.push_back(settleText());
            return verdict(Reason::settling, std::move(details), "");
        }
        return verdict(Reason::quit, std::move(details), "quitting");
    }

    details.push_back("→ dry run (" + facts.bundleID + " is not armed)");
    return verdict(Reason::notArmed, std::move(details), "not armed");
}

std::string quitOutcome(QuitAttempt attempt) {
    switch (attempt) {
        case QuitAttempt::requested:
            return "quitting";
        case QuitAttempt::throttled:
            return "quit already requested";
        case QuitAttempt::appGone:
            return "app already gone";
    }
    return "quitting";
}

}  // namespace quelto
