#pragma once
// Everything the interface (start-up, the status item, the settings window, the update
// check) reaches outside itself, handed in: the macOS shell builds it from the real
// services, the simulated desktop hands out its own. Every service outlives the interface.

#include "platform/Accessibility.h"
#include "platform/Collation.h"
#include "platform/MainQueue.h"
#include "platform/Services.h"
#include "platform/Workspace.h"
#include "settings/Activity.h"
#include "settings/ConfigStore.h"
#include "update/UpdateChecker.h"

namespace quelto {

struct ShellContext {
    // Always there.
    Clock& clock;
    MainQueue& mainQueue;
    Workspace& workspace;
    Accessibility& accessibility;

    // May be absent, and the interface works without them:
    // - no login item: start at login reads as not set up and cannot be changed;
    LoginItem* loginItem = nullptr;
    // - no collation: lists of names follow the portable order;
    Collation* collation = nullptr;
    // - no system facts: versions read "?" and the bundle identifier is the build's;
    SystemInfo* system = nullptr;
    // - no HTTP client: an update check ends at once;
    HttpClient* http = nullptr;
    // - no alerts: nothing is shown (an alert's answer is its first button);
    Alerts* alerts = nullptr;
    // - no pasteboard: copying the diagnostics does nothing.
    Pasteboard* pasteboard = nullptr;

    // The configuration file and the journal of decisions.
    ConfigStore& config;
    Activity& journal;

    // What an update check is handed.
    UpdateContext updateContext() const {
        return UpdateContext{mainQueue, workspace, system, http, alerts};
    }
};

}  // namespace quelto
