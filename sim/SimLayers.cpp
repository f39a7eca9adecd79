// What the window server draws, as a click sees it: windows by layer (menus, the menu bar,
// the Dock, banners, popovers and "always on top" windows in front of ordinary ones), sheets
// in front of their windows, transparent windows that take no click; the close button that
// moves with a toolbar without a notification; the displays' arrangement changing under
// every window; the pointer; and the user's mouse events, handed to Quelto's monitors with
// their own point, late when its main thread is busy.

#include <algorithm>
#include <limits>

#include "sim/SimState.h"

namespace quelto::sim {

namespace {

// Visits the window-server windows front to back until `visit` returns true: for each
// layer from the highest down to `lowest`, the overlays of that layer (newest first), then
// the windows of that layer in their stacking order, each sheet just in front of its window.
// The layers in use come from the window server's index (a handful, whatever the number of
// windows), and the walk of a layer stops once it has met every window the layer holds.
template <typename Visit>
void forEachDrawn(const SimDesktop::State& s, Visit visit,
                  int lowest = std::numeric_limits<int>::min()) {
    std::vector<int> layers;
    auto addLayer = [&layers, lowest](int layer) {
        if (layer < lowest) return;
        if (std::find(layers.begin(), layers.end(), layer) == layers.end()) layers.push_back(layer);
    };
    for (const auto& [overlay, number] : s.overlays) addLayer(overlay.layer);
    for (const auto& [layer, count] : s.windowLayers) addLayer(layer);
    std::sort(layers.begin(), layers.end(), std::greater<int>());
    for (int layer : layers) {
        for (const auto& [overlay, number] : s.overlays) {
            if (overlay.layer != layer) continue;
            WindowServerWindow w{overlay.owner, number, overlay.bounds,
                                 overlay.layer, true,   overlay.alpha};
            if (visit(w, ElementId{0})) return;
        }
        auto held = s.windowLayers.find(layer);
        int left = held == s.windowLayers.end() ? 0 : held->second;
        for (auto it = s.zOrder.begin(); left > 0 && it != s.zOrder.end(); ++it) {
            ElementId id = *it;
            const Element* e = s.find(id);
            if (!e || !e->alive || e->desc.layer != layer) continue;
            --left;
            bool shown = s.onScreen(*e);
            for (auto sheetIt = e->sheets.rbegin(); sheetIt != e->sheets.rend(); ++sheetIt) {
                const Element* sheet = s.find(*sheetIt);
                if (!sheet || !sheet->alive) continue;
                WindowServerWindow w{e->pid, sheet->number, s.sheetFrame(*e), layer, shown, 1};
                if (visit(w, *sheetIt)) return;
            }
            WindowServerWindow w{e->pid, e->number, e->desc.frame, layer, shown, 1};
            if (visit(w, id)) return;
        }
    }
}

// Whether a click at the point lands in this window-server window (a window's close button
// drawn outside its frame still belongs to it).
bool takesClick(const SimDesktop::State& s, const WindowServerWindow& w, ElementId id,
                Point point) {
    if (!w.onScreen || w.layer >= screenSaverWindowLayer || w.alpha <= 0) return false;
    if (w.bounds.contains(point)) return true;
    const Element* e = id ? s.find(id) : nullptr;
    return e && e->kind == ElementKind::window && e->desc.closeButton.present &&
           s.buttonFrame(*e).contains(point);
}

}  // namespace

std::vector<std::pair<WindowServerWindow, ElementId>> SimDesktop::State::drawn() const {
    std::vector<std::pair<WindowServerWindow, ElementId>> out;
    forEachDrawn(*this, [&](const WindowServerWindow& w, ElementId id) {
        out.emplace_back(w, id);
        return false;
    });
    return out;
}

std::optional<ElementId> SimDesktop::State::windowAt(Point point) const {
    std::optional<ElementId> found;
    forEachDrawn(*this, [&](const WindowServerWindow& w, ElementId id) {
        if (!takesClick(*this, w, id, point)) return false;
        // An overlay in front: no window of an application takes the click. A sheet's click
        // goes to its window's application, never to a window behind it.
        if (id) {
            const Element* e = find(id);
            found = e->kind == ElementKind::sheet ? e->parent : id;
        }
        return true;
    });
    return found;
}

// ---- Overlays ----

void SimDesktop::showOverlay(const OverlayDescription& overlay) {
    State& s = *state_;
    removeOverlay(overlay.name);
    s.overlays.insert(s.overlays.begin(), {overlay, s.nextWindowNumber++});
}

void SimDesktop::removeOverlay(const std::string& name) {
    auto& list = state_->overlays;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&](const auto& entry) { return entry.first.name == name; }),
               list.end());
}

