#include "platform/macos/MacSpaces.h"

#import <AppKit/AppKit.h>

#include "platform/macos/MacAXElement.h"
#include "platform/macos/MacRunningApplication.h"
#include "platform/macos/MacSpaceLookups.h"
#include "platform/macos/MacWorkspace.h"

namespace quelto::mac {

Subscription MacSpaces::observeActiveSpaceChanges(std::function<void()> handler) {
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    id token = [center addObserverForName:NSWorkspaceActiveSpaceDidChangeNotification
                                   object:nil
                                    queue:NSOperationQueue.mainQueue
                               usingBlock:^(NSNotification*) {
                                 if (handler) handler();
                               }];
    return Subscription([center, token] { [center removeObserver:token]; });
}

Subscription MacSpaces::observeActivations(Workspace::ApplicationHandler handler) {
    return observeActivatedApplications(std::move(handler));
}

bool MacSpaces::lookupsAvailable() { return spaceLookupsFound(); }

std::optional<std::uint32_t> MacSpaces::windowNumber(const AXElement& window) {
    return lookUpWindowNumber(MacAXElement::refOf(window));
}

std::optional<SpaceID> MacSpaces::activeSpace() { return lookUpActiveSpace(); }

std::optional<std::vector<SpaceID>> MacSpaces::spacesOfWindow(std::uint32_t number) {
    return lookUpSpacesOfWindow(number);
}

}  // namespace quelto::mac
