// The user's mouse and keyboard: left mouse-downs and mouse-ups reach the global monitors
// (unless the press landed in this program's own windows); a press in a window raises and
// activates it; a close button acts when the mouse goes up on it. The desktop acts on an
// event first and hands it to the monitors after (SimLayers.cpp: late when Quelto's main
// thread is busy).

#include "sim/SimState.h"

namespace quelto::sim {

MonitorToken SimDesktop::addGlobalLeftMouseDownMonitor(Handler handler) {
    MonitorToken token = state_->nextMonitor++;
    state_->monitors.emplace(token, std::make_shared<Handler>(std::move(handler)));
    return token;
}

MonitorToken SimDesktop::addGlobalLeftMouseUpMonitor(Handler handler) {
    MonitorToken token = state_->nextMonitor++;
    state_->upMonitors.emplace(token, std::make_shared<Handler>(std::move(handler)));
    return token;
}

void SimDesktop::removeMonitor(MonitorToken token) {
    state_->monitors.erase(token);
    state_->upMonitors.erase(token);
}

namespace {

// Calls every monitor installed in `monitors` (in installation order) with the event; a
// handler may add or remove monitors meanwhile.
void callMonitors(std::map<MonitorToken, std::shared_ptr<MouseMonitor::Handler>>& monitors,
                  Point point, ModifierFlags modifiers) {
    std::vector<std::pair<MonitorToken, std::weak_ptr<MouseMonitor::Handler>>> targets;
    for (const auto& [token, handler] : monitors) targets.emplace_back(token, handler);
    for (const auto& [token, weak] : targets) {
        if (!monitors.count(token)) continue;
        auto handler = weak.lock();
        if (handler && *handler) (*handler)(point, modifiers);
    }
}

}  // namespace

std::size_t SimDesktop::monitorCount() const {
    return state_->monitors.size();
}

void SimDesktop::click(Point point, ModifierFlags modifiers) {
    // Both events are routed before the monitors see the first: a quick click is one gesture.
    State& s = *state_;
    ++s.userActions;
    press(point, modifiers);
    release(point);
    if (--s.userActions == 0) s.flushHeldEvents();
}

void SimDesktop::press(Point point, ModifierFlags modifiers) {
    State& s = *state_;
    ++s.userActions;
    s.pointer = point;
    std::optional<ElementId> hit = s.windowAt(point);
    const Element* w = hit ? s.find(*hit) : nullptr;
    // A press on a sheet goes to its window's app, never to that window's close button.
    bool onButton = w && w->desc.closeButton.present && s.buttonFrame(*w).contains(point);
    if (onButton)
        for (ElementId sheet : w->sheets)
            if (s.sheetFrame(*w).contains(point) && s.find(sheet)->alive) onButton = false;
    // The press into an own window: the global monitors see neither it nor its mouse-up.
    bool own = w && w->pid == s.ownPid;
    s.press = State::Press{point, modifiers, hit, onButton, own};
    if (!own) {
        s.deliver([&s, point, modifiers] { callMonitors(s.monitors, point, modifiers); });
        s.pressReacts(hit, onButton);
    }
    if (--s.userActions == 0) s.flushHeldEvents();
}

void SimDesktop::State::pressReacts(std::optional<ElementId> hit, bool onButton) {
    State& s = *this;
    // The window under the pointer reacts. The buttons of inactive windows work in
    // place: a press on a close button neither raises its window nor activates its app.
    if (!hit || onButton) return;
    const Element* window = s.liveWindow(*hit);
    if (!window) return;
    Pid pid = window->pid;
    if (s.frontmost != pid) s.activate(pid, false);
    s.raise(*hit);
}

void SimDesktop::release(Point point, std::optional<ModifierFlags> modifiers) {
    State& s = *state_;
    ++s.userActions;
    s.pointer = point;
    std::optional<State::Press> pressed = s.press;
    s.press.reset();
    bool own = pressed && pressed->own;
    if (!own) {
        // The keys held when the button goes up: those of the press unless the user changed
        // them in between.
        ModifierFlags flags = modifiers.value_or(pressed ? pressed->modifiers : 0);
        s.deliver([&s, point, flags] { callMonitors(s.upMonitors, point, flags); });
        if (pressed) {
            State::Press up = *pressed;
            up.modifiers = flags;
            s.releaseReacts(point, up);
        }
    }
    if (--s.userActions == 0) s.flushHeldEvents();
}

void SimDesktop::State::releaseReacts(Point point, const Press& pressed) {
    State& s = *this;
    if (!pressed.onCloseButton || !pressed.window) return;
    // The close button acts only when the button goes up on it (dragging off cancels).
    ElementId id = *pressed.window;
    const Element* w = s.liveWindow(id);
    if (!w || !s.onScreen(*w) || !s.buttonFrame(*w).contains(point)) return;
    if (s.windowAt(point) != id) return;
    const CloseButtonDescription& button = w->desc.closeButton;
    if (!button.present || button.enabled == std::optional<bool>(false)) return;
    if (!w->sheets.empty()) return;       // modal to its sheet: the button does nothing
    if (s.showsAppModal(w->pid)) return;  // an app-modal alert holds every other window
    // A hung app sees the click when it answers again.
    auto act = [&s, id, pid = w->pid, modifiers = pressed.modifiers] {
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

void SimDesktop::rightClick(Point point) {
    state_->pointer = point;
    ++state_->eventsNotMonitored;
}

void SimDesktop::mouseUp(Point point) {
    release(point, std::nullopt);
}

void SimDesktop::keyDown(const std::string&, ModifierFlags) {
    ++state_->eventsNotMonitored;
}

}  // namespace quelto::sim
