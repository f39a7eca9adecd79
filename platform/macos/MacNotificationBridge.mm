#include "platform/macos/MacNotificationBridge.h"

#import <Foundation/Foundation.h>

#include "platform/NotificationCenter.h"
#include "platform/macos/NSStrings.h"

namespace quelto::mac {

void installNotificationBridge() {
    NotificationCenter::defaultCenter().setPostHook([](const std::string& name) {
        [NSNotificationCenter.defaultCenter postNotificationName:toNSString(name) object:nil];
    });
}

}  // namespace quelto::mac
