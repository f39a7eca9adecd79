// The engine's close report: a destroyed window joins its application's gathering; when the
// gathering ends, the engine gathers the facts, has `decide` judge them, writes the outcome
// to the log and the journal, and asks the application to quit when the verdict says so.

#include <string>
#include <vector>

#include "accessibility/WindowClassification.h"
#include "engine/Engine.h"
#include "engine/OtherSpacesWindows.h"
#include "settings/Log.h"

namespace quelto {

void Engine::windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                             bool hadCloseButton, std::optional<CloseButtonMiss> miss) {
    if (!watcher) return;
    clicks_->windowClosing(ref);
    closes_->add(watcher, clicks_->take(ref), hadCloseButton, miss);
}

std::optional<CloseFacts> Engine::gatherFacts(const PendingReport& gathered,
                                              const std::shared_ptr<AppWatcher>& watcher,
                                              std::optional<Config>& config) {
    RunningApplicationRef running = context_.workspace.runningApplication(watcher->pid);
    if (!running) {
        log(watcher->name + "  window closed — app already gone");
        blankLine();
        return std::nullopt;
    }

    CloseFacts facts;
    facts.app = watcher->name;
    facts.bundleID = watcher->bundleID;
    facts.closes = gathered;

    // Without Accessibility access every read fails: nothing is read.
    if (!checkAccess()) {
        facts.accessRevoked = true;
        return facts;
    }
    facts.regular = running->activationPolicy() == ActivationPolicy::regular;

    watcher->resync();
    AppWatcher::UserWindowList remaining = watcher->readUserWindows();

    // The built-in protection comes before the configuration is even read.
    facts.neverQuit = neverQuitBundleIDs().count(watcher->bundleID) != 0;
    // Read now, for this decision only: hand edits count from the next close on.
    if (!facts.neverQuit) config = context_.config.load();

    // Accessibility lists only this Space's windows. In last-window mode, those the window
    // server shows on other Spaces or in full screen remain too.
    if (config && config->mode == Config::Mode::lastWindow && remaining.value &&
        context_.windowServer) {
        OtherSpacesCount counted =
            windowsOnOtherSpaces(*context_.windowServer, context_.spaces, watcher->pid,
                                 remaining.value->listed, watcher->watchedElements());
        facts.windowsElsewhere = counted.elsewhere;
        if (counted.lookupsUnavailable) noteSpacesLookupsMissing();
    }

    // A list that could not be read is unknown, never zero windows.
    if (remaining.value) {
        std::vector<RemainingWindow> windows;
        windows.reserve(remaining.value->windows.size());
        for (const auto& window : remaining.value->windows)
            windows.push_back(RemainingWindow{windowTitle(window), subroleDescription(window)});
        facts.windows = std::move(windows);
    } else {
        facts.windowsError = remaining.error;
        facts.unclassified = remaining.unclassified;
    }

    facts.sinceAttach = context_.clock.now() - watcher->attachedAt;
    return facts;
}

void Engine::report(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher) {
    decideOn(gathered, watcher, false);
}

void Engine::decideOn(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher,
                      bool settled) {
    std::optional<Config> config;
    std::optional<CloseFacts> facts = gatherFacts(gathered, watcher, config);
    if (!facts) return;
    facts->settled = settled;
    if (decide(*facts, config).reason == Verdict::Reason::accessRevoked) {
        log(watcher->name + "  window closed — Accessibility access is revoked, nothing decided");
        blankLine();
        return;
    }

    // What happened, with the windows that remain.
    const std::string cause = facts->cause();
    const long left = facts->windowsLeft();
    std::string closed = gathered.windowsClosed == 1
                             ? std::string("window")
                             : std::to_string(gathered.windowsClosed) + " windows";
    if (settled)
        log(facts->app + " (" + facts->bundleID + ")  counted again " + settleSeconds() +
            " s after the " + closed + " closed  ←  " + cause);
    else
        log(facts->app + " (" + facts->bundleID + ")  " + closed + " closed  ←  " + cause);
    detail("windows remaining: " + (facts->windows ? std::to_string(left) : "unknown"));
    if (facts->windows)
        for (const RemainingWindow& window : *facts->windows)
            detail("  · " + window.title + "  [" + window.subrole + "]");
    if (facts->windowsElsewhere > 0)
        detail("  · " + std::to_string(facts->windowsElsewhere) + " more on other Spaces");

    // The verdict, and the quit request it calls for.
    Verdict verdict = decide(*facts, config);
    for (const std::string& line : verdict.details) detail(line);
    if (verdict.reason == Verdict::Reason::settling) {
        settle(gathered, watcher);
        blankLine();
        return;
    }
    std::string outcome = verdict.outcome;
    bool quit = false;
    if (verdict.quits()) {
        // The journal says what happened, not what was decided: only a request that went out
        // is "quitting".
        QuitAttempt attempt = quits_->request(watcher->pid, watcher->name);
        outcome = quitOutcome(attempt);
        quit = attempt == QuitAttempt::requested;
    }

    context_.journal.record(Activity::Entry{.at = context_.clock.now(),
                                            .app = facts->app,
                                            .bundleID = facts->bundleID,
                                            .cause = cause,
                                            .windowsLeft = left,
                                            .outcome = outcome,
                                            .quit = quit});
    blankLine();
}

}  // namespace quelto
