// Windows: opened (plain, dialogs, sheets), answered, closed without a click, moved,
// resized, focused, retitled, and their close buttons and subroles changed.

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

std::optional<sim::CloseButtonDescription> Parser::closeButtonDescription(
    Args& args, sim::CloseButtonDescription desc) {
    auto w = args.bare("enabled, disabled, unreadable, missing [ERROR] or frame X,Y WxH");
    if (!w) return std::nullopt;
    if (*w == "enabled") {
        desc.present = true;
        desc.enabled = true;
    } else if (*w == "disabled") {
        desc.present = true;
        desc.enabled = false;
    } else if (*w == "unreadable") {
        desc.present = true;
        desc.enabled = std::nullopt;
    } else if (*w == "missing") {
        desc.present = false;
        desc.missingError = axerror::attributeUnsupported;
        if (const Token* t = args.peek(); t && !t->quoted) {
            if (auto e = parseAXError(t->text)) {
                desc.missingError = *e;
                args.accept(t->text);
            }
        }
    } else if (*w == "frame") {
        auto p = args.point("the close button's origin");
        if (!p) return std::nullopt;
        auto s = args.size("the close button's size");
        if (!s) return std::nullopt;
        desc.present = true;
        desc.frame = Rect{*p, *s};
    } else {
        args.fail(
            "a close button is enabled, disabled, unreadable, missing [ERROR] or frame X,Y WxH, "
            "not " +
            inQuotes(*w));
        return std::nullopt;
    }
    return desc;
}

void Parser::windowCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto title = args.text("a window title");
    if (!title) return;
    sim::WindowDescription desc;
    desc.title = *title;
    bool notify = true;
    while (!args.done()) {
        auto w = args.bare("a window option");
        if (!w) return;
        if (*w == "at") {
            auto p = args.point("the window's origin");
            if (!p) return;
            desc.frame.origin = *p;
        } else if (*w == "size") {
            auto s = args.size("the window's size");
            if (!s) return;
            desc.frame.size = *s;
        } else if (*w == "role") {
            auto r = args.word("a role");
            if (!r) return;
            desc.role = r->text;
        } else if (*w == "subrole") {
            auto s = args.word("a subrole or none");
            if (!s) return;
            if (!s->quoted && s->text == "none")
                desc.subrole.reset();
            else
                desc.subrole = s->text;
        } else if (*w == "close-button") {
            auto b = closeButtonDescription(args, desc.closeButton);
            if (!b) return;
            desc.closeButton = *b;
        } else if (*w == "asks-to-save") {
            desc.asksToSave = true;
        } else if (*w == "close-delay") {
            auto d = args.duration("a duration");
            if (!d) return;
            desc.closeDelay = *d;
        } else if (*w == "space") {
            auto n = spaceNumber(args);
            if (!n) return;
            desc.space = *n;
        } else if (*w == "unannounced") {
            notify = false;
        } else if (*w == "hides-on-close") {
            desc.hidesOnClose = true;
        } else if (*w == "floating") {
            desc.layer = 3;  // kCGFloatingWindowLevel: "always on top"
        } else if (*w == "layer") {
            auto n = args.integer("a window-server layer, as in 3");
            if (!n) return;
            desc.layer = static_cast<int>(*n);
        } else {
            std::vector<std::string> options = {
                "at",           "size",           "role",        "subrole",
                "close-button", "asks-to-save",   "close-delay", "space",
                "unannounced",  "hides-on-close", "floating",    "layer"};
            std::string message = "unknown window option " + inQuotes(*w);
            if (auto near = closestWord(*w, options))
                message += " (did you mean \"" + *near + "\"?)";
            return args.fail(message);
        }
    }
    if (!args.ok()) return;
    titles[*handle].insert(*title);
    std::string h = *handle;
    int line = args.line();
    addStep(line, "window", [h, desc, notify, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (!pid) return;
        sim::ElementId id = r.desktop().addWindow(*pid, desc, notify);
        r.rememberWindow(h, desc.title, id, desc.frame);
    });
}

