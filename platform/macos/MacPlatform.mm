#include "platform/macos/MacPlatform.h"

#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacAlerts.h"
#include "platform/macos/MacCollation.h"
#include "platform/macos/MacHttpClient.h"
#include "platform/macos/MacLoginItem.h"
#include "platform/macos/MacMainQueue.h"
#include "platform/macos/MacMouseMonitor.h"
#include "platform/macos/MacNotificationBridge.h"
#include "platform/macos/MacPasteboard.h"
#include "platform/macos/MacSpaces.h"
#include "platform/macos/MacSystemInfo.h"
#include "platform/macos/MacWindowServer.h"
#include "platform/macos/MacWorkspace.h"

namespace quelto::mac {

MacServices& macServices() {
    // One instance of each for the whole process: the services are never taken down.
    static MacAccessibility accessibility;
    static MacWorkspace workspace;
    static MacMainQueue mainQueue;
    static MacClock clock;
    static MacMouseMonitor mouse;
    static MacSystemInfo system;
    static MacLoginItem loginItem;
    static MacHttpClient http;
    static MacAlerts alerts;
    static MacPasteboard pasteboard;
    static MacCollation collation;
    static MacWindowServer windowServer;
    static MacSpaces spaces;
    static MacServices services = [] {
        installNotificationBridge();
        return MacServices{accessibility, workspace,    mainQueue, clock,  mouse,
                           system,        loginItem,    http,      alerts, pasteboard,
                           collation,     windowServer, spaces};
    }();
    return services;
}

}  // namespace quelto::mac
