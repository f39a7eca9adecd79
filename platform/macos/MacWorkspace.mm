#include "platform/macos/MacWorkspace.h"

#import <AppKit/AppKit.h>

#include "platform/macos/MacRunningApplication.h"
#include "platform/macos/NSStrings.h"

namespace quelto::mac {

namespace {

// Observes one workspace notification on the main queue; the handler gets the notification's
// application, or nullptr when it carries none (or something else under the key).
Subscription observe(NSNotificationName name, Workspace::ApplicationHandler handler) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    id token = [center addObserverForName:name
                                   object:nil
                                    queue:NSOperationQueue.mainQueue
                               usingBlock:^(NSNotification* notification) {
                                 id app = notification.userInfo[NSWorkspaceApplicationKey];
                                 RunningApplicationRef ref;
                                 if ([app isKindOfClass:NSRunningApplication.class])
                                     ref = wrapRunningApplication(app);
                                 if (handler) handler(ref);
                               }];
    return Subscription([center, token] { [center removeObserver:token]; });
}

}  // namespace

std::vector<RunningApplicationRef> MacWorkspace::runningApplications() {
    std::vector<RunningApplicationRef> apps;
    for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications)
        apps.push_back(wrapRunningApplication(app));
    return apps;
}

RunningApplicationRef MacWorkspace::frontmostApplication() {
    return wrapRunningApplication(NSWorkspace.sharedWorkspace.frontmostApplication);
}

RunningApplicationRef MacWorkspace::runningApplication(Pid pid) {
    return wrapRunningApplication(
        [NSRunningApplication runningApplicationWithProcessIdentifier:pid]);
}

Pid MacWorkspace::ownProcessIdentifier() { return NSProcessInfo.processInfo.processIdentifier; }

Subscription MacWorkspace::observeLaunches(ApplicationHandler handler) {
    return observe(NSWorkspaceDidLaunchApplicationNotification, std::move(handler));
}

Subscription MacWorkspace::observeTerminations(ApplicationHandler handler) {
    return observe(NSWorkspaceDidTerminateApplicationNotification, std::move(handler));
}

Subscription observeActivatedApplications(Workspace::ApplicationHandler handler) {
    return observe(NSWorkspaceDidActivateApplicationNotification, std::move(handler));
}

std::optional<std::string> MacWorkspace::pathForApplication(const std::string& bundleID) {
    NSURL* url =
        [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:toNSString(bundleID)];
    if (!url) return std::nullopt;
    return toOptionalString(url.path);
}

std::string MacWorkspace::displayName(const std::string& path) {
    return toStdString([NSFileManager.defaultManager displayNameAtPath:toNSString(path)]);
}

std::optional<std::string> MacWorkspace::bundleIdentifierAtPath(const std::string& path) {
    if (path.empty()) return std::nullopt;
    NSBundle* bundle = [NSBundle bundleWithURL:[NSURL fileURLWithPath:toNSString(path)]];
    return toOptionalString(bundle.bundleIdentifier);
}

bool MacWorkspace::openURL(const std::string& url) {
    NSURL* target = [NSURL URLWithString:toNSString(url)];
    if (!target) return false;
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    configuration.activates = YES;
    [NSWorkspace.sharedWorkspace openURL:target configuration:configuration completionHandler:nil];
    return true;
}

void MacWorkspace::selectFile(const std::string& path) {
    [NSWorkspace.sharedWorkspace selectFile:toNSString(path) inFileViewerRootedAtPath:@""];
}

}  // namespace quelto::mac
