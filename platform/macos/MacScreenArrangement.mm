// The displays' arrangement changing (NSApplicationDidChangeScreenParametersNotification),
// for the window server's observers: every frame in global coordinates may have moved
// without a window saying so.

#include "platform/macos/MacWindowServer.h"

#import <AppKit/AppKit.h>

namespace quelto::mac {

Subscription MacWindowServer::observeScreenArrangement(std::function<void()> handler) {
    NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
    auto onChange = std::make_shared<std::function<void()>>(std::move(handler));
    id token = [center addObserverForName:NSApplicationDidChangeScreenParametersNotification
                                   object:nil
                                    queue:NSOperationQueue.mainQueue
                               usingBlock:^(NSNotification*) {
                                 if (*onChange) (*onChange)();
                               }];
    return Subscription([center, token] { [center removeObserver:token]; });
}

}  // namespace quelto::mac
