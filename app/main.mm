// The process entry point: the shared application, its delegate for the whole run, the
// accessory policy (no Dock icon), and the event loop.

#import <AppKit/AppKit.h>

#import "app/AppDelegate.h"
#include "platform/macos/MacPlatform.h"
#include "settings/Log.h"

namespace {
// The application keeps its delegate weakly: this reference keeps it for the whole process.
AppDelegate* delegate;
}  // namespace

int main(int, const char*[]) {
    @autoreleasepool {
        // The services go first (the delegate hands them to its controller and engine at
        // once), and the log is stamped with their clock.
        quelto::Log::shared().setClock(&quelto::mac::macServices().clock);
        NSApplication* application = NSApplication.sharedApplication;
        delegate = [[AppDelegate alloc] init];
        application.delegate = delegate;
        [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
        [application run];
    }
    return 0;
}
