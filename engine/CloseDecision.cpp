// The close decision: destroyed windows of one application are gathered for a moment, then
// judged in one place, in a fixed order, and the outcome goes to the log and the journal.

#include <cstdio>
#include <string>
#include <vector>

#include "accessibility/WindowClassification.h"
#include "engine/Engine.h"
#include "platform/Platform.h"
#include "settings/Activity.h"
#include "settings/Config.h"
#include "settings/Log.h"

namespace quelto {

namespace {

Date now() {
    return platform().clock->now();
}

void blankLine() {
    Log::shared().write("", false);
}

// The modifier bit that closes a window without quitting; 0 when there is none.
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

std::string causeText(const PendingReport& report) {
    if (report.wasRedDot) return report.afterDialog ? "red dot — after a dialog" : "red dot";
    if (report.sawCloseButton) return "not the red dot (cmd-W / menu / programmatic)";
    return "undetermined — " + (report.misses.empty() ? std::string("no cached close button")
                                                      : report.misses.front().description());
}

std::string graceText(double elapsed, const std::string& name) {
    char seconds[64];
    std::snprintf(seconds, sizeof seconds, "%.1f", elapsed);
    return std::string("→ no action (only ") + seconds + "s since Quelto attached to " + name +
           " — too early to tell a close from a launch-time window swap)";
}

}  // namespace

void Engine::windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                             bool hadCloseButton, std::optional<CloseButtonMiss> miss) {
    if (!watcher) return;

    std::optional<ClickRecord> click;
    if (auto found = recentClicks.find(ref); found != recentClicks.end()) {
        // An expired click counts for nothing: neither its cause nor its dialog flag nor its
        // modifiers reach this close (a shift from a click a minute ago must not escape an
        // unrelated ⌘W).
        if (now() <= found->second.expiry) click = found->second;
        recentClicks.erase(found);
    }
    bool redDot = click.has_value();
    // The app closed the window at the mouse-up, and its notification came before the up
    // itself: the up settles it while this close gathers.
    if (pendingPress_ && pendingPress_->window == ref) pendingPress_->closedBeforeUp = true;

    Pid pid = watcher->pid;
    if (auto gathering = pending.find(pid); gathering != pending.end()) {
        PendingReport& report = gathering->second;
        report.windowsClosed += 1;
        report.wasRedDot = report.wasRedDot || redDot;
        report.afterDialog = report.afterDialog || (click && click->sustained);
        report.sawCloseButton = report.sawCloseButton || hadCloseButton;
        if (miss) report.misses.push_back(*miss);
        if (click) report.modifiers = click->modifiers;
        return;
    }

    PendingReport report;
    report.windowsClosed = 1;
    report.wasRedDot = redDot;
    report.afterDialog = click && click->sustained;
    report.sawCloseButton = hadCloseButton;
    if (miss) report.misses.push_back(*miss);
    report.modifiers = click ? click->modifiers : 0;
    pending.insert_or_assign(pid, std::move(report));

    std::weak_ptr<Engine> weakEngine = weak_from_this();
    std::weak_ptr<AppWatcher> weakWatcher = watcher;
    platform().mainQueue->asyncAfter(PendingReport::gatheringDelay, [weakEngine, weakWatcher] {
        auto engine = weakEngine.lock();
        auto watcher = weakWatcher.lock();
        if (!engine || !watcher) return;
        auto gathered = engine->pending.find(watcher->pid);
        if (gathered == engine->pending.end()) return;
        PendingReport report = std::move(gathered->second);
        engine->pending.erase(gathered);
        engine->report(report, watcher);
    });
}

