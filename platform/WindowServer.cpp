#include "platform/WindowServer.h"

namespace quelto {

std::optional<WindowServerWindow> windowAt(const std::vector<WindowServerWindow>& frontToBack,
                                           Point point) {
    for (const WindowServerWindow& w : frontToBack) {
        if (!w.onScreen || w.layer != normalWindowLayer) continue;
        if (w.bounds.contains(point)) return w;
    }
    return std::nullopt;
}

std::optional<WindowServerWindow> topmostWindowAt(
    const std::vector<WindowServerWindow>& frontToBack, Point point) {
    for (const WindowServerWindow& w : frontToBack) {
        if (!w.onScreen || w.layer >= screenSaverWindowLayer || w.alpha <= 0) continue;
        if (w.bounds.contains(point)) return w;
    }
    return std::nullopt;
}

}  // namespace quelto