void Parser::dialogCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto title = args.text("a dialog title");
    if (!title) return;
    std::string subrole = "AXDialog";
    bool appModal = false;
    if (args.accept("subrole") || (!args.done() && !args.peekIs("app-modal"))) {
        auto s = args.bare("a subrole, as in AXSystemDialog");
        if (!s) return;
        subrole = *s;
    }
    if (args.accept("app-modal")) appModal = true;
    if (!args.end()) return;
    titles[*handle].insert(*title);
    std::string h = *handle, t = *title;
    int line = args.line();
    addStep(line, "dialog", [h, t, subrole, appModal, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (!pid) return;
        sim::ElementId id = r.desktop().showDialog(*pid, subrole, t, appModal);
        // The desktop places its dialogs itself; their frame is read once, as they open,
        // before any error the scenario injects later could be used up by the read.
        Rect frame{{400, 300}, {420, 180}};
        auto element = r.desktop().element(id);
        std::optional<AXValue> position, size;
        if (element && element->copyAttributeValue("AXPosition", position).isSuccess() &&
            element->copyAttributeValue("AXSize", size).isSuccess() && position && size) {
            if (const Point* p = position->get<Point>()) frame.origin = *p;
            if (const Size* z = size->get<Size>()) frame.size = *z;
        }
        r.rememberWindow(h, t, id, frame);
    });
}

void Parser::sheetCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "sheet", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second)) r.desktop().showSheet(*id);
    });
}

void Parser::answerCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto how = args.bare("save, save-as, dont-save or cancel");
    if (!how) return;
    bool closes = false;
    bool saveAs = *how == "save-as";
    if (*how == "save" || *how == "dont-save" || *how == "delete")
        closes = true;
    else if (*how != "cancel" && !saveAs)
        return args.fail("a sheet is answered with save, save-as, dont-save or cancel, not " +
                         inQuotes(*how));
    if (!args.end()) return;
    int line = args.line();
    addStep(line, "answer", [ref, closes, saveAs, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        if (saveAs)
            r.desktop().answerSheetWithSaveAs(*id);
        else
            r.desktop().answerSheet(*id, closes);
    });
}

void Parser::closeCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "close", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().closeWindowWithoutClick(*id);
    });
}

void Parser::moveCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to")) return void(args.fail("move needs \"to X,Y\" — " + args.usage()));
    auto p = args.point("the new origin");
    if (!p || !args.end()) return;
    int line = args.line();
    Point to = *p;
    addStep(line, "move", [ref, to, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().moveWindow(*id, to);
        Rect f = r.windowFrame(*id).value_or(Rect{});
        f.origin = to;
        r.setWindowFrame(*id, f);
    });
}

void Parser::resizeCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to")) return void(args.fail("resize needs \"to WxH\" — " + args.usage()));
    auto s = args.size("the new size");
    if (!s || !args.end()) return;
    int line = args.line();
    Size to = *s;
    addStep(line, "resize", [ref, to, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().resizeWindow(*id, to);
        Rect f = r.windowFrame(*id).value_or(Rect{});
        f.size = to;
        r.setWindowFrame(*id, f);
    });
}

void Parser::focusCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "focus", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second)) r.desktop().focusWindow(*id);
    });
}

void Parser::retitleCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to"))
        return void(args.fail("retitle needs to \"NEW TITLE\" — " + args.usage()));
    auto to = args.text("the new title");
    if (!to || !args.end()) return;
    titles[ref->first].insert(*to);
    int line = args.line();
    std::string newTitle = *to;
    addStep(line, "retitle", [ref, newTitle, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().setTitle(*id, newTitle);
        r.retitleWindow(ref->first, ref->second, newTitle);
    });
}

void Parser::closeButtonCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto desc = closeButtonDescription(args, sim::CloseButtonDescription{});
    if (!desc || !args.end()) return;
    int line = args.line();
    sim::CloseButtonDescription b = *desc;
    addStep(line, "close-button", [ref, b, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().setCloseButton(*id, b);
    });
}

void Parser::subroleCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto s = args.word("a subrole or none");
    if (!s || !args.end()) return;
    std::optional<std::string> subrole;
    if (s->quoted || s->text != "none") subrole = s->text;
    int line = args.line();
    addStep(line, "subrole", [ref, subrole, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().setSubrole(*id, subrole);
    });
}

}  // namespace quelto::simtool
