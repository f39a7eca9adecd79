// Where windows are: the stacking order across every application, the focused window of
// each, activation, hidden applications (⌘H), minimised windows, Spaces and full screen.
//
// As on a Mac: an application's "AXWindows" lists only its windows on the current Space
// (minimised ones included, with "AXMinimized" true); a hidden application's windows stay in
// that list but are off screen; the window server (SimWindowServer.cpp) knows them all.

#include <algorithm>

#include "platform/AXNotifications.h"
#include "sim/SimState.h"

namespace quelto::sim {

// ---- The model ----

bool SimDesktop::State::onScreen(const Element& w) const {
    if (!w.alive) return false;
    if (w.kind == ElementKind::sheet) {
        const Element* parent = find(w.parent);
        return parent && onScreen(*parent);
    }
    if (w.kind != ElementKind::window || w.minimized || w.orderedOut || w.space != currentSpace)
        return false;
    const AppRecord* app = runningApp(w.pid);
    return app && !app->hidden;
}

std::vector<ElementId> SimDesktop::State::accessibleWindowsOf(Pid pid) const {
    std::vector<ElementId> out;
    for (ElementId id : windowsOf(pid))
        if (const Element* w = find(id); w->space == currentSpace && !w->orderedOut)
            out.push_back(id);
    return out;
}

std::optional<ElementId> SimDesktop::State::focusedWindowOf(Pid pid) const {
    for (ElementId id : accessibleWindowsOf(pid))
        if (!find(id)->minimized) return id;
    return std::nullopt;
}

void SimDesktop::State::raise(ElementId id) {
    Element* w = liveWindow(id);
    if (!w) return;
    auto before = focusedWindowOf(w->pid);
    zOrder.erase(std::remove(zOrder.begin(), zOrder.end(), id), zOrder.end());
    zOrder.insert(zOrder.begin(), id);
    auto after = focusedWindowOf(w->pid);
    if (after && after != before) {
        if (const AppRecord* app = runningApp(w->pid))
            post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)),
                 *after);
    }
}

void SimDesktop::State::activate(Pid pid, bool allWindows) {
    AppRecord* app = runningApp(pid);
    if (!app) return;
    if (frontmost && *frontmost != pid) {
        // Remembered so that the application active before comes back when one without a
        // Dock icon stops being active.
        formerFrontmost.erase(
            std::remove(formerFrontmost.begin(), formerFrontmost.end(), *frontmost),
            formerFrontmost.end());
        formerFrontmost.push_back(*frontmost);
    }
    setFront(pid);
    if (app->hidden) {
        app->hidden = false;
        post(app->appElement, "AXApplicationShown", app->appElement);
    }
    if (!allWindows) return;
    std::vector<ElementId> mine, others;
    for (ElementId id : zOrder) {
        const Element* e = find(id);
        (e && e->pid == pid ? mine : others).push_back(id);
    }
    mine.insert(mine.end(), others.begin(), others.end());
    zOrder = std::move(mine);
}

std::optional<Pid> SimDesktop::State::nextFrontmost(Pid leaving) const {
    for (ElementId id : zOrder) {
        const Element* w = find(id);
        if (!w || w->pid == leaving || !onScreen(*w)) continue;
        const AppRecord* app = runningApp(w->pid);
        if (app && app->desc.policy == ActivationPolicy::regular) return w->pid;
    }
    return std::nullopt;
}

bool SimDesktop::State::showsAppModal(Pid pid) const {
    for (ElementId id : windowsOf(pid))
        if (find(id)->appModal) return true;
    return false;
}

// ---- SimDesktop: hide, minimise, Spaces, full screen ----

void SimDesktop::hideApp(Pid pid) {
    State& s = *state_;
    AppRecord* app = s.runningApp(pid);
    if (!app || app->hidden) return;
    app->hidden = true;
    s.post(app->appElement, "AXApplicationHidden", app->appElement);
    if (s.frontmost == pid) s.setFront(s.nextFrontmost(pid));
}

void SimDesktop::unhideApp(Pid pid) {
    State& s = *state_;
    AppRecord* app = s.runningApp(pid);
    if (!app || !app->hidden) return;
    app->hidden = false;
    s.post(app->appElement, "AXApplicationShown", app->appElement);
}

bool SimDesktop::isHidden(Pid pid) const {
    const AppRecord* app = state_->runningApp(pid);
    return app && app->hidden;
}

void SimDesktop::minimizeWindow(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || w->minimized) return;
    Pid pid = w->pid;
    bool wasFocused = s.focusedWindowOf(pid) == window;
    w->minimized = true;
    s.post(window, "AXWindowMiniaturized", window);
    if (!wasFocused) return;
    auto next = s.focusedWindowOf(pid);
    if (const AppRecord* app = s.runningApp(pid); app && next)
        s.post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)), *next);
}

void SimDesktop::restoreWindow(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || !w->minimized) return;
    w->minimized = false;
    s.post(window, "AXWindowDeminiaturized", window);
    // Restoring a window from the Dock activates its application and puts it in front.
    s.activate(w->pid, false);
    s.raise(window);
}

