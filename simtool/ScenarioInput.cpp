// The user's mouse and keyboard: left clicks (at a point, on a close button, in a window),
// right clicks and key presses.

#include <cctype>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

void Parser::clickCommand(Args& args) {
    int line = args.line();
    const Token* t = args.peek();
    if (!t) return void(args.word("a point, or close APP \"TITLE\""));
    if (!t->quoted && parsePoint(t->text)) {
        auto p = args.point("a point");
        auto mods = modifiers(args);
        if (!p || !mods) return;
        Point at = *p;
        ModifierFlags flags = *mods;
        addStep(line, "click", [at, flags](ScenarioRunner& r) { r.desktop().click(at, flags); });
        return;
    }
    bool onClose = args.accept("close");
    if (!onClose && !t->quoted && !apps.count(t->text) &&
        (t->text.find(',') != std::string::npos || parseNumber(t->text) ||
         (!t->text.empty() &&
          (std::isdigit(static_cast<unsigned char>(t->text[0])) || t->text[0] == '-'))))
        return args.fail(inQuotes(t->text) + " is not a screen point (as in 120,80)");
    auto ref = windowRef(args);
    if (!ref) return;
    auto mods = modifiers(args);
    if (!mods) return;
    ModifierFlags flags = *mods;
    addStep(line, "click", [ref, flags, onClose, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        Point at;
        if (onClose) {
            auto frame = r.desktop().closeButtonFrame(*id);
            if (!frame)
                return r.error(line, ref->first + "’s window " + inQuotes(ref->second) +
                                         " has no close button to click");
            at = Point{frame->origin.x + frame->size.width / 2,
                       frame->origin.y + frame->size.height / 2};
        } else {
            Rect f = r.windowFrame(*id).value_or(Rect{});
            at = Point{f.origin.x + f.size.width / 2, f.origin.y + f.size.height / 2};
        }
        r.desktop().click(at, flags);
        // A click in a window's content brings its application to the front; a click on a
        // close button does not (the buttons of inactive windows work in place).
        if (!onClose) {
            if (auto* app = r.app(ref->first); app && r.desktop().isRunning(app->desc.pid))
                r.desktop().setFrontmost(app->desc.pid);
        }
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
