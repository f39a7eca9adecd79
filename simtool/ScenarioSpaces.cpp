// Where windows are: applications hidden and shown again (⌘H), windows minimised to the
// Dock and restored, desktop Spaces and windows in full screen on a Space of their own.

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

// Desktop Spaces are numbered from 1, as Mission Control shows them; sixteen at most.
constexpr long long maxSpaces = 16;

}  // namespace

std::optional<int> Parser::spaceNumber(Args& args) {
    auto n = args.integer("a Space number, as in 2");
    if (!n) return std::nullopt;
    if (*n < 1 || *n > maxSpaces) {
        args.fail("Spaces are numbered 1 to " + std::to_string(maxSpaces) + ", not " +
                  std::to_string(*n));
        return std::nullopt;
    }
    return static_cast<int>(*n);
}

void Parser::hideCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle) || !args.end()) return;
    bool hide = args.command() == "hide";
    std::string h = *handle;
    int line = args.line();
    addStep(line, args.command(), [h, hide, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (!pid) return;
        if (hide)
            r.desktop().hideApp(*pid);
        else
            r.desktop().unhideApp(*pid);
    });
}

void Parser::minimizeCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    bool minimize = args.command() == "minimize";
    int line = args.line();
    addStep(line, args.command(), [ref, minimize, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        if (minimize)
            r.desktop().minimizeWindow(*id);
        else
            r.desktop().restoreWindow(*id);
    });
}

void Parser::spaceCommand(Args& args) {
    auto n = spaceNumber(args);
    if (!n || !args.end()) return;
    int space = *n;
    addStep(args.line(), "space", [space](ScenarioRunner& r) { r.desktop().switchToSpace(space); });
}

void Parser::fullScreenCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    bool leave = args.accept("off");
    if (!leave) args.accept("on");
    if (!args.end()) return;
    int line = args.line();
    addStep(line, "full-screen", [ref, leave, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        if (leave)
            r.desktop().exitFullScreen(*id);
        else
            r.desktop().enterFullScreen(*id);
    });
}

}  // namespace quelto::simtool
