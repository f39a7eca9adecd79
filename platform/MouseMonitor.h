#pragma once
// The global stream of left mouse-downs (NSEvent global monitor), with the pointer position
// already in global top-left coordinates and the event's 64-bit modifier-flag word.

#include <cstdint>
#include <functional>

#include "platform/Types.h"

namespace quelto {

using MonitorToken = std::uint64_t;

class MouseMonitor {
  public:
    virtual ~MouseMonitor() = default;

    using Handler = std::function<void(Point location, ModifierFlags modifiers)>;

    // Installs a global monitor for left mouse-downs only and returns its token. Right and
    // other buttons, mouse-ups and keys never reach the handler; neither do clicks inside
    // this program's own windows.
    virtual MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) = 0;
    virtual void removeMonitor(MonitorToken token) = 0;
};

}  // namespace quelto
