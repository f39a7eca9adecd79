#pragma once
// Everything the engine reaches outside itself, handed in at its creation: the macOS shell
// builds it from the real services, the simulated desktop hands out its own. Every service
// outlives the engine.

#include "accessibility/AppWatcher.h"
#include "platform/Accessibility.h"
#include "platform/Collation.h"
#include "platform/MainQueue.h"
#include "platform/MouseMonitor.h"
#include "platform/Services.h"
#include "platform/Spaces.h"
#include "platform/WindowServer.h"
#include "platform/Workspace.h"
#include "settings/Activity.h"
#include "settings/ConfigStore.h"

namespace quelto {

struct EngineContext {
    // Always there.
    Clock& clock;
    MainQueue& mainQueue;
    Workspace& workspace;
    Accessibility& accessibility;
    MouseMonitor& mouse;

    // May be absent, and the engine works without them:
    // - no window server: a close-button hit is not confirmed (it stands as found), and no
    //   windows on other Spaces are counted;
    WindowServer* windowServer = nullptr;
    // - no Spaces: no active-Space-changed or activation events (windows on other Spaces are
    //   found only when their app's window list is read again), and no window counts as on
    //   another Space;
    Spaces* spaces = nullptr;
    // - no login item, no collation: the engine itself never uses them; they travel with the
    //   context for the parts of the program that share it.
    LoginItem* loginItem = nullptr;
    Collation* collation = nullptr;

    // The configuration file, read afresh for every decision, and the journal of decisions.
    ConfigStore& config;
    Activity& journal;

    // What the engine's watchers are handed.
    WatcherContext watcherContext() const {
        return WatcherContext{accessibility, mainQueue, clock};
    }
};

}  // namespace quelto
