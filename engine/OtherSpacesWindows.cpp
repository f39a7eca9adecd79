// Windows of an application that Accessibility does not list: "AXWindows" holds only the
// windows of the current Space, while the window server knows those on every Space and in
// full screen. The close decision counts them, so that closing the last window here does not
// quit an application that still shows windows elsewhere.
//
// The window server's list of every Space also holds windows the user cannot reach: windows
// an app ordered out and kept (a closed main window, a settings or About panel, hidden helper
// windows), which are on no Space, and windows Accessibility does not count as user windows
// (a custom-chrome mini player, a panel). Only a window the window server places on a Space
// other than the current one counts, and not one that Quelto knows as no user window. Where
// a window is needs the private Spaces lookups; without them nothing counts as elsewhere.

#include "engine/OtherSpacesWindows.h"

#include <cmath>
#include <set>
#include <vector>

#include "accessibility/AXRead.h"
#include "accessibility/WindowClassification.h"

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

// Whether Accessibility positively says the window is no user window: not a standard window,
// or a standard one without a close button (as the decision's own count). A read that fails
// says nothing: unknown is not "no".
bool isKnownNotUserWindow(const AXElement& window) {
    Standardness kind = standardness(window);
    if (kind.kind == Standardness::Kind::other) return true;
    if (kind.kind != Standardness::Kind::standard) return false;
    Read<AXValue> button = axCopyChecked(window, "AXCloseButton");
    return !button.value &&
           (button.error == axerror::attributeUnsupported || button.error == axerror::noValue);
}

}  // namespace

bool isOrderedOut(Spaces* spaces, const AXElement& window) {
    if (!spaces || !spaces->lookupsAvailable()) return false;
    std::optional<std::uint32_t> number = spaces->windowNumber(window);
    if (!number) return false;
    std::optional<std::vector<SpaceID>> on = spaces->spacesOfWindow(*number);
    return on && on->empty();
}

OtherSpacesCount windowsOnOtherSpaces(WindowServer& server, Spaces* spaces, Pid pid,
                                      const std::vector<AXElement>& listed,
                                      const std::vector<AXElement>& known) {
    OtherSpacesCount result;
    std::optional<SpaceID> active;
    if (spaces && spaces->lookupsAvailable()) active = spaces->activeSpace();
    if (!active) {
        result.lookupsUnavailable = true;
        return result;
    }
    std::vector<WindowServerWindow> all = server.windowList(WindowListScope::allSpaces);

    std::vector<const WindowServerWindow*> own;
    for (const WindowServerWindow& w : all)
        if (w.ownerPid == pid && w.layer == normalWindowLayer &&
            w.bounds.size.width >= minimumCountedWindowSide &&
            w.bounds.size.height >= minimumCountedWindowSide)
            own.push_back(&w);
    if (own.empty()) return result;

    // Each listed window accounts for its own window-server window: by number, or, when the
    // number cannot be had, by the same bounds, the ones on screen first (the list has them
    // first): a window here and one on another Space may share a frame.
    for (const AXElement& window : listed) {
        auto match = own.end();
        if (auto number = spaces->windowNumber(window)) {
            for (auto it = own.begin(); it != own.end(); ++it)
                if ((*it)->number == *number) match = it;
        } else if (std::optional<Rect> frame = axFrame(window)) {
            for (auto it = own.begin(); it != own.end() && match == own.end(); ++it)
                if (sameWindowBounds((*it)->bounds, *frame)) match = it;
        }
        if (match != own.end()) own.erase(match);
    }

    // Windows Quelto watched earlier and knows not to be user windows (panels, custom chrome).
    std::set<std::uint32_t> notUserWindows;
    for (const AXElement& window : known) {
        auto number = spaces->windowNumber(window);
        if (number && isKnownNotUserWindow(window)) notUserWindows.insert(*number);
    }

    for (const WindowServerWindow* w : own) {
        // A window on screen here that Accessibility does not list is a sheet, a panel or a
        // popover, not a window on another Space.
        if (w->onScreen) continue;
        if (notUserWindows.count(w->number)) continue;
        std::optional<std::vector<SpaceID>> on = spaces->spacesOfWindow(w->number);
        // On no Space: ordered out by its app, out of the user's reach.
        if (on && on->empty()) continue;
        bool here = false;
        if (on)
            for (SpaceID space : *on) here = here || space == *active;
        if (here) continue;
        // On another Space or in full screen; a window whose Spaces cannot be read counts too
        // (unknown is not zero).
        ++result.elsewhere;
    }
    return result;
}

}  // namespace quelto
