#include "engine/ClickMonitor.h"

namespace quelto {

void ClickMonitor::start() {
    std::weak_ptr<ClickMonitor> weak = weak_from_this();
    monitor = mouse_.addGlobalLeftMouseDownMonitor([weak](Point at, ModifierFlags modifiers) {
        // The platform already gives the pointer in global top-left coordinates, so the
        // location is forwarded as it is, never flipped.
        auto self = weak.lock();
        if (!self) return;
        if (!self->onClick) return;
        self->onClick(at, modifiers);
    });
}

void ClickMonitor::stop() {
    if (monitor) {
        mouse_.removeMonitor(*monitor);
    }
    monitor.reset();
}

}  // namespace quelto