void Engine::report(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher) {
    Workspace* workspace = platform().workspace;
    if (!workspace || !workspace->runningApplication(watcher->pid)) {
        log(watcher->name + "  window closed — app already gone");
        blankLine();
        return;
    }

    watcher->resync();
    AppWatcher::UserWindowList remaining = watcher->readUserWindows();
    // A list that could not be read is unknown, never zero windows; the journal says so
    // with a count of -1.
    long left = remaining.known ? static_cast<long>(remaining.windows.size()) : -1;

    // The built-in protection comes before the configuration is even read.
    bool neverQuit = neverQuitBundleIDs().count(watcher->bundleID) != 0;
    // Read now, for this decision only: hand edits count from the next close on.
    std::optional<Config> loaded;
    if (!neverQuit) loaded = Config::load();

    // Accessibility lists only this Space's windows. In last-window mode, those the window
    // server shows on other Spaces or in full screen remain too.
    int elsewhere = 0;
    if (loaded && loaded->mode == Config::Mode::lastWindow && remaining.known) {
        elsewhere = windowsOnOtherSpaces(watcher->pid, remaining.windows);
        left += elsewhere;
    }

    std::string cause = causeText(gathered);
    std::string closed = gathered.windowsClosed == 1
                             ? std::string("window")
                             : std::to_string(gathered.windowsClosed) + " windows";
    log(watcher->name + " (" + watcher->bundleID + ")  " + closed + " closed  ←  " + cause);
    detail("windows remaining: " + (remaining.known ? std::to_string(left) : "unknown"));
    for (const auto& window : remaining.windows)
        detail("  · " + windowTitle(window) + "  [" + subroleDescription(window) + "]");
    if (elsewhere > 0) detail("  · " + std::to_string(elsewhere) + " more on other Spaces");

    auto conclude = [&](const std::string& outcome, bool quit) {
        Activity::shared().record(Activity::Entry{.at = now(),
                                                  .app = watcher->name,
                                                  .bundleID = watcher->bundleID,
                                                  .cause = cause,
                                                  .windowsLeft = left,
                                                  .outcome = outcome,
                                                  .quit = quit});
        blankLine();
    };

    if (neverQuit) {
        detail("→ EXCLUDED (never-quit list)");
        conclude("always protected", false);
        return;
    }
    const Config& config = *loaded;

    if (ModifierFlags mask = escapeMask(config.escape); mask != 0 && (gathered.modifiers & mask)) {
        std::string escape(Config::rawValue(config.escape));
        detail("→ no action (" + escape + " held — close without quitting)");
        conclude(escape + " held — kept running", false);
        return;
    }

    bool disabledButton = false;
    for (const auto& miss : gathered.misses)
        if (miss.kind == CloseButtonMiss::Kind::disabled) disabledButton = true;
    if (disabledButton && !gathered.wasRedDot && !gathered.sawCloseButton) {
        detail(
            "→ no action (close button was disabled — the app closed this window, not the "
            "user)");
        conclude("close button disabled — kept running", false);
        return;
    }

    if (!gathered.wasRedDot) {
        double sinceAttach = now() - watcher->attachedAt;
        if (sinceAttach < PendingReport::attachGrace) {
            detail(graceText(sinceAttach, watcher->name));
            conclude("too soon after attaching — kept running", false);
            return;
        }
    }

    bool lastWindowQuits = remaining.known && left == 0;
    bool redDotQuits = gathered.wasRedDot;
    detail(std::string("→ mode last-window: ") + (lastWindowQuits ? "WOULD QUIT" : "no action"));
    detail(std::string("→ mode red-dot:     ") + (redDotQuits ? "WOULD QUIT" : "no action"));

    // Windows that could not be counted are not zero windows: the last-window verdict is
    // never reached through an unreadable list. (Red-dot mode does not count windows.)
    if (config.mode == Config::Mode::lastWindow && !remaining.known) {
        detail("→ no action (could not read " + watcher->name +
               "’s windows: " + remaining.error.name() + ")");
        conclude("windows unknown — kept running", false);
        return;
    }

    bool wouldQuit = config.mode == Config::Mode::lastWindow ? lastWindowQuits : redDotQuits;
    if (!wouldQuit) {
        conclude("no action", false);
        return;
    }

    if (!config.live) {
        detail("→ dry run (live = false)");
        conclude("paused — would have quit", false);
        return;
    }

    if (config.excluded.count(watcher->bundleID) != 0) {
        detail("→ excluded by config");
        conclude("excluded — kept running", false);
        return;
    }

    if (config.mayQuit(watcher->bundleID)) {
        // The journal says what happened, not what was decided: only a request that went out
        // is "quitting".
        switch (terminate(watcher)) {
            case QuitAttempt::requested:
                conclude("quitting", true);
                return;
            case QuitAttempt::throttled:
                conclude("quit already requested", false);
                return;
            case QuitAttempt::appGone:
                conclude("app already gone", false);
                return;
        }
        return;
    }

    detail("→ dry run (" + watcher->bundleID + " is not armed)");
    conclude("not armed", false);
}

}  // namespace quelto
