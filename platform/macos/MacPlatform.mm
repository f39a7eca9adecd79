#include "platform/macos/MacPlatform.h"

#include "platform/Platform.h"
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

void installMacPlatform() {
    // One instance of each for the whole process: the platform is never uninstalled.
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

    Platform p;
    p.accessibility = &accessibility;
    p.workspace = &workspace;
    p.mainQueue = &mainQueue;
    p.clock = &clock;
    p.mouse = &mouse;
    p.system = &system;
    p.loginItem = &loginItem;
    p.http = &http;
    p.alerts = &alerts;
    p.pasteboard = &pasteboard;
    p.collation = &collation;
    p.windowServer = &windowServer;
    p.spaces = &spaces;
    installPlatform(p);
    installNotificationBridge();
}

}  // namespace quelto::mac
