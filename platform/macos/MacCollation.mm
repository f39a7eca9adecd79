#include "platform/macos/MacCollation.h"

#import <Foundation/Foundation.h>

namespace quelto::mac {

namespace {

// None for bytes that are not UTF-8.
NSString* _Nullable utf8String(const std::string& s) {
    return [[NSString alloc] initWithBytes:s.data() length:s.size() encoding:NSUTF8StringEncoding];
}

}  // namespace

int MacCollation::compareNames(const std::string& a, const std::string& b) {
    if (a == b) return 0;
    @autoreleasepool {
        NSString* first = utf8String(a);
        NSString* second = utf8String(b);
        if (!first || !second) return compareNamesPortably(a, b);
        switch ([first localizedStandardCompare:second]) {
            case NSOrderedAscending:
                return -1;
            case NSOrderedDescending:
                return 1;
            case NSOrderedSame:
                break;
        }
    }
    // Names the system holds equal still get one order, the same on every run.
    return a < b ? -1 : 1;
}

}  // namespace quelto::mac
