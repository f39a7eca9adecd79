// The scenario commands about Quelto's main thread: apps that stop answering Accessibility
// calls (hang), a menu or an alert the user keeps open (keep-open), and the expectation on
// how long the main thread was blocked (expect stall).

#include <algorithm>
#include <cstdio>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

std::string seconds(double s) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.3f s", s);
    return buf;
}

}  // namespace

void Parser::hangCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    std::optional<double> length;
    bool off = false;
    if (args.accept("off")) {
        off = true;
    } else if (args.accept("for")) {
        length = args.duration("how long it hangs, as in hang Mail for 10s");
        if (!length) return;
    }
    if (!args.end()) return;
    std::string h = *handle;
    int line = args.line();
    addStep(line, "hang", [h, length, off, line](ScenarioRunner& r) {
        auto* app = r.app(h);
        if (!app || !r.desktop().isRunning(app->desc.pid))
            return r.error(line, h + " is not running");
        if (off)
            r.desktop().recoverApp(app->desc.pid);
        else
            r.desktop().hangApp(app->desc.pid, length);
    });
}

void Parser::keepOpenCommand(Args& args) {
    auto what = args.bare("menu or alert");
    if (!what) return;
    if (*what != "menu" && *what != "alert")
        return args.fail("keep-open takes menu or alert, not " + inQuotes(*what));
    if (!args.accept("for")) return args.fail("keep-open needs for DURATION — " + args.usage());
    auto length = args.duration("how long it stays open, as in keep-open menu for 5s");
    if (!length || !args.end()) return;
    if (*what == "menu" && !startLine)
        return args.fail("keep-open menu needs Quelto started (its menu-bar item) before it");
    double d = *length;
    if (*what == "menu") {
        // The user opens the menu and keeps it open: the main thread tracks it in a nested loop
        // while the scenario goes on.
        addStep(args.line(), "keep-open", [d](ScenarioRunner& r) { r.desktop().trackMenu(d); });
    } else {
        addStep(args.line(), "keep-open", [d](ScenarioRunner& r) { r.desktop().holdNextAlert(d); });
    }
}

void Parser::expectStall(Args& args, bool negated) {
    if (negated) return args.fail("write expect stall at most DURATION rather than a negation");
    bool atMost = false;
    if (args.accept("at")) {
        if (args.accept("most"))
            atMost = true;
        else if (!args.accept("least"))
            return args.fail("expect stall takes at most or at least — " + args.usage());
    } else {
        return args.fail("expect stall takes at most or at least — " + args.usage());
    }
    auto limit = args.duration("a duration, as in expect stall at most 1.5s");
    if (!limit || !args.end()) return;
    double bound = *limit;
    int line = args.line();
    addExpectation(line, [line, bound, atMost](ScenarioRunner& r) {
        // The span: since the previous expect stall, or the start.
        const auto& stalls = r.desktop().stalls();
        std::size_t from = std::min(r.stallsSeen, stalls.size());
        const sim::Stall* longest = nullptr;
        for (std::size_t i = from; i < stalls.size(); ++i)
            if (!longest || stalls[i].seconds > longest->seconds) longest = &stalls[i];
        r.stallsSeen = stalls.size();
        double found = longest ? longest->seconds : 0;
        std::string what = longest ? "the longest stall was " + seconds(found) + " from " +
                                         r.timeOfDay(longest->start)
                                   : "the main thread was never blocked for 1 ms or more";
        bool holds = atMost ? found <= bound + 1e-9 : found + 1e-9 >= bound;
        r.check(line, holds,
                std::string("expected the main thread to be blocked ") +
                    (atMost ? "at most " : "at least ") + seconds(bound) +
                    " at a stretch since the previous expect stall; " + what);
    });
}

}  // namespace quelto::simtool
