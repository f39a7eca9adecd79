#pragma once
// Matching the window server's windows with the windows Accessibility lists, by bounds.

#include <vector>

#include "platform/Accessibility.h"
#include "platform/Types.h"
#include "platform/WindowServer.h"

namespace quelto {

// Whether the window server's bounds of a window and the frame Accessibility reports for it
// name the same rectangle (to within the rounding of either service).
bool sameWindowBounds(const Rect& windowServer, const Rect& accessibility);

// Ordinary windows smaller than this on either side (points) are not counted as windows on
// other Spaces: applications keep tiny helper windows there that the user never sees.
inline constexpr double minimumCountedWindowSide = 40;

// How many ordinary windows of the process `server` shows off screen, on another Space or in
// full screen, beyond the `listed` windows Accessibility gave (matched by bounds). Reads the
// window server's list of every Space once, and the listed windows' frames.
int windowsOnOtherSpaces(WindowServer& server, Pid pid, const std::vector<AXElement>& listed);

}  // namespace quelto