bool SimDesktop::isMinimized(ElementId window) const {
    const Element* w = state_->find(window);
    return w && w->alive && w->minimized;
}

void SimDesktop::switchToSpace(int space) {
    State& s = *state_;
    if (space < 1) return;
    s.desktopSpaces = std::max(s.desktopSpaces, space < 1000 ? space : 0);
    // The application of the frontmost window there becomes active, as on a Mac.
    s.changeSpace(space);
}

int SimDesktop::currentSpace() const {
    return state_->currentSpace;
}

void SimDesktop::moveWindowToSpace(ElementId window, int space) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || space < 1) return;
    s.desktopSpaces = std::max(s.desktopSpaces, space < 1000 ? space : 0);
    w->space = space;
}

std::optional<int> SimDesktop::spaceOf(ElementId window) const {
    const Element* w = state_->find(window);
    if (!w || !w->alive || w->kind != ElementKind::window) return std::nullopt;
    return w->space;
}

void SimDesktop::enterFullScreen(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || w->fullScreenFrom) return;
    w->fullScreenFrom = w->space;
    w->frameBeforeFullScreen = w->desc.frame;
    w->space = s.nextFullScreenSpace++;
    w->desc.frame = s.screen;
    // The window's Space becomes the current one, with its application active.
    int fullScreenSpace = w->space;
    s.changeSpace(fullScreenSpace);
    s.activate(w->pid, false);
    s.raise(window);
    s.post(window, std::string(nameOf(AXNotification::windowMoved)), window);
    s.post(window, std::string(nameOf(AXNotification::windowResized)), window);
}

void SimDesktop::exitFullScreen(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || !w->fullScreenFrom) return;
    w->space = *w->fullScreenFrom;
    w->fullScreenFrom.reset();
    w->desc.frame = w->frameBeforeFullScreen;
    int backTo = w->space;
    s.changeSpace(backTo);
    s.activate(w->pid, false);
    s.raise(window);
    s.post(window, std::string(nameOf(AXNotification::windowMoved)), window);
    s.post(window, std::string(nameOf(AXNotification::windowResized)), window);
}

bool SimDesktop::isFullScreen(ElementId window) const {
    const Element* w = state_->find(window);
    return w && w->alive && w->fullScreenFrom.has_value();
}

// ---- SimDesktop: what is where ----

bool SimDesktop::isOnScreen(ElementId window) const {
    const Element* w = state_->find(window);
    return w && state_->onScreen(*w);
}

bool SimDesktop::isListedInAXWindows(ElementId window) const {
    const Element* w = state_->find(window);
    if (!w || !w->alive || w->kind != ElementKind::window) return false;
    auto list = state_->accessibleWindowsOf(w->pid);
    return std::find(list.begin(), list.end(), window) != list.end();
}

std::optional<ElementId> SimDesktop::focusedWindow(Pid pid) const {
    return state_->focusedWindowOf(pid);
}

std::vector<ElementId> SimDesktop::stackingOrder() const {
    std::vector<ElementId> out;
    for (ElementId id : state_->zOrder)
        if (const Element* w = state_->find(id); w && w->alive) out.push_back(id);
    return out;
}

std::optional<Rect> SimDesktop::windowFrame(ElementId window) const {
    const Element* w = state_->find(window);
    if (!w || !w->alive || w->kind != ElementKind::window) return std::nullopt;
    return w->desc.frame;
}

Pid SimDesktop::ownerOf(ElementId element) const {
    const Element* e = state_->find(element);
    return e ? e->pid : 0;
}

std::optional<ElementId> SimDesktop::windowAt(Point point) const {
    return state_->windowAt(point);
}

std::optional<Point> SimDesktop::visiblePoint(ElementId window) const {
    const State& s = *state_;
    const Element* w = s.find(window);
    if (!w || !s.onScreen(*w) || w->kind != ElementKind::window) return std::nullopt;
    // A point of the window that is on top there and on no close button (nor the slack
    // around one that a watcher may add): the middle when it is free, else the first free
    // point of a grid over the window, row by row.
    auto freeAt = [&](Point p) {
        if (s.windowAt(p) != window) return false;
        for (ElementId id : s.zOrder) {
            const Element* other = s.find(id);
            if (other && s.onScreen(*other) && other->desc.closeButton.present &&
                s.buttonFrame(*other).outset(4).contains(p))
                return false;
        }
        return true;
    };
    Rect f = w->desc.frame;
    Point middle{f.origin.x + f.size.width / 2, f.origin.y + f.size.height / 2};
    if (freeAt(middle)) return middle;
    const double step = 4;
    for (double y = f.minY() + step / 2; y < f.maxY(); y += step)
        for (double x = f.minX() + step / 2; x < f.maxX(); x += step)
            if (freeAt(Point{x, y})) return Point{x, y};
    return std::nullopt;
}

}  // namespace quelto::sim
