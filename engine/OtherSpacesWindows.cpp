// Windows of an application that Accessibility does not list: "AXWindows" holds only the
// windows of the current Space, while the window server knows those on every Space and in
// full screen. The close decision counts them, so that closing the last window here does not
// quit an application that still shows windows elsewhere.

#include "engine/OtherSpacesWindows.h"

#include <cmath>
#include <vector>

#include "accessibility/AXRead.h"

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

int windowsOnOtherSpaces(WindowServer& server, Pid pid, const std::vector<AXElement>& listed) {
    std::vector<WindowServerWindow> all = server.windowList(WindowListScope::allSpaces);

    std::vector<const WindowServerWindow*> own;
    for (const WindowServerWindow& w : all)
        if (w.ownerPid == pid && w.layer == normalWindowLayer &&
            w.bounds.size.width >= minimumCountedWindowSide &&
            w.bounds.size.height >= minimumCountedWindowSide)
            own.push_back(&w);
    if (own.empty()) return 0;

    // Each listed window accounts for one window-server window of the same bounds, the ones
    // on screen first (the list has them first): a window here and one on another Space may
    // share a frame, as two maximised windows do.
    for (const AXElement& window : listed) {
        std::optional<Rect> frame = axFrame(window);
        if (!frame) continue;
        for (auto it = own.begin(); it != own.end(); ++it) {
            if (sameWindowBounds((*it)->bounds, *frame)) {
                own.erase(it);
                break;
            }
        }
    }

    // What is left and off screen is elsewhere: on another Space or in full screen. A
    // window on screen here that Accessibility does not list is a sheet, a panel or a
    // popover, not a window on another Space.
    int elsewhere = 0;
    for (const WindowServerWindow* w : own)
        if (!w->onScreen) ++elsewhere;
    return elsewhere;
}

}  // namespace quelto
