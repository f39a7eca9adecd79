#include "platform/macos/CFStrings.h"

namespace quelto::mac {

std::string fromCFString(CFStringRef string) {
    if (!string) return {};
    if (const char* direct = CFStringGetCStringPtr(string, kCFStringEncodingUTF8)) return direct;

    // Measure first, then convert: the exact UTF-8 length, with no guessing at a maximum.
    CFRange all = CFRangeMake(0, CFStringGetLength(string));
    CFIndex bytes = 0;
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &bytes);
    std::string text(static_cast<std::size_t>(bytes), '\0');
    if (bytes > 0) {
        CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, false,
                         reinterpret_cast<UInt8*>(text.data()), bytes, &bytes);
        text.resize(static_cast<std::size_t>(bytes));
    }
    return text;
}

CFStringRef createCFString(const std::string& text) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

}  // namespace quelto::mac
