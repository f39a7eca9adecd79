#pragma once
// One running application on macOS: an NSRunningApplication behind the seam.

#import <AppKit/AppKit.h>

#include "platform/Workspace.h"

namespace quelto::mac {

// A handle on `application`; nullptr for nil.
RunningApplicationRef wrapRunningApplication(NSRunningApplication* application);

}  // namespace quelto::mac
