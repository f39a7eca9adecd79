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

std::optional<Engine::Hit> Engine::confirmHit(const WindowRef& window,
                                              const std::shared_ptr<AppWatcher>& watcher,
                                              Point at) {
    WindowServer* server = platform().windowServer;
    // A platform without a window server has nothing to confirm with: the hit stands.
    if (!server) return Hit{window, watcher};

    // The window the click landed in, at any layer below the screen saver: a menu, the menu
    // bar, the Dock, a banner, a popover or a sheet lying over the red dot takes the click,
    // and a floating window's red dot is a red dot. Fully transparent windows take none.
    std::optional<WindowServerWindow> top =
        topmostWindowAt(server->windowList(WindowListScope::onScreenCurrentSpace), at);
    // Nothing on screen there (the cached frame belongs to a hidden, minimised or faraway
    // window): the click landed on no close button.
    if (!top) return std::nullopt;
    // A window of an untracked process (the system's, Quelto's own settings window) is on
    // top: the click is its, never the window's underneath.
    auto owner = watchers.find(top->ownerPid);
    if (owner == watchers.end()) return std::nullopt;
    const std::shared_ptr<AppWatcher>& topWatcher = owner->second;

    // Which of its application's windows the one on top is: the application lists this
    // Space's windows front to back, so the first one shown (not minimised) with the same
    // bounds. Two maximised windows of one application have the same bounds; only the front
    // one can be on top.
    for (const AXElement& listed : topWatcher->currentWindows()) {
        if (axBool(listed, "AXMinimized").value_or(false)) continue;
        std::optional<Rect> frame = axFrame(listed);
        if (!frame || !sameWindowBounds(top->bounds, *frame)) continue;
        // The click is that window's if its own close button is under the point: the hit
        // window itself, or another one whose red dot sits on the same spot.
        WindowRef ref{listed};
        const auto& frames = topWatcher->closeButtonFrames();
        auto cached = frames.find(ref);
        if (cached != frames.end() && cached->second.contains(at)) return Hit{ref, topWatcher};
        return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace quelto
