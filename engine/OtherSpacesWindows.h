#pragma once
// Matching the window server's windows with the windows Accessibility lists, by bounds.

#include <vector>

#include "platform/Accessibility.h"
#include "platform/Spaces.h"
#include "platform/Types.h"
#include "platform/WindowServer.h"

namespace quelto {

// Whether the window server's bounds of a window and the frame Accessibility reports for it
// name the same rectangle (to within the rounding of either service).
bool sameWindowBounds(const Rect& windowServer, const Rect& accessibility);

// Ordinary windows smaller than this on either side (points) are not counted as windows on
// other Spaces: applications keep tiny helper windows there that the user never sees.
inline constexpr double minimumCountedWindowSide = 40;

// How many ordinary windows of the process the window server places on another Space or in
// full screen, beyond the `listed` windows Accessibility gave ("AXWindows", matched by window
// number, else by bounds): not ordered out (on no Space), and not one of the `known` window
// elements that Accessibility does not count as user windows. Reads the window server's list
// of every Space once. Without the Spaces lookups (`spaces` absent, or its private calls
// missing) nothing is counted and `lookupsUnavailable` says so.
// Whether the window server places the window behind `window` on no Space: its app ordered it
// out and kept it, out of the user's reach. False when that cannot be known (no Spaces, or
// its lookups missing or failing).
bool isOrderedOut(Spaces* spaces, const AXElement& window);

struct OtherSpacesCount {
    int elsewhere = 0;
    bool lookupsUnavailable = false;
};
OtherSpacesCount windowsOnOtherSpaces(WindowServer& server, Spaces* spaces, Pid pid,
                                      const std::vector<AXElement>& listed,
                                      const std::vector<AXElement>& known = {});

}  // namespace quelto
