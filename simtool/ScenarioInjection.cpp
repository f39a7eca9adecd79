// Accessibility errors injected into the desktop's reads, and their end.

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

void Parser::injectCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    std::optional<std::string> title;
    if (args.accept("app")) {
        // The application element itself.
    } else {
        auto t = args.text("a window title, or app");
        if (!t) return;
        if (!titles[*handle].count(*t))
            return args.fail(*handle + " has no window " + inQuotes(*t) +
                             " declared before this line");
        title = *t;
    }
    bool onButton = title && args.accept("close-button");
    auto attribute = args.bare("an attribute, as in AXCloseButton");
    if (!attribute) return;
    auto err = accessibilityError(args);
    if (!err) return;
    int times = 1;
    if (args.accept("always")) {
        times = -1;
    } else if (!args.done()) {
        auto n = args.integer("how many reads fail");
        if (!n) return;
        if (*n < 1 || *n > 1000000)
            return args.fail("the number of failing reads must be 1 or more");
        if (!args.accept("times") && !args.accept("time"))
            return args.fail("inject needs \"N times\" or \"always\" after the error — " +
                             args.usage());
        times = static_cast<int>(*n);
    }
    if (!args.end()) return;
    std::string h = *handle, attr = *attribute;
    AXError e = *err;
    int line = args.line();
    addStep(line, "inject", [h, title, onButton, attr, e, times, line](ScenarioRunner& r) {
        sim::ElementId target = 0;
        if (title) {
            auto id = r.openWindow(line, h, *title);
            if (!id) return;
            target = onButton ? r.desktop().closeButtonOf(*id) : *id;
            if (target == 0)
                return r.error(line, h + "’s window " + inQuotes(*title) + " has no close button");
        } else {
            auto pid = runningPid(r, line, h);
            if (!pid) return;
            auto id = r.applicationElementId(*pid);
            if (!id) return r.error(line, "cannot find " + h + "’s application element");
            target = *id;
        }
        r.desktop().injectError(target, attr, e, times);
    });
}

void Parser::clearErrorsCommand(Args& args) {
    if (!args.end()) return;
    addStep(args.line(), "clear-errors",
            [](ScenarioRunner& r) { r.desktop().clearInjectedErrors(); });
}

}  // namespace quelto::simtool
