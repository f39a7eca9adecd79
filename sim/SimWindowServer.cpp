// The window server's list, from the desktop's own state: every window, sheet and overlay
// front to back (by layer, SimLayers.cpp), each with its owner, number, bounds, layer, alpha
// and whether it is on screen. Each read is counted, like the Accessibility reads, and costs
// no Accessibility round trip.

#include "sim/SimState.h"

namespace quelto::sim {

std::vector<WindowServerWindow> SimDesktop::windowList(WindowListScope scope) {
    State& s = *state_;
    ++s.windowListReads;
    std::vector<WindowServerWindow> onScreen, offScreen;
    for (const auto& [w, id] : s.drawn()) (w.onScreen ? onScreen : offScreen).push_back(w);
    if (scope == WindowListScope::allSpaces)
        onScreen.insert(onScreen.end(), offScreen.begin(), offScreen.end());
    return onScreen;
}

std::uint64_t SimDesktop::windowListReadCount() const {
    return state_->windowListReads;
}

std::optional<std::uint32_t> SimDesktop::windowNumber(ElementId window) const {
    const Element* e = state_->find(window);
    if (!e || !e->alive || (e->kind != ElementKind::window && e->kind != ElementKind::sheet))
        return std::nullopt;
    return e->number;
}

}  // namespace quelto::sim
