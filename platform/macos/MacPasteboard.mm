#include "platform/macos/MacPasteboard.h"

#import <AppKit/AppKit.h>

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

void MacPasteboard::setString(const std::string& text) {
    NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
    [pasteboard clearContents];
    [pasteboard setString:toNSString(text) forType:NSPasteboardTypeString];
}

}  // namespace quelto::mac
