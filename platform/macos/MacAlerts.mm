#include "platform/macos/MacAlerts.h"

#import <AppKit/AppKit.h>

#include <memory>

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

void MacAlerts::present(const AlertDescription& desc, std::function<void(long)> completion) {
    auto done = std::make_shared<std::function<void(long)>>(std::move(completion));
    NSString* message = toNSString(desc.messageText);
    NSString* information = toNSString(desc.informativeText);
    NSMutableArray<NSString*>* buttons = [NSMutableArray array];
    for (const std::string& title : desc.buttons) [buttons addObject:toNSString(title)];
    // Run by the main run loop in its default mode, outside any block of the main queue (the
    // caller's included): under the alert's modal loop the main queue keeps draining, and the
    // observers' sources (in the common modes) keep firing.
    CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopDefaultMode, ^{
      // An accessory app's alert opens behind the active app's windows unless the app is
      // activated first.
      [NSApp activateIgnoringOtherApps:YES];
      NSAlert* alert = [[NSAlert alloc] init];
      alert.messageText = message;
      alert.informativeText = information;
      // Buttons answer 1000, 1001, … in the order added; with none, the alert's own OK is 1000.
      for (NSString* title in buttons) [alert addButtonWithTitle:title];
      long response = static_cast<long>([alert runModal]);
      if (*done) (*done)(response);
    });
    CFRunLoopWakeUp(CFRunLoopGetMain());
}

}  // namespace quelto::mac
