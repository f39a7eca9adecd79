// What the engine follows beyond launches and terminations, so that its count of an
// application's windows holds on a real Mac: Accessibility access that the user revokes
// (every read then fails, so nothing is acted on until it is back; a revocation between two
// checks is told by the calls it refused); apps that become regular after they launched
// (attached when they are activated); windows on other Spaces, which Accessibility lists only
// once their Space is the current one (the watchers catch up when the active Space changes
// and when their app is activated).

#include <set>
#include <string>

#include "accessibility/AXRead.h"
#include "engine/Engine.h"
#include "settings/Log.h"

namespace quelto {

bool Engine::checkAccess() {
    if (context_.accessibility.isProcessTrusted()) return !accessRevoked_;
    if (!accessRevoked_) {
        accessLost();
        log("Accessibility access was revoked — Quelto watches nothing and quits nothing until "
            "it is granted again");
        blankLine();
    }
    return false;
}

void Engine::accessLost() {
    accessRevoked_ = true;
    // Clicks and closes gathered so far cannot be followed up: every read fails now.
    clicks_->clear();
    closes_->clear();
    settling_.clear();
}

void Engine::accessTick() {
    if (!accessRevoked_) {
        if (!checkAccess()) return;
        // Access is on, but calls were refused since the last check: it was off for a moment
        // in between, and the observers missed whatever happened meanwhile (a window closed
        // then was never heard of). Everything starts afresh, as when access comes back.
        if (accessRefusals() == refusalsSeen_) return;
        accessLost();
        accessBack("Accessibility access was revoked for a moment and is back — watching again");
        return;
    }
    if (!context_.accessibility.isProcessTrusted()) return;
    accessBack("Accessibility access is back — watching again");
}

void Engine::accessBack(const std::string& line) {
    accessRevoked_ = false;
    refusalsSeen_ = accessRefusals();
    // The watchers' observers missed everything meanwhile, and their registrations may have
    // been refused: every application is attached afresh (the quit throttle stays).
    clicks_->clear();
    closes_->clear();
    settling_.clear();
    apps_.clear();
    log(line);
    attachToRunningApps([] { blankLine(); });
}

void Engine::noteSpacesLookupsMissing() {
    if (spacesLookupsLogged_) return;
    spacesLookupsLogged_ = true;
    log("the window server’s Spaces cannot be looked up on this Mac — windows on other Spaces "
        "are not counted");
}

void Engine::observeSpacesAndActivations() {
    Spaces* spaces = context_.spaces;
    if (!spaces) return;
    std::weak_ptr<Engine> weak = weak_from_this();
    activations_ = spaces->observeActivations([weak](const RunningApplicationRef& app) {
        if (auto engine = weak.lock()) engine->appActivated(app);
    });
    spaceChanges_ = spaces->observeActiveSpaceChanges([weak] {
        if (auto engine = weak.lock()) engine->activeSpaceChanged();
    });
}

void Engine::appActivated(const RunningApplicationRef& app) {
    if (!app || accessRevoked_ || app->isTerminated()) return;
    Pid pid = app->processIdentifier();
    if (apps_.watchesDeadProcess(pid)) forget(pid);
    if (std::shared_ptr<AppWatcher> watcher = apps_.watcherOf(pid)) {
        // Its windows on the Space it was activated on are listed now.
        watcher->resync();
        return;
    }
    // An app that launched without a Dock icon and has one now (a utility showing its
    // settings window) is watched from now on, as a launched app is: half a second later.
    // One just launched is already due.
    if (attachDue_.count(pid)) return;
    appLaunched(app);
}

void Engine::activeSpaceChanged() {
    if (accessRevoked_ || apps_.empty()) return;
    // Only the app that becomes active may be told of its new focused window; the others'
    // windows on this Space are found by reading their lists again. The window server's list
    // of what is on screen says which apps show something here.
    std::set<Pid> shown;
    std::vector<std::shared_ptr<AppWatcher>> watchers = apps_.watchers();
    if (WindowServer* server = context_.windowServer) {
        for (const WindowServerWindow& w :
             server->windowList(WindowListScope::onScreenCurrentSpace))
            if (w.layer == normalWindowLayer) shown.insert(w.ownerPid);
    } else {
        for (const auto& watcher : watchers) shown.insert(watcher->pid);
    }
    for (const auto& watcher : watchers)
        if (shown.count(watcher->pid)) watcher->resync();
}

}  // namespace quelto
