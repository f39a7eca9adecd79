#include "platform/macos/MacMouseMonitor.h"

#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include "platform/macos/CFHolder.h"

namespace quelto::mac {

struct MacMouseMonitor::Installed {
    id monitor;
};

MonitorToken MacMouseMonitor::install(unsigned long long mask, Handler handler) {
    auto onEvent = std::make_shared<Handler>(std::move(handler));
    id monitor = [NSEvent
        addGlobalMonitorForEventsMatchingMask:static_cast<NSEventMask>(mask)
                                      handler:^(NSEvent* event) {
                                        // Where the event happened, not where the pointer is
                                        // now: the handler may run late. The Core Graphics
                                        // event's location is in global top-left
                                        // coordinates, the space of Accessibility frames
                                        // (NSEvent's own is bottom-left based). The CGEvent
                                        // belongs to the NSEvent: not released here.
                                        CGEventRef cg = event.CGEvent;
                                        if (!cg) return;
                                        CGPoint location = CGEventGetLocation(cg);
                                        (*onEvent)(Point{location.x, location.y},
                                                   static_cast<ModifierFlags>(event.modifierFlags));
                                      }];
    MonitorToken token = next_++;
    monitors_[token] = std::make_shared<Installed>(Installed{monitor});
    return token;
}

MonitorToken MacMouseMonitor::addGlobalLeftMouseDownMonitor(Handler handler) {
    return install(NSEventMaskLeftMouseDown, std::move(handler));
}

MonitorToken MacMouseMonitor::addGlobalLeftMouseUpMonitor(Handler handler) {
    return install(NSEventMaskLeftMouseUp, std::move(handler));
}

void MacMouseMonitor::removeMonitor(MonitorToken token) {
    auto found = monitors_.find(token);
    if (found == monitors_.end()) return;
    if (id monitor = found->second->monitor) [NSEvent removeMonitor:monitor];
    monitors_.erase(found);
}

std::optional<Point> MacMouseMonitor::pointerLocation() {
    // A fresh event with no source gives the pointer where it is now, top-left based.
    CGEventRef now = CGEventCreate(nullptr);
    if (!now) return std::nullopt;
    CGPoint location = CGEventGetLocation(now);
    CFRelease(now);
    return Point{location.x, location.y};
}

}  // namespace quelto::mac
