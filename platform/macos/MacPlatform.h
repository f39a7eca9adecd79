#pragma once
// The real macOS services: the implementations in this folder, one of each for the whole
// process, and the bridge of the core's notifications to NSNotificationCenter. The app shell
// hands them to the core in its contexts.

#include "platform/Accessibility.h"
#include "platform/Collation.h"
#include "platform/MainQueue.h"
#include "platform/MouseMonitor.h"
#include "platform/Services.h"
#include "platform/Spaces.h"
#include "platform/WindowServer.h"
#include "platform/Workspace.h"

namespace quelto::mac {

struct MacServices {
    Accessibility& accessibility;
    Workspace& workspace;
    MainQueue& mainQueue;
    Clock& clock;
    MouseMonitor& mouse;
    SystemInfo& system;
    LoginItem& loginItem;
    HttpClient& http;
    Alerts& alerts;
    Pasteboard& pasteboard;
    Collation& collation;
    WindowServer& windowServer;
    Spaces& spaces;
};

// The services, made (and the notification bridge installed) on the first call, on the main
// thread, before anything of the core runs; never taken down.
MacServices& macServices();

}  // namespace quelto::mac
