// The process entry point: the shared application, its delegate for the whole run, the
// accessory policy (no Dock icon), and the event loop.

#import <AppKit/AppKit.h>

#import "app/AppDelegate.h"
#include "platform/macos/MacPlatform.h"

namespace {
// The application keeps its delegate weakly: this reference keeps it for the whole process.
AppDelegate* delegate;
}  // namespace

int main(int, const char*[]) {
    @autoreleasepool {
        // The platform goes in first: the delegate's controller and engine read it at once.
        quelto::mac::installMacPlatform();
        NSApplication* application = NSApplication.sharedApplication;
        delegate = [[AppDelegate alloc] init];
        application.delegate = delegate;
        [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
        [application run];
    }
    return 0;
}
