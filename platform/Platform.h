#pragma once
// The seam between the portable core and the system it runs on. One Platform is installed
// per process: the macOS implementation in the app, the simulated desktop in tests and in
// quelto-sim. The core reaches the system only through these interfaces.

#include "platform/Accessibility.h"
#include "platform/Collation.h"
#include "platform/MainQueue.h"
#include "platform/MouseMonitor.h"
#include "platform/Services.h"
#include "platform/Spaces.h"
#include "platform/WindowServer.h"
#include "platform/Workspace.h"

namespace quelto {

struct Platform {
    Accessibility* accessibility = nullptr;
    Workspace* workspace = nullptr;
    MainQueue* mainQueue = nullptr;
    Clock* clock = nullptr;
    MouseMonitor* mouse = nullptr;
    SystemInfo* system = nullptr;
    LoginItem* loginItem = nullptr;
    HttpClient* http = nullptr;
    Alerts* alerts = nullptr;
    Pasteboard* pasteboard = nullptr;
    Collation* collation = nullptr;  // none: the portable order
    WindowServer* windowServer = nullptr;
    Spaces* spaces = nullptr;  // none: no Space events, no Spaces lookups
};

// The installed platform. Before anything is installed, every member is null but `clock`,
// which is the system clock.
Platform& platform();

// Installs `p` as the process's platform (members left null keep their previous value
// unless `replaceAll` is true).
void installPlatform(const Platform& p, bool replaceAll = true);

// The real wall clock in the process's time zone (TZ).
Clock& systemClock();

}  // namespace quelto
