#include "platform/macos/MacAXValue.h"

#include <ApplicationServices/ApplicationServices.h>

#include "platform/macos/CFHolder.h"
#include "platform/macos/CFStrings.h"
#include "platform/macos/MacAXElement.h"

namespace quelto::mac {

namespace {

std::string typeName(CFTypeRef value) {
    CFHolder<CFStringRef> description(CFCopyTypeIDDescription(CFGetTypeID(value)));
    return fromCFString(description.get());
}

AXValue convertAXValue(AXValueRef value) {
    switch (AXValueGetType(value)) {
        case kAXValueTypeCGPoint: {
            CGPoint point;
            if (AXValueGetValue(value, kAXValueTypeCGPoint, &point)) return Point{point.x, point.y};
            break;
        }
        case kAXValueTypeCGSize: {
            CGSize size;
            if (AXValueGetValue(value, kAXValueTypeCGSize, &size))
                return Size{size.width, size.height};
            break;
        }
        case kAXValueTypeCGRect:
            return AXOpaque{"AXValue CGRect"};
        case kAXValueTypeCFRange:
            return AXOpaque{"AXValue CFRange"};
        case kAXValueTypeAXError:
            return AXOpaque{"AXValue AXError"};
        default:
            break;
    }
    return AXOpaque{"AXValue"};
}

}  // namespace

AXValue convertCopiedValue(CFTypeRef value) {
    CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) return fromCFString(static_cast<CFStringRef>(value));
    if (type == CFBooleanGetTypeID())
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    if (type == CFNumberGetTypeID()) {
        double number = 0;
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
        return AXNumber{number};
    }
    if (type == AXUIElementGetTypeID())
        return MacAXElement::retain(static_cast<AXUIElementRef>(const_cast<void*>(value)));
    if (type == CFArrayGetTypeID()) {
        auto array = static_cast<CFArrayRef>(value);
        CFIndex count = CFArrayGetCount(array);
        AXArray items;
        items.reserve(static_cast<std::size_t>(count));
        for (CFIndex i = 0; i < count; ++i) {
            CFTypeRef item = CFArrayGetValueAtIndex(array, i);
            items.push_back(item ? convertCopiedValue(item) : AXValue(AXOpaque{"null"}));
        }
        return items;
    }
    if (type == AXValueGetTypeID()) return convertAXValue(static_cast<AXValueRef>(value));
    return AXOpaque{typeName(value)};
}

}  // namespace quelto::mac
