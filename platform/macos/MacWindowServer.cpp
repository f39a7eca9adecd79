#include "platform/macos/MacWindowServer.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include "platform/macos/CFHolder.h"

namespace quelto::mac {

namespace {

// A number of the window's dictionary, if it is there and is a number.
template <typename T>
bool readNumber(CFDictionaryRef info, CFStringRef key, CFNumberType type, T& out) {
    const void* value = CFDictionaryGetValue(info, key);
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID()) return false;
    return CFNumberGetValue(static_cast<CFNumberRef>(value), type, &out);
}

bool readBool(CFDictionaryRef info, CFStringRef key) {
    const void* value = CFDictionaryGetValue(info, key);
    if (!value) return false;  // the key is left out for windows off screen
    if (CFGetTypeID(value) == CFBooleanGetTypeID())
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value));
    if (CFGetTypeID(value) == CFNumberGetTypeID()) {
        int n = 0;
        return CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberIntType, &n) && n != 0;
    }
    return false;
}

bool readBounds(CFDictionaryRef info, Rect& out) {
    const void* value = CFDictionaryGetValue(info, kCGWindowBounds);
    if (!value || CFGetTypeID(value) != CFDictionaryGetTypeID()) return false;
    CGRect r;
    if (!CGRectMakeWithDictionaryRepresentation(static_cast<CFDictionaryRef>(value), &r))
        return false;
    // The window server's bounds are already in global top-left coordinates.
    out = Rect{{r.origin.x, r.origin.y}, {r.size.width, r.size.height}};
    return true;
}

// The windows of one CGWindowListCopyWindowInfo call, front to back.
std::vector<WindowServerWindow> copyWindows(CGWindowListOption options, CGWindowID relativeTo) {
    std::vector<WindowServerWindow> out;
    CFHolder<CFArrayRef> list(CGWindowListCopyWindowInfo(options, relativeTo));
    if (!list) return out;
    CFIndex count = CFArrayGetCount(list.get());
    out.reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) {
        const void* item = CFArrayGetValueAtIndex(list.get(), i);
        if (!item || CFGetTypeID(item) != CFDictionaryGetTypeID()) continue;
        auto info = static_cast<CFDictionaryRef>(item);
        WindowServerWindow w;
        std::int32_t pid = 0;
        std::int64_t number = 0;
        int layer = 0;
        double alpha = 1;
        if (!readNumber(info, kCGWindowOwnerPID, kCFNumberSInt32Type, pid)) continue;
        if (!readNumber(info, kCGWindowNumber, kCFNumberSInt64Type, number)) continue;
        readNumber(info, kCGWindowLayer, kCFNumberIntType, layer);
        // Without an alpha the window is taken as drawn: only a known 0 is transparent.
        readNumber(info, kCGWindowAlpha, kCFNumberDoubleType, alpha);
        readBounds(info, w.bounds);
        w.ownerPid = pid;
        w.number = static_cast<std::uint32_t>(number);
        w.layer = layer;
        w.alpha = alpha;
        w.onScreen = readBool(info, kCGWindowIsOnscreen);
        out.push_back(w);
    }
    return out;
}

}  // namespace

std::vector<WindowServerWindow> MacWindowServer::windowList(WindowListScope scope) {
    CGWindowListOption options =
        scope == WindowListScope::onScreenCurrentSpace
            ? (kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements)
            : kCGWindowListOptionAll;
    return copyWindows(options, kCGNullWindowID);
}

std::vector<WindowServerWindow> MacWindowServer::windowsAbove(std::uint32_t number) {
    if (number == 0) return {};
    // Only what is in front of the window, and the window itself: on a busy desktop a
    // fraction of the whole list.
    return copyWindows(kCGWindowListOptionOnScreenAboveWindow | kCGWindowListOptionIncludingWindow |
                           kCGWindowListExcludeDesktopElements,
                       static_cast<CGWindowID>(number));
}

}  // namespace quelto::mac
