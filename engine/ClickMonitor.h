#pragma once
// Every left mouse-down and mouse-up anywhere on screen, handed on with the event's own point
// (global top-left coordinates) and the modifier keys held at that moment. The point is where
// the event happened, not where the pointer is when the handler runs: a handler may run late
// while the main thread was busy. It only observes: no event is consumed, altered or delayed.

#include <functional>
#include <memory>
#include <optional>

#include "platform/MouseMonitor.h"
#include "platform/Types.h"

namespace quelto {

// Owned through a shared_ptr: the installed handler holds the monitor weakly, so a handler
// that outlives its monitor does nothing.
class ClickMonitor : public std::enable_shared_from_this<ClickMonitor> {
  public:
    using Callback = std::function<void(Point at, ModifierFlags modifiers)>;

    // The platform's token while a monitor is installed; empty before start() and after stop().
    std::optional<MonitorToken> monitor;
    // The mouse-up monitor's token, installed and removed with the mouse-down one.
    std::optional<MonitorToken> upMonitor;
    // Called once per left mouse-down while installed; empty by default.
    Callback onClick;
    // Called once per left mouse-up while installed; empty by default.
    Callback onMouseUp;

    // `mouse` outlives the monitor.
    explicit ClickMonitor(MouseMonitor& mouse) : mouse_(mouse) {}
    ClickMonitor(const ClickMonitor&) = delete;
    ClickMonitor& operator=(const ClickMonitor&) = delete;
    // Releasing the monitor takes its handler off the platform, like every other observer.
    ~ClickMonitor() { stop(); }

    // Installs the global monitor. A second call installs another one and keeps only the new
    // token; the engine calls it exactly once.
    void start();
    // Removes the installed monitors, if any; always leaves `monitor` and `upMonitor` empty.
    void stop();

  private:
    MouseMonitor& mouse_;
};

}  // namespace quelto
