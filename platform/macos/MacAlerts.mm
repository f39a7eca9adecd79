#include "platform/macos/MacAlerts.h"

#import <AppKit/AppKit.h>

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

long MacAlerts::runModal(const AlertSpec& desc) {
    NSAlert* alert = [[NSAlert alloc] init];
    alert.messageText = toNSString(desc.messageText);
    alert.informativeText = toNSString(desc.informativeText);
    // Buttons answer 1000, 1001, … in the order added; with none, the alert's own OK is 1000.
    for (const std::string& title : desc.buttons) [alert addButtonWithTitle:toNSString(title)];
    return static_cast<long>([alert runModal]);
}

}  // namespace quelto::mac
