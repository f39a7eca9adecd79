// The user's mouse and keyboard: left clicks (at a point, on a close button, on a visible
// point of a window), presses held and released elsewhere, right clicks and key presses.

#include <cctype>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

// Why a window offers no point to click, for the run's message.
std::string whyHidden(ScenarioRunner& r, sim::ElementId id, const std::string& handle) {
    sim::SimDesktop& d = r.desktop();
    if (d.isMinimized(id)) return "it is minimised";
    if (d.isHidden(d.ownerOf(id))) return handle + " is hidden";
    if (auto space = d.spaceOf(id); space && *space != d.currentSpace()) {
        auto spaceName = [](int n) {
            return n > 1000 ? std::string("a full-screen Space") : "Space " + std::to_string(n);
        };
        return "it is on " + spaceName(*space) + " and the current Space is " +
               spaceName(d.currentSpace());
    }
    Rect f = d.windowFrame(id).value_or(Rect{});
    Point middle{f.origin.x + f.size.width / 2, f.origin.y + f.size.height / 2};
    if (auto top = d.windowAt(middle); top && *top != id) {
        std::string owner = "another app";
        for (const auto& app : d.runningApplications())
            if (app->processIdentifier() == d.ownerOf(*top))
                owner = app->localizedName().value_or("pid " + std::to_string(d.ownerOf(*top)));
        return "it is covered by " + owner + "’s window " +
               inQuotes(r.windowTitle(*top).value_or("(untitled)"));
    }
    return "it is covered by other windows";
}

// The screen point a click or press aims at, or a run-time error.
std::optional<Point> aimAt(ScenarioRunner& r, int line, const MouseTarget& target) {
    if (target.point) return target.point;
    const auto& [handle, title] = *target.window;
    auto id = r.openWindow(line, handle, title);
    if (!id) return std::nullopt;
    sim::SimDesktop& d = r.desktop();
    std::string name = handle + "’s window " + inQuotes(title);
    if (target.onClose) {
        auto frame = d.closeButtonFrame(*id);
        if (!frame) {
            r.error(line, name + " has no close button to click");
            return std::nullopt;
        }
        Point at{frame->origin.x + frame->size.width / 2, frame->origin.y + frame->size.height / 2};
        if (!d.isOnScreen(*id) || d.windowAt(at) != *id) {
            r.error(line,
                    name + " has no close button on screen to click: " + whyHidden(r, *id, handle));
            return std::nullopt;
        }
        return at;
    }
    auto at = d.visiblePoint(*id);
    if (!at) r.error(line, name + " has no visible point to click: " + whyHidden(r, *id, handle));
    return at;
}

}  // namespace

std::optional<MouseTarget> Parser::mouseTarget(Args& args) {
    const Token* t = args.peek();
    if (!t) {
        args.word("a point, or close APP \"TITLE\", or APP \"TITLE\"");
        return std::nullopt;
    }
    MouseTarget target;
    if (!t->quoted && parsePoint(t->text)) {
        target.point = args.point("a point");
        if (!target.point) return std::nullopt;
        return target;
    }
    target.onClose = args.accept("close");
    if (!target.onClose && !t->quoted && !apps.count(t->text) &&
        (t->text.find(',') != std::string::npos || parseNumber(t->text) ||
         (!t->text.empty() &&
          (std::isdigit(static_cast<unsigned char>(t->text[0])) || t->text[0] == '-')))) {
        args.fail(inQuotes(t->text) + " is not a screen point (as in 120,80)");
        return std::nullopt;
    }
    target.window = windowRef(args);
    if (!target.window) return std::nullopt;
    return target;
}

void Parser::clickCommand(Args& args) {
    mouseDownCommand(args, false);
}

void Parser::pressCommand(Args& args) {
    mouseDownCommand(args, true);
}

void Parser::mouseDownCommand(Args& args, bool held) {
    auto target = mouseTarget(args);
    if (!target) return;
    auto mods = modifiers(args);
    if (!mods) return;
    ModifierFlags flags = *mods;
    int line = args.line();
    addStep(line, args.command(), [target = *target, flags, held, line](ScenarioRunner& r) {
        if (r.desktop().isPressed())
            return r.error(line, "the mouse button is already down: release it first");
        auto at = aimAt(r, line, target);
        if (!at) return;
        // A click in a window raises it and activates its app; a click on a close button does
        // neither (the buttons of inactive windows work in place): the desktop sees to both.
        if (!held) return r.desktop().click(*at, flags);
        r.desktop().press(*at, flags);
        r.setPressPoint(*at);
    });
}

void Parser::releaseCommand(Args& args) {
    std::optional<Point> at;
    if (args.accept("at")) {
        at = args.point("the point where the button goes up");
        if (!at) return;
    }
    std::optional<ModifierFlags> flags;
    if (!args.done()) {
        flags = modifiers(args);
        if (!flags) return;
    }
    if (!args.end()) return;
    int line = args.line();
    addStep(line, "release", [at, flags, line](ScenarioRunner& r) {
        if (!r.desktop().isPressed())
            return r.error(line, "the mouse button is not down: press comes first");
        r.desktop().release(at.value_or(r.pressPoint()), flags);
    });
}

void Parser::rightClickCommand(Args& args) {
    auto p = args.point("a point");
    if (!p || !args.end()) return;
    Point at = *p;
    addStep(args.line(), "right-click", [at](ScenarioRunner& r) { r.desktop().rightClick(at); });
}

void Parser::keyCommand(Args& args) {
    auto k = args.word("a key, as in w");
    if (!k) return;
    auto mods = modifiers(args);
    if (!mods) return;
    std::string key = k->text;
    ModifierFlags flags = *mods;
    addStep(args.line(), "key",
            [key, flags](ScenarioRunner& r) { r.desktop().keyDown(key, flags); });
}

}  // namespace quelto::simtool
