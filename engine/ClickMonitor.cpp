#include "engine/ClickMonitor.h"

namespace quelto {

void ClickMonitor::start() {
    std::weak_ptr<ClickMonitor> weak = weak_from_this();
    // The platform gives each event's own point in global top-left coordinates: forwarded as
    // it is, never flipped, and never replaced by where the pointer has gone since.
    monitor = mouse_.addGlobalLeftMouseDownMonitor([weak](Point at, ModifierFlags modifiers) {
        auto self = weak.lock();
        if (!self) return;
        if (!self->onClick) return;
        self->onClick(at, modifiers);
    });
    upMonitor = mouse_.addGlobalLeftMouseUpMonitor([weak](Point at, ModifierFlags modifiers) {
        auto self = weak.lock();
        if (!self) return;
        if (!self->onMouseUp) return;
        self->onMouseUp(at, modifiers);
    });
}

void ClickMonitor::stop() {
    if (monitor) mouse_.removeMonitor(*monitor);
    if (upMonitor) mouse_.removeMonitor(*upMonitor);
    monitor.reset();
    upMonitor.reset();
}

}  // namespace quelto
