#pragma once
// The window server's own list of windows, as CGWindowListCopyWindowInfo gives it: every
// window of every process, front to back, with its owner, number, bounds, layer and whether
// it is on screen. Accessibility only sees the windows an application lists on the current
// Space; the window server knows them all, and knows which one is really on top at a point.
//
// Reading the list needs no Screen Recording permission: only the owner's process id, the
// window number, the bounds, the layer and the on-screen flag are read (never the names).
//
// Order: the list is front to back. With `onScreenCurrentSpace`, the first window whose
// bounds contain a point (at the layer of ordinary windows, 0) is the one a click there
// lands in; `windowAt` does that walk. With `allSpaces`, the windows on screen come first,
// front to back, and then those off screen (minimised, hidden, on another Space), in their
// stacking order.
//
// Coordinates are the global top-left ones of clicks and Accessibility frames (the window
// server's own bounds are in that space too), so nothing is converted.
//
// A read is a round trip to the window server: cheap next to an Accessibility read of every
// window of every application, but not free; read it when a decision needs it.

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Subscription.h"
#include "platform/Types.h"

namespace quelto {

struct WindowServerWindow {
    Pid ownerPid = 0;          // kCGWindowOwnerPID
    std::uint32_t number = 0;  // kCGWindowNumber: unique while the window exists
    Rect bounds;               // kCGWindowBounds
    int layer = 0;             // kCGWindowLayer: 0 for ordinary application windows
    bool onScreen = false;     // kCGWindowIsOnscreen
    double alpha = 1;          // kCGWindowAlpha: 0 for a window that draws nothing

    friend bool operator==(const WindowServerWindow&, const WindowServerWindow&) = default;
};

enum class WindowListScope {
    // The windows on screen now, on the current Space (kCGWindowListOptionOnScreenOnly,
    // desktop elements excluded).
    onScreenCurrentSpace,
    // Every window of every Space, on screen or not (kCGWindowListOptionAll).
    allSpaces,
};

// The layer of ordinary application windows (kCGNormalWindowLevel); menus, the menu bar, the
// Dock and panels above everything else sit on higher layers.
inline constexpr int normalWindowLayer = 0;
// The screen saver's layer (kCGScreenSaverWindowLevel). What sits at or above it (the screen
// saver, the cursor, assistive overlays) takes no clicks meant for windows.
inline constexpr int screenSaverWindowLayer = 1000;

class WindowServer {
  public:
    virtual ~WindowServer() = default;

    // The windows, front to back. Empty when the window server cannot be asked.
    virtual std::vector<WindowServerWindow> windowList(WindowListScope scope) = 0;

    // ---- Clicks: only what a click needs ----
    // The on-screen windows in front of window `number`, front to back, at every layer, and
    // last the window itself when it is on screen (kCGWindowListOptionOnScreenAboveWindow |
    // kCGWindowListOptionIncludingWindow). A window that is not on screen, or no longer
    // exists, is not in the list; empty when the window server cannot be asked. One round
    // trip, and only as long as what is in front of the window: far cheaper on a busy desktop
    // than the whole list.
    virtual std::vector<WindowServerWindow> windowsAbove(std::uint32_t number) = 0;
    // Called on the main thread whenever the displays' arrangement changes (a display added,
    // removed, moved, resized, or made primary:
    // NSApplicationDidChangeScreenParametersNotification). Frames in global coordinates may all
    // have moved without any window saying so.
    [[nodiscard]] virtual Subscription observeScreenArrangement(std::function<void()> handler) = 0;
    // ---- end of the clicks block ----
};

// The frontmost on-screen window of the ordinary layer whose bounds contain `point` (minimum
// edges inclusive, maximum edges exclusive), in a list ordered front to back; none when no
// window is there. Windows of other layers are passed over.
std::optional<WindowServerWindow> windowAt(const std::vector<WindowServerWindow>& frontToBack,
                                           Point point);

// The window a click at `point` lands in: the first window of a front-to-back list that is on
// screen, below the screen saver's layer, not fully transparent (alpha 0 draws nothing and
// takes no click) and whose bounds contain the point — at any layer: a menu, the menu bar,
// the Dock, a notification banner, a popover or a floating window takes the click as surely
// as an ordinary window. None when no window is there.
std::optional<WindowServerWindow> topmostWindowAt(
    const std::vector<WindowServerWindow>& frontToBack, Point point);

}  // namespace quelto
