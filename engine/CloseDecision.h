#pragma once
// The close decision as a pure function: the facts of one gathered close and the
// configuration in, the verdict and its reason out. No reads, no log, no journal, no quit:
// the engine gathers the facts, writes the verdict to the log and the journal, and acts.

#include <optional>
#include <string>
#include <vector>

#include "engine/PendingReport.h"
#include "platform/Accessibility.h"
#include "settings/Config.h"

namespace quelto {

// One window the application still has, as the log names it.
struct RemainingWindow {
    std::string title;
    std::string subrole;  // the subrole's description
};

// What one decision is made from, gathered when the gathering of an application's closes
// ends.
struct CloseFacts {
    std::string app;       // the watcher's name
    std::string bundleID;  // the watcher's bundle identifier
    PendingReport closes;  // how the windows went, gathered
    // The application's user windows as Accessibility lists them now; none when the list
    // could not be read (`windowsError` says why): unknown, never zero windows.
    std::optional<std::vector<RemainingWindow>> windows;
    AXError windowsError = axerror::success;
    // When the list was read but one of its windows could not be classified (its role or
    // subrole read failed): that window's title. The count is unknown then too, and
    // `windowsError` is the failed read's error.
    std::optional<std::string> unclassified;
    // Ordinary windows the window server shows on other Spaces or in full screen; counted in
    // last-window mode only, and only when the list above was read.
    int windowsElsewhere = 0;
    // Seconds since the watcher attached to the application.
    double sinceAttach = 0;
    // The bundle identifier is on the built-in never-quit list.
    bool neverQuit = false;
    // The application is regular (has a Dock icon) at the decision; an app that changed its
    // activation policy since it was attached may not be.
    bool regular = true;
    // Accessibility access was revoked: nothing could be read, nothing is decided.
    bool accessRevoked = false;
    // The windows were counted again after the settle period (`windowSwapSettle`).
    bool settled = false;

    // The windows left: listed plus elsewhere; -1 when unknown.
    long windowsLeft() const;
    // How the windows were closed, as the log and the journal say it.
    std::string cause() const;
};

struct Verdict {
    // Which check of the decision order gave the verdict.
    enum class Reason {
        accessRevoked,        // Accessibility access is revoked: nothing is decided
        neverQuit,            // the built-in never-quit list
        notRegular,           // the application is no regular app at the decision
        escapeHeld,           // the escape modifier was held during the click
        closeButtonDisabled,  // the app closed a window whose close button was disabled
        tooSoonAfterAttach,   // not the red dot, within the attach grace
        windowsUnknown,       // last-window mode and the window list could not be read
        noAction,             // the configured mode's verdict is no action
        paused,               // the master switch is off
        excludedByConfig,     // the user's exclusions
        settling,             // would quit, but waits the settle period and counts again
        windowSwap,           // counted again after the settle period: a window followed
        quit,                 // ask the application to quit
        notArmed,             // not armed
    };
    Reason reason = Reason::noAction;
    // The decision's detail lines, in order ("→ …").
    std::vector<std::string> details;
    // The journal's outcome. For `quit` it is "quitting"; what the request met decides the
    // final word (`quitOutcome`).
    std::string outcome;

    bool quits() const { return reason == Reason::quit; }
};

// How the decision goes, in this order: revoked access (no verdict at all: the engine logs
// that nothing was decided and journals nothing), never-quit list, activation policy, escape
// modifier, disabled close button, attach grace, both modes' verdicts (always logged),
// unknown windows, the configured mode (after the settle period, a window found is a window
// swap), the master switch, the user's exclusions, the arming, and then, in last-window mode
// without a credited red-dot click, the settle period (`settling`: nothing journalled yet)
// before the quit. `config` is none only for a never-quit application, whose decision comes before
// the configuration is read, and when access is revoked.
Verdict decide(const CloseFacts& facts, const std::optional<Config>& config);

// In last-window mode, a close that was not a credited red-dot click and leaves no window is
// counted again this many seconds later, and quits only when there is still no window: many
// apps replace one window by another (a welcome window by a project, an Open panel by the
// document) with a moment of no window in between.
inline constexpr double windowSwapSettle = 1.5;
// The settle period as the log says it ("1.5").
std::string settleSeconds();

// What the journal says once a quit request was tried: only a request that went out is
// "quitting".
enum class QuitAttempt { requested, throttled, appGone };
std::string quitOutcome(QuitAttempt attempt);

// The modifier bit that closes a window without quitting; 0 when there is none.
ModifierFlags escapeMask(Config::Escape escape);

}  // namespace quelto
