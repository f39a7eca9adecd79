#pragma once
// Conversions between UTF-8 std::string and NSString, for the Objective-C++ shells.

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace quelto::mac {

// `text` as an NSString; the empty string when `text` is not valid UTF-8.
inline NSString* toNSString(const std::string& text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data()
                                                length:text.size()
                                              encoding:NSUTF8StringEncoding];
    return string ?: @"";
}

// The string's UTF-8 characters; the empty string for nil.
inline std::string toStdString(NSString* string) {
    if (!string) return {};
    const char* utf8 = string.UTF8String;
    return utf8 ? std::string(utf8) : std::string();
}

// None for nil, else the string's UTF-8 characters.
inline std::optional<std::string> toOptionalString(NSString* string) {
    if (!string) return std::nullopt;
    return toStdString(string);
}

}  // namespace quelto::mac
