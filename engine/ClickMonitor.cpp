#include "engine/ClickMonitor.h"

#include "platform/Platform.h"

namespace quelto {

void ClickMonitor::start() {
    MouseMonitor* mouse = platform().mouse;
    if (!mouse) return;
    std::weak_ptr<ClickMonitor> weak = weak_from_this();
    monitor = mouse->addGlobalLeftMouseDownMonitor([weak, mouse](Point, ModifierFlags modifiers) {
        // The pointer where it is when the handler runs, in global top-left coordinates, so
        // it is forwarded as it is, never flipped.
        auto self = weak.lock();
        if (!self) return;
        if (!self->onClick) return;
        std::optional<Point> at = mouse->pointerLocation();
        if (!at) return;
        self->onClick(*at, modifiers);
    });
}

void ClickMonitor::stop() {
    if (monitor) {
        if (MouseMonitor* mouse = platform().mouse) mouse->removeMonitor(*monitor);
    }
    monitor.reset();
}

}  // namespace quelto
