// The user's mouse and keyboard: left mouse-downs reach the global monitors (unless they land
// in this program's own windows), and a click on a close button closes its window.

#include "sim/SimState.h"

namespace quelto::sim {

std::optional<ElementId> SimDesktop::State::windowAt(Point point) const {
    for (ElementId id : zOrder) {
        const Element* w = find(id);
        if (!w || !w->alive) continue;
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
    State& s = *state_;
    std::optional<ElementId> hit = s.windowAt(point);
    const Element* w = hit ? s.find(*hit) : nullptr;
    if (w && w->pid == s.ownPid) return;  // global monitors never see clicks in own windows

    // Every installed monitor, in installation order; a handler may add or remove monitors.
    std::vector<std::pair<MonitorToken, std::weak_ptr<Handler>>> targets;
    for (const auto& [token, handler] : s.monitors) targets.emplace_back(token, handler);
    for (const auto& [token, weak] : targets) {
        if (!s.monitors.count(token)) continue;
        auto handler = weak.lock();
        if (handler && *handler) (*handler)(point, modifiers);
    }

    // Then the window under the pointer reacts.
    if (!hit) return;
    w = s.liveWindow(*hit);
    if (!w) return;
    const CloseButtonSpec& button = w->desc.closeButton;
    if (!button.present || button.enabled == std::optional<bool>(false)) return;
    if (!s.buttonFrame(*w).contains(point)) return;
    if (!w->sheets.empty()) return;  // modal to its sheet: the button does nothing
    // A hung app sees the click when it answers again.
    auto act = [&s, id = *hit, pid = w->pid, modifiers] {
        if (!s.liveWindow(id)) return;
        if (modifiers & modifier::option) {
            for (ElementId window : s.windowsOf(pid)) s.requestClose(window);
        } else {
            s.requestClose(id);
        }
    };
    if (!s.deferWhileHung(w->pid, act)) act();
}

void SimDesktop::rightClick(Point) {
    ++state_->eventsNotMonitored;
}

void SimDesktop::mouseUp(Point) {
    ++state_->eventsNotMonitored;
}

void SimDesktop::keyDown(const std::string&, ModifierFlags) {
    ++state_->eventsNotMonitored;
}

}  // namespace quelto::sim
