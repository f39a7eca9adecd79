// Spaces as a Mac tells others about them: the workspace's active-Space-changed and
// application-activated notifications, the focus notification a Space switch sends (to the app
// whose focused window changes, and to no one else), the return from a full-screen Space when
// its window goes, windows an application orders out and back in, and the private lookups of
// a window's number and Spaces.
//
// As on a Mac:
// - every Space switch posts the active-Space-changed notification, whoever is in front;
// - the application of the frontmost window on the new Space becomes active (the activation
//   notification goes out when that is another application); when that application's focused
//   window changes, it alone gets "AXFocusedWindowChanged": applications in the background
//   are told nothing, although their Accessibility window lists changed;
// - a full-screen window that closes (or is ordered out, or whose app quits) takes its Space
//   with it: the desktop shows the Space the window came from;
// - a window ordered out is gone from the screen and from "AXWindows" but stays in the window
//   server's list of every Space as a window off screen, on no Space; its element stays valid.

#include <algorithm>

#include "platform/AXNotifications.h"
#include "sim/SimState.h"

namespace quelto::sim {

// ---- The model ----

void SimDesktop::State::setFront(std::optional<Pid> pid) {
    std::optional<Pid> before = frontmost;
    frontmost = pid;
    if (!pid || pid == before) return;
    activationsPosted.push_back(*pid);
    if (auto app = runningAppRef(*pid)) deliverWorkspace(activationHandlers, app);
}

void SimDesktop::State::postActiveSpaceChanged() {
    ++activeSpaceChanges;
    for (const auto& h : spaceChangeHandlers) {
        std::weak_ptr<std::function<void()>> weak = h;
        schedule(0, [weak] {
            auto handler = weak.lock();
            if (handler && *handler) (*handler)();
        });
    }
}

void SimDesktop::State::changeSpace(int space) {
    if (space == currentSpace) return;
    int old = currentSpace;
    currentSpace = space;
    std::optional<Pid> next = nextFrontmost(0);
    std::optional<ElementId> focusBefore, focusAfter;
    if (next) {
        currentSpace = old;
        focusBefore = focusedWindowOf(*next);
        currentSpace = space;
        focusAfter = focusedWindowOf(*next);
        setFront(next);
    }
    if (next && focusAfter && focusAfter != focusBefore) {
        if (const AppRecord* app = runningApp(*next))
            post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)),
                 *focusAfter);
    }
    postActiveSpaceChanged();
}

void SimDesktop::State::leaveFullScreenSpaceOf(const Element& window) {
    if (!window.fullScreenFrom || window.space != currentSpace) return;
    changeSpace(*window.fullScreenFrom);
}

void SimDesktop::State::orderOut(ElementId id) {
    Element* w = liveWindow(id);
    if (!w || w->orderedOut) return;
    Pid pid = w->pid;
    bool wasFocused = focusedWindowOf(pid) == id;
    w->orderedOut = true;
    leaveFullScreenSpaceOf(*w);
    if (!wasFocused) return;
    auto next = focusedWindowOf(pid);
    if (const AppRecord* app = runningApp(pid); app && next)
        post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)), *next);
}

// ---- SimDesktop ----

void SimDesktop::orderOutWindow(ElementId window) {
    state_->orderOut(window);
}

void SimDesktop::orderInWindow(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || !w->orderedOut) return;
    w->orderedOut = false;
    if (w->space != s.currentSpace && !w->fullScreenFrom) w->space = s.currentSpace;
    // Shown again: Accessibility announces it as a new window of the app, and it comes to
    // the front (its app is told of the new focused window).
    if (const AppRecord* app = s.runningApp(w->pid))
        s.post(app->appElement, std::string(nameOf(AXNotification::windowCreated)), window);
    s.raise(window);
}

bool SimDesktop::isOrderedOut(ElementId window) const {
    const Element* w = state_->find(window);
    return w && w->alive && w->orderedOut;
}

std::optional<WindowDescription> SimDesktop::windowDescription(ElementId window) const {
    const Element* w = state_->find(window);
    if (!w || !w->alive || w->kind != ElementKind::window) return std::nullopt;
    return w->desc;
}

void SimDesktop::setSpacesLookupsAvailable(bool available) {
    state_->spacesLookups = available;
}

int SimDesktop::activeSpaceChangeCount() const {
    return state_->activeSpaceChanges;
}

const std::vector<Pid>& SimDesktop::activationNotifications() const {
    return state_->activationsPosted;
}

// ---- Spaces (the seam) ----

Subscription SimDesktop::observeActiveSpaceChanges(std::function<void()> handler) {
    auto& list = state_->spaceChangeHandlers;
    list.erase(std::remove_if(list.begin(), list.end(), [](const auto& h) { return !*h; }),
               list.end());
    auto entry = std::make_shared<std::function<void()>>(std::move(handler));
    list.push_back(entry);
    // The subscription only empties the handler, so it may safely outlive the desktop.
    return Subscription([entry] { *entry = nullptr; });
}

Subscription SimDesktop::observeActivations(ApplicationHandler handler) {
    return subscribe(state_->activationHandlers, std::move(handler));
}

bool SimDesktop::lookupsAvailable() {
    return state_->spacesLookups;
}

std::optional<std::uint32_t> SimDesktop::windowNumber(const AXElement& window) {
    const State& s = *state_;
    if (!s.spacesLookups || !s.trusted) return std::nullopt;
    auto* sim = dynamic_cast<const SimElement*>(window.get());
    if (!sim) return std::nullopt;
    const Element* e = s.find(sim->id());
    if (!e || !e->alive || (e->kind != ElementKind::window && e->kind != ElementKind::sheet))
        return std::nullopt;
    return e->number;
}

std::optional<SpaceID> SimDesktop::activeSpace() {
    if (!state_->spacesLookups) return std::nullopt;
    return static_cast<SpaceID>(state_->currentSpace);
}

std::optional<std::vector<SpaceID>> SimDesktop::spacesOfWindow(std::uint32_t number) {
    const State& s = *state_;
    if (!s.spacesLookups) return std::nullopt;
    for (const auto& [id, e] : s.elements) {
        if (!e.alive || e.number != number) continue;
        if (e.kind != ElementKind::window && e.kind != ElementKind::sheet) continue;
        const Element* w = e.kind == ElementKind::sheet ? s.find(e.parent) : &e;
        if (!w || w->orderedOut) return std::vector<SpaceID>{};
        return std::vector<SpaceID>{static_cast<SpaceID>(w->space)};
    }
    return std::vector<SpaceID>{};
}

}  // namespace quelto::sim
