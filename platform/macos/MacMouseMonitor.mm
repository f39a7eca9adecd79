#include "platform/macos/MacMouseMonitor.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include "platform/macos/CFHolder.h"

namespace quelto::mac {

struct MacMouseMonitor::Installed {
    id monitor;
};

MonitorToken MacMouseMonitor::addGlobalLeftMouseDownMonitor(Handler handler) {
    auto onClick = std::make_shared<Handler>(std::move(handler));
    id monitor = [NSEvent
        addGlobalMonitorForEventsMatchingMask:NSEventMaskLeftMouseDown
                                      handler:^(NSEvent* event) {
                                        // The event's own location is bottom-left based; a
                                        // fresh event gives the pointer top-left based, the
                                        // space Accessibility frames are in.
                                        CFHolder<CGEventRef> now(CGEventCreate(nullptr));
                                        if (!now) return;
                                        CGPoint location = CGEventGetLocation(now.get());
                                        (*onClick)(Point{location.x, location.y},
                                                   static_cast<ModifierFlags>(event.modifierFlags));
                                      }];
    MonitorToken token = next_++;
    monitors_[token] = std::make_shared<Installed>(Installed{monitor});
    return token;
}

void MacMouseMonitor::removeMonitor(MonitorToken token) {
    auto found = monitors_.find(token);
    if (found == monitors_.end()) return;
    if (id monitor = found->second->monitor) [NSEvent removeMonitor:monitor];
    monitors_.erase(found);
}

}  // namespace quelto::mac
