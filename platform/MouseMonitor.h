#pragma once
// The global streams of left mouse-downs and left mouse-ups (NSEvent global monitors). Each
// event carries its own location, in global top-left coordinates, and its 64-bit
// modifier-flag word.

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/Types.h"

namespace quelto {

using MonitorToken = std::uint64_t;

class MouseMonitor {
  public:
    virtual ~MouseMonitor() = default;

    // `location` is where the event happened (on macOS the location of the delivered event's
    // Core Graphics event, which is already in global top-left coordinates, so nothing is
    // flipped), not where the pointer is when the handler runs: a handler may run late, when
    // the main thread was busy, and the pointer has moved on by then.
    using Handler = std::function<void(Point location, ModifierFlags modifiers)>;

    // Installs a global monitor for left mouse-downs only and returns its token. Right and
    // other buttons, mouse-ups and keys never reach the handler; neither do clicks inside
    // this program's own windows.
    virtual MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) = 0;
    // The same for left mouse-ups (NSEventMaskLeftMouseUp): it needs no more permission than
    // the mouse-down monitor. An up whose down went to this program's own window does not
    // arrive either.
    virtual MonitorToken addGlobalLeftMouseUpMonitor(Handler handler) = 0;
    virtual void removeMonitor(MonitorToken token) = 0;

    // Where the pointer is now (a fresh Core Graphics event's location), in global top-left
    // coordinates; none when the system gives no event. Not where an event happened: see
    // `Handler`.
    virtual std::optional<Point> pointerLocation() = 0;
};

}  // namespace quelto
