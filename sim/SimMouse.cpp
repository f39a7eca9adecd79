// The user's mouse and keyboard: left mouse-downs reach the global monitors (unless they land
// in this program's own windows); a press in a window raises and activates it; a close button
// acts when the mouse goes up on it.

#include "sim/SimState.h"

namespace quelto::sim {

std::optional<ElementId> SimDesktop::State::windowAt(Point point) const {
    for (ElementId id : zOrder) {
        const Element* w = find(id);
        if (!w || !onScreen(*w)) continue;
        // A close button drawn outside its window's frame still belongs to that window.
        bool onButton = w->desc.closeButton.present && buttonFrame(*w).contains(point);
        if (w->desc.frame.contains(point) || onButton) return id;
    }
    return std::nullopt;
}

MonitorToken SimDesktop::addGlobalLeftMouseDownMonitor(Handler handler) {
    MonitorToken token = state_->nextMonitor++;
    state_->monitors.emplace(token, std::make_shared<Handler>(std::move(handler)));
    return token;
}

void SimDesktop::removeMonitor(MonitorToken token) {
    state_->monitors.erase(token);
}

std::size_t SimDesktop::monitorCount() const {
    return state_->monitors.size();
}

void SimDesktop::click(Point point, ModifierFlags modifiers) {
    press(point, modifiers);
    release(point);
}

void SimDesktop::press(Point point, ModifierFlags modifiers) {
    State& s = *state_;
    std::optional<ElementId> hit = s.windowAt(point);
    const Element* w = hit ? s.find(*hit) : nullptr;
    bool own = w && w->pid == s.ownPid;
    bool onButton = w && w->desc.closeButton.present && s.buttonFrame(*w).contains(point);
    s.press = State::Press{point, modifiers, hit, onButton};
    if (own) return;  // global monitors never see clicks in own windows

    // Every installed monitor, in installation order; a handler may add or remove monitors.
    std::vector<std::pair<MonitorToken, std::weak_ptr<Handler>>> targets;
    for (const auto& [token, handler] : s.monitors) targets.emplace_back(token, handler);
    for (const auto& [token, weak] : targets) {
        if (!s.monitors.count(token)) continue;
        auto handler = weak.lock();
        if (handler && *handler) (*handler)(point, modifiers);
    }

    // Then the window under the pointer reacts. The buttons of inactive windows work in
    // place: a press on a close button neither raises its window nor activates its app.
    if (!hit || onButton) return;
    const Element* window = s.liveWindow(*hit);
    if (!window) return;
    Pid pid = window->pid;
    if (s.frontmost != pid) s.activate(pid, false);
    s.raise(*hit);
}

void SimDesktop::release(Point point) {
    State& s = *state_;
    ++s.eventsNotMonitored;
    std::optional<State::Press> pressed = s.press;
    s.press.reset();
    if (!pressed || !pressed->onCloseButton || !pressed->window) return;
    // The close button acts only when the button goes up on it (dragging off cancels).
    ElementId id = *pressed->window;
    const Element* w = s.liveWindow(id);
    if (!w || !s.onScreen(*w) || !s.buttonFrame(*w).contains(point)) return;
    if (s.windowAt(point) != id) return;
    const CloseButtonSpec& button = w->desc.closeButton;
    if (!button.present || button.enabled == std::optional<bool>(false)) return;
    if (!w->sheets.empty()) return;       // modal to its sheet: the button does nothing
    if (s.showsAppModal(w->pid)) return;  // an app-modal alert holds every other window
    // A hung app sees the click when it answers again.
    auto act = [&s, id, pid = w->pid, modifiers = pressed->modifiers] {
        if (!s.liveWindow(id)) return;
        if (!(modifiers & modifier::option)) return s.requestClose(id);
        // Option-click closes every window of the application that can close.
        for (ElementId other : s.windowsOf(pid)) {
            const Element* o = s.liveWindow(other);
            if (!o || !o->desc.closeButton.present || o->orderedOut) continue;
            if (o->desc.closeButton.enabled == std::optional<bool>(false)) continue;
            if (!o->sheets.empty()) continue;
            s.requestClose(other);
        }
    };
    if (!s.deferWhileHung(w->pid, act)) act();
}

bool SimDesktop::isPressed() const {
    return state_->press.has_value();
}

void SimDesktop::rightClick(Point) {
    ++state_->eventsNotMonitored;
}

void SimDesktop::mouseUp(Point point) {
    release(point);
}

void SimDesktop::keyDown(const std::string&, ModifierFlags) {
    ++state_->eventsNotMonitored;
}

}  // namespace quelto::sim
