// What a click meets on a Mac beyond application windows: the pointer moving on, windows of
// every layer (the menu bar, the Dock, menus, banners, popovers, any window at a layer), the
// close button that moves with a toolbar, and the displays' arrangement changing.

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

// The processes that own the system's own windows on the desktop. They are no applications
// of the scenario, and their ids are below every app's.
constexpr Pid windowServerPid = 80;  // the menu bar
constexpr Pid dockPid = 81;
constexpr Pid notificationCenterPid = 82;

struct OverlayKind {
    const char* name;
    int layer;
    Pid owner;  // 0: an app of the scenario must be given (owner APP)
    Rect bounds;
};

// Layers as the window server reports them (kCGMainMenuWindowLevel 24, kCGDockWindowLevel 20,
// kCGPopUpMenuWindowLevel 101); banners and popovers at the layers the desktop gives them.
const std::vector<OverlayKind>& overlayKinds() {
    static const std::vector<OverlayKind> kinds = {
        {"menu-bar", 24, windowServerPid, Rect{{0, 0}, {1512, 24}}},
        {"dock", 20, dockPid, Rect{{356, 916}, {800, 66}}},
        {"banner", 23, notificationCenterPid, Rect{{1144, 32}, {356, 72}}},
        {"menu", 101, 0, Rect{{0, 24}, {240, 300}}},
        {"popover", 101, 0, Rect{{0, 0}, {320, 200}}},
        {"window", 0, 0, Rect{{0, 0}, {400, 300}}},
    };
    return kinds;
}

}  // namespace

void Parser::pointerCommand(Args& args) {
    auto p = args.point("the point the pointer moves to");
    if (!p || !args.end()) return;
    Point at = *p;
    addStep(args.line(), "pointer", [at](ScenarioRunner& r) { r.desktop().movePointer(at); });
}

void Parser::overlayCommand(Args& args) {
    auto name = args.text("the overlay's name, in quotes");
    if (!name) return;
    if (args.accept("off")) {
        if (!args.end()) return;
        std::string n = *name;
        addStep(args.line(), "overlay", [n](ScenarioRunner& r) { r.desktop().removeOverlay(n); });
        return;
    }
    auto kindWord = args.bare("menu-bar, dock, banner, menu, popover or window");
    if (!kindWord) return;
    const OverlayKind* kind = nullptr;
    for (const OverlayKind& k : overlayKinds())
        if (*kindWord == k.name) kind = &k;
    if (!kind)
        return args.fail("an overlay is a menu-bar, dock, banner, menu, popover or window, not " +
                         inQuotes(*kindWord));
    sim::OverlayDescription desc;
    desc.name = *name;
    desc.layer = kind->layer;
    desc.bounds = kind->bounds;
    desc.owner = kind->owner;
    std::optional<std::string> ownerApp;
    while (!args.done()) {
        auto w = args.bare("an overlay option: owner APP, at X,Y, size WxH, layer N, alpha A");
        if (!w) return;
        if (*w == "owner") {
            auto app = args.bare("an app");
            if (!app || !knownApp(args, *app)) return;
            ownerApp = *app;
        } else if (*w == "at") {
            auto p = args.point("its origin");
            if (!p) return;
            desc.bounds.origin = *p;
        } else if (*w == "size") {
            auto s = args.size("its size");
            if (!s) return;
            desc.bounds.size = *s;
        } else if (*w == "layer") {
            auto n = args.integer("a window-server layer, as in 3");
            if (!n) return;
            desc.layer = static_cast<int>(*n);
        } else if (*w == "alpha") {
            auto a = args.parsed<double>("an alpha", parseNumber, "an alpha from 0 to 1");
            if (!a) return;
            desc.alpha = *a;
        } else {
            return args.fail("unknown overlay option " + inQuotes(*w) +
                             " (owner APP, at X,Y, size WxH, layer N, alpha A)");
        }
    }
    if (!args.ok()) return;
    if (!kind->owner && !ownerApp)
        return args.fail(std::string("a ") + kind->name + " belongs to an app: give owner APP");
    int line = args.line();
    addStep(line, "overlay", [desc, ownerApp, line](ScenarioRunner& r) mutable {
        if (ownerApp) {
            auto pid = runningPid(r, line, *ownerApp);
            if (!pid) return;
            desc.owner = *pid;
        }
        r.desktop().showOverlay(desc);
    });
}

void Parser::toolbarCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto state = args.bare("shown or hidden");
    if (!state) return;
    if (*state != "shown" && *state != "hidden")
        return args.fail("a toolbar is shown or hidden, not " + inQuotes(*state));
    if (!args.end()) return;
    bool shown = *state == "shown";
    int line = args.line();
    addStep(line, "toolbar", [ref, shown, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (id) r.desktop().setToolbar(*id, shown);
    });
}

void Parser::displaysCommand(Args& args) {
    if (!args.accept("shift")) return args.fail("displays shift DX,DY");
    auto p = args.point("the offset every global coordinate moves by, as in 0,-1080");
    if (!p || !args.end()) return;
    Point offset = *p;
    addStep(args.line(), "displays",
            [offset](ScenarioRunner& r) { r.desktop().shiftDisplays(offset); });
}

}  // namespace quelto::simtool
