// What the engine follows beyond the design's launches and terminations, so that its count of
// an application's windows holds on a real Mac: Accessibility access that the user revokes
// (every read then fails, so nothing is acted on until it is back).

#include <string>

#include "engine/Engine.h"
#include "platform/Platform.h"
#include "settings/Log.h"

namespace quelto {

bool Engine::checkAccess() {
    Accessibility* ax = platform().accessibility;
    if (!ax) return false;
    if (ax->isProcessTrusted()) return !accessRevoked_;
    if (!accessRevoked_) {
        accessRevoked_ = true;
        // Clicks and closes gathered so far cannot be followed up: every read fails now.
        recentClicks.clear();
        pending.clear();
        log("Accessibility access was revoked — Quelto watches nothing and quits nothing until "
            "it is granted again");
        Log::shared().write("", false);
    }
    return false;
}

void Engine::accessTick() {
    Accessibility* ax = platform().accessibility;
    if (!ax) return;
    if (!accessRevoked_) {
        checkAccess();
        return;
    }
    if (!ax->isProcessTrusted()) return;
    accessRevoked_ = false;
    // The watchers' observers missed everything meanwhile, and their registrations may have
    // been refused: every application is attached afresh (the quit throttle stays).
    recentClicks.clear();
    pending.clear();
    watchers.clear();
    watchedProcesses_.clear();
    log("Accessibility access is back — watching again");
    attachToRunningApps();
    Log::shared().write("", false);
}

}  // namespace quelto
