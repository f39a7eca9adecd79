// The window server's list, from the desktop's own state: every window and sheet front to
// back, each with its owner, number, bounds, layer (0: every window here is an ordinary
// application window) and whether it is on screen. Each read is counted, like the
// Accessibility reads, and costs no Accessibility round trip.

#include "sim/SimState.h"

namespace quelto::sim {

std::vector<WindowServerWindow> SimDesktop::windowList(WindowListScope scope) {
    State& s = *state_;
    ++s.windowListReads;
    std::vector<WindowServerWindow> onScreen, offScreen;
    auto add = [&](ElementId id, Rect bounds) {
        const Element* e = s.find(id);
        if (!e || !e->alive) return;
        WindowServerWindow w{e->pid, e->number, bounds, normalWindowLayer, s.onScreen(*e)};
        (w.onScreen ? onScreen : offScreen).push_back(w);
    };
    for (ElementId id : s.zOrder) {
        const Element* w = s.find(id);
        if (!w || !w->alive) continue;
        // A sheet is a window of its own, just in front of the window it belongs to.
        for (auto it = w->sheets.rbegin(); it != w->sheets.rend(); ++it) add(*it, s.sheetFrame(*w));
        add(id, w->desc.frame);
    }
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
