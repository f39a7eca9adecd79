#pragma once
// Forwards every post of the core's notification centre to NSNotificationCenter's default
// centre (same name, no object), so AppKit code can observe the core's notifications too.

namespace quelto::mac {

void installNotificationBridge();

}  // namespace quelto::mac
