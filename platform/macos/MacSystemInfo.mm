#include "platform/macos/MacSystemInfo.h"

#import <Foundation/Foundation.h>
#include <sys/utsname.h>

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

std::optional<std::string> MacSystemInfo::bundleInfoString(const std::string& key) {
    id value = NSBundle.mainBundle.infoDictionary[toNSString(key)];
    if (![value isKindOfClass:NSString.class]) return std::nullopt;
    return toStdString(value);
}

SystemInfo::OSVersion MacSystemInfo::operatingSystemVersion() {
    NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
    return OSVersion{static_cast<int>(version.majorVersion), static_cast<int>(version.minorVersion),
                     static_cast<int>(version.patchVersion)};
}

std::string MacSystemInfo::machineName() {
    struct utsname names {};
    if (uname(&names) != 0) return {};
    return names.machine;
}

}  // namespace quelto::mac
