// Confirming a close-button hit with the window server: the cached frames outlive what is on
// screen (a hidden application, a minimised window, a window on another Space, a window now
// covered by another), so a hit only counts when the window it names is the one really on
// top at the click point.

#include <cmath>

#include "accessibility/AXRead.h"
#include "engine/Engine.h"
#include "platform/Platform.h"

namespace quelto {

bool sameWindowBounds(const Rect& windowServer, const Rect& accessibility) {
    // Both services speak in points in the same global space; they may round a fractional
    // frame differently, never by a whole point.
    auto near = [](double a, double b) { return std::fabs(a - b) < 1.0; };
    return near(windowServer.origin.x, accessibility.origin.x) &&
           near(windowServer.origin.y, accessibility.origin.y) &&
           near(windowServer.size.width, accessibility.size.width) &&
           near(windowServer.size.height, accessibility.size.height);
}

namespace {

bool isWindowServerWindow(const WindowServerWindow& top, const AppWatcher& watcher,
                          const WindowRef& window) {
    if (top.ownerPid != watcher.pid) return false;
    std::optional<Rect> frame = axFrame(window.element);
    return frame && sameWindowBounds(top.bounds, *frame);
}

}  // namespace

std::optional<Engine::Hit> Engine::confirmHit(const WindowRef& window,
                                              const std::shared_ptr<AppWatcher>& watcher,
                                              Point at) {
    WindowServer* server = platform().windowServer;
    // A platform without a window server has nothing to confirm with: the hit stands.
    if (!server) return Hit{window, watcher};

    std::optional<WindowServerWindow> top =
        windowAt(server->windowList(WindowListScope::onScreenCurrentSpace), at);
    // Nothing on screen there (the cached frame belongs to a hidden, minimised or faraway
    // window): the click landed on no close button.
    if (!top) return std::nullopt;
    if (isWindowServerWindow(*top, *watcher, window)) return Hit{window, watcher};

    // Another window is on top there. If it is a tracked window whose own close button is
    // under the point (two maximised windows put their red dots on the same spot), the
    // click is its.
    auto owner = watchers.find(top->ownerPid);
    if (owner == watchers.end()) return std::nullopt;
    const std::shared_ptr<AppWatcher>& topWatcher = owner->second;
    for (const auto& [candidate, frame] : topWatcher->closeButtonFrames()) {
        if (candidate == window || !frame.contains(at)) continue;
        if (isWindowServerWindow(*top, *topWatcher, candidate)) return Hit{candidate, topWatcher};
    }
    return std::nullopt;
}

}  // namespace quelto
