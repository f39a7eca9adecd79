#pragma once
// Conversion of a value copied out of another application's interface into the seam's
// AXValue: strings, booleans, numbers, elements, arrays (recursively), points and sizes;
// anything else becomes an opaque value named after its platform type.

#include <CoreFoundation/CoreFoundation.h>

#include "platform/Accessibility.h"

namespace quelto::mac {

// Borrows `value` (never null): the caller keeps, and releases, its own reference. Elements
// found in it are retained by the handles made for them.
AXValue convertCopiedValue(CFTypeRef value);

}  // namespace quelto::mac