std::vector<WindowServerWindow> SimDesktop::drawnWindows() const {
    std::vector<WindowServerWindow> out;
    for (const auto& [w, id] : state_->drawn()) out.push_back(w);
    return out;
}

std::optional<WindowServerWindow> SimDesktop::topmostAt(Point point) const {
    std::optional<WindowServerWindow> found;
    forEachDrawn(*state_, [&](const WindowServerWindow& w, ElementId id) {
        if (!takesClick(*state_, w, id, point)) return false;
        found = w;
        return true;
    });
    return found;
}

// ---- Silent moves ----

void SimDesktop::setToolbar(ElementId window, bool shown) {
    Element* w = state_->liveWindow(window);
    if (!w) return;
    // A unified title bar with a toolbar is 52 points high; the buttons sit in its middle.
    w->buttonOffset.y = shown ? 18 : 6;
}

void SimDesktop::shiftDisplays(Point offset) {
    State& s = *state_;
    auto shift = [&](Rect& r) {
        r.origin.x += offset.x;
        r.origin.y += offset.y;
    };
    for (auto& [id, e] : s.elements) {
        if (!e.alive || e.kind != ElementKind::window) continue;
        shift(e.desc.frame);
        shift(e.frameBeforeFullScreen);
    }
    for (auto& [overlay, number] : s.overlays) shift(overlay.bounds);
    shift(s.screen);
    s.pointer.x += offset.x;
    s.pointer.y += offset.y;
    // AppKit posts the notification on the main thread: it waits for Quelto's run loop.
    for (const auto& observer : s.screenObservers) {
        std::weak_ptr<std::function<void()>> weak = observer;
        s.scheduleAt(s.now, WorkItem{[weak] {
                                         if (auto handler = weak.lock(); handler && *handler)
                                             (*handler)();
                                     },
                                     nullptr, WorkKind::runLoopSource, commonModes});
    }
}

Subscription SimDesktop::observeScreenArrangement(std::function<void()> handler) {
    auto shared = std::make_shared<std::function<void()>>(std::move(handler));
    state_->screenObservers.push_back(shared);
    std::weak_ptr<int> life = state_->lifeline;
    State* s = state_.get();
    return Subscription([life, s, shared] {
        *shared = nullptr;
        if (life.expired()) return;
        auto& list = s->screenObservers;
        list.erase(std::remove(list.begin(), list.end(), shared), list.end());
    });
}

// ---- The window server's reads for a click ----

std::vector<WindowServerWindow> SimDesktop::windowsAbove(std::uint32_t number) {
    State& s = *state_;
    ++s.windowsAboveReads;
    std::vector<WindowServerWindow> out;
    // The window server finds the window in its index: one not on screen (or unknown) has
    // nothing above it to tell. Else the walk goes from the front down to the window's own
    // layer and stops at the window: what lies behind it is never visited.
    int lowest = std::numeric_limits<int>::min();
    if (auto indexed = s.byNumber.find(number); indexed != s.byNumber.end()) {
        const Element* e = s.find(indexed->second);
        const Element* window = e && e->kind == ElementKind::sheet ? s.find(e->parent) : e;
        if (!e || !e->alive || !window || !s.onScreen(*e)) return out;
        lowest = window->desc.layer;
    }
    bool found = false;
    forEachDrawn(
        s,
        [&](const WindowServerWindow& w, ElementId) {
            if (!w.onScreen) return false;
            out.push_back(w);
            found = w.number == number;
            return found;
        },
        lowest);
    if (!found) out.clear();
    return out;
}

std::uint64_t SimDesktop::windowsAboveReadCount() const {
    return state_->windowsAboveReads;
}

// ---- The pointer and the delivery of events ----

void SimDesktop::movePointer(Point point) {
    state_->pointer = point;
}

Point SimDesktop::pointer() const {
    return state_->pointer;
}

std::optional<Point> SimDesktop::pointerLocation() {
    return state_->pointer;
}

bool SimDesktop::isMainThreadBlocked() const {
    return state_->main.blocked > 0;
}

void SimDesktop::State::deliver(std::function<void()> event) {
    if (userActions > 0) {
        heldEvents.push_back(std::move(event));
        return;
    }
    if (main.blocked > 0) {
        // The event waits in Quelto's queue; the monitors get it in any run-loop mode.
        scheduleAt(now, WorkItem{std::move(event), nullptr, WorkKind::runLoopSource, commonModes});
        return;
    }
    event();
}

void SimDesktop::State::flushHeldEvents() {
    std::vector<std::function<void()>> events = std::move(heldEvents);
    heldEvents.clear();
    for (auto& event : events) deliver(std::move(event));
}

}  // namespace quelto::sim
