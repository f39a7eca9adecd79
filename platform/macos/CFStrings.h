#pragma once
// Conversions between UTF-8 std::string and CFString, for the C APIs (Accessibility, Core
// Foundation) that the macOS platform calls from C++.

#include <CoreFoundation/CoreFoundation.h>

#include <string>

namespace quelto::mac {

// The string's characters as UTF-8; the empty string for a null reference.
std::string fromCFString(CFStringRef string);

// A new CFString (+1, the caller releases it) holding `text`; null when `text` is not valid
// UTF-8.
CFStringRef createCFString(const std::string& text);

}  // namespace quelto::mac
