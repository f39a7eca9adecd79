// The expectations of the scenario language: what the log, the journal, the desktop and the
// configuration file must show at that moment of the run.

#include <algorithm>
#include <map>

#include "settings/Activity.h"
#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

std::string ordinalEntry(int entry) {
    if (entry == 1) return "the newest journal entry";
    return "journal entry " + std::to_string(entry) + " (1 is the newest)";
}

std::string plural(std::size_t n, const std::string& one, const std::string& many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

}  // namespace

void Parser::expectCommand(Args& args) {
    bool negated = args.accept("no") || args.accept("not");
    auto subject =
        args.bare("what to expect (log, journal, running, asked-to-quit, window, config, …)");
    if (!subject) return;
    static const std::map<std::string, std::string> usages = {
        {"log", "expect [no] log [line] \"TEXT\" | expect log count N \"TEXT\""},
        {"journal",
         "expect journal [entry N] [app|bundle|cause|outcome \"TEXT\"] [quit yes|no] [left N] | "
         "expect journal size N | expect journal empty"},
        {"running", "expect [not] running APP"},
        {"asked-to-quit", "expect [not] asked-to-quit APP"},
        {"quit-requests", "expect quit-requests APP N"},
        {"window",
         "expect window APP \"TITLE\" open|closed|on-screen|off-screen|minimized|listed|"
         "unlisted|focused|front|ordered-out"},
        {"frontmost", "expect frontmost APP|none"},
        {"config", "expect [no] config [line \"LINE\"]"},
        {"menu", "expect [no] menu row \"TITLE\" [checked|unchecked|enabled|disabled]"},
        {"icon", "expect icon active|paused"},
        {"tooltip", "expect [not] tooltip \"TEXT\""},
        {"settings", "expect [no] settings [tab TAB] \"TEXT\""},
        {"pasteboard", "expect [no] pasteboard \"TEXT\""},
        {"alert", "expect [no] alert \"TEXT\""},
        {"dock-icon", "expect [no] dock-icon"},
        {"opened", "expect [no] opened \"TEXT\""},
        {"stall", "expect stall at most|at least DURATION"},
        {"space", "expect space N"},
    };
    if (auto u = usages.find(*subject); u != usages.end()) args.setUsage(u->second);
    if (*subject == "log") return expectLog(args, negated);
    if (*subject == "journal") {
        if (negated)
            return args.fail(
                "expect journal cannot be negated; expect journal empty, or a field's value");
        return expectJournal(args);
    }
    if (*subject == "running" || *subject == "asked-to-quit" || *subject == "quit-requests")
        return expectApp(args, negated, *subject);
    if (*subject == "window") {
        if (negated)
            return args.fail("write expect window APP \"TITLE\" closed rather than a negation");
        return expectWindow(args);
    }
    if (*subject == "config") return expectConfig(args, negated);
    if (*subject == "opened") return expectOpened(args, negated);
    if (*subject == "stall") return expectStall(args, negated);
    if (*subject == "space") {
        if (negated) return args.fail("expect space cannot be negated; name the current Space");
        return expectSpace(args);
    }
    if (*subject == "frontmost") {
        if (negated) return args.fail("write expect frontmost APP or expect frontmost none");
        return expectFrontmost(args);
    }
    if (expectInterface(args, negated, *subject)) return;
    if (!args.ok()) return;
    std::vector<std::string> subjects = {
        "log",        "journal",   "running",   "asked-to-quit", "quit-requests", "window",
        "config",     "frontmost", "menu",      "icon",          "tooltip",       "settings",
        "pasteboard", "alert",     "dock-icon", "opened",        "stall",         "space"};
    std::string message = "unknown expectation " + inQuotes(*subject);
    if (auto near = closestWord(*subject, subjects))
        message += " (did you mean \"" + *near + "\"?)";
    args.fail(message);
}

void Parser::expectLog(Args& args, bool negated) {
    int line = args.line();
    if (args.accept("count")) {
        if (negated) return args.fail("expect log count cannot be negated; use count 0");
        auto n = args.integer("how many lines");
        if (!n) return;
        if (*n < 0) return args.fail("a count cannot be negative");
        auto text = args.text("the text to count");
        if (!text || !args.end()) return;
        long long want = *n;
        std::string t = *text;
        addExpectation(line, [line, want, t](ScenarioRunner& r) {
            auto lines = r.logLines();
            long long found = std::count_if(lines.begin(), lines.end(), [&](const std::string& l) {
                return l.find(t) != std::string::npos;
            });
            r.check(line, found == want,
                    "expected " + plural(static_cast<std::size_t>(want), "log line", "log lines") +
                        " containing " + inQuotes(t) + "; found " + std::to_string(found));
        });
        return;
    }
    bool exact = args.accept("line");
    auto text = args.text(exact ? "the exact line" : "the text to find");
    if (!text || !args.end()) return;
    std::string t = *text;
    addExpectation(line, [line, t, exact, negated](ScenarioRunner& r) {
        auto lines = r.logLines();
        auto it = std::find_if(lines.begin(), lines.end(), [&](const std::string& l) {
            return exact ? l == t : l.find(t) != std::string::npos;
        });
        bool found = it != lines.end();
        std::string what =
            exact ? "the log line " + inQuotes(t) : "a log line containing " + inQuotes(t);
        if (!negated) {
            std::string message = "expected " + what + "; ";
            if (exact) {
                auto near = std::find_if(lines.begin(), lines.end(), [&](const std::string& l) {
                    return l.find(t) != std::string::npos ||
                           (!l.empty() && t.find(l) != std::string::npos);
                });
                message += near != lines.end()
                               ? "closest is " + inQuotes(*near)
                               : "none of the " + plural(lines.size(), "line", "lines") +
                                     " is exactly that";
            } else {
                message += "none of the " + plural(lines.size(), "line", "lines") + " has it";
            }
            r.check(line, found, message);
        } else {
            std::string message =
                "expected no " +
                (exact ? "log line " + inQuotes(t) : "log line containing " + inQuotes(t)) +
                "; found " + (found ? inQuotes(*it) : std::string());
            r.check(line, !found, message);
        }
    });
}

void Parser::expectJournal(Args& args) {
    int line = args.line();
    if (args.accept("empty")) {
        if (!args.end()) return;
        addExpectation(line, [line](ScenarioRunner& r) {
            auto n = Activity::shared().entries().size();
            r.check(line, n == 0,
                    "expected an empty journal; it has " + plural(n, "entry", "entries"));
        });
        return;
    }
    if (args.accept("size")) {
        auto n = args.integer("how many entries");
        if (!n || !args.end()) return;
        if (*n < 0) return args.fail("a size cannot be negative");
        std::size_t want = static_cast<std::size_t>(*n);
        addExpectation(line, [line, want](ScenarioRunner& r) {
            auto n = Activity::shared().entries().size();
            r.check(line, n == want,
                    "expected " + plural(want, "journal entry", "journal entries") + "; found " +
                        std::to_string(n));
        });
        return;
    }
    int entry = 1;
    if (args.accept("entry")) {
        auto n = args.integer("which entry (1 is the newest)");
        if (!n) return;
        if (*n < 1 || *n > 200)
            return args.fail("journal entries are numbered from 1 (the newest) to 200");
        entry = static_cast<int>(*n);
    }
    struct Field {
        std::string name;
        std::string want;
    };
    std::vector<Field> fields;
    while (!args.done()) {
        auto name = args.bare("a field (app, bundle, cause, outcome, quit, left)");
        if (!name) return;
        if (*name == "app" || *name == "bundle" || *name == "cause" || *name == "outcome") {
            auto v = args.text("the " + *name);
            if (!v) return;
            fields.push_back({*name, *v});
        } else if (*name == "quit") {
            auto v = args.bare("yes or no");
            if (!v) return;
            if (*v == "yes" || *v == "true")
                fields.push_back({"quit", "yes"});
            else if (*v == "no" || *v == "false")
                fields.push_back({"quit", "no"});
            else
                return args.fail("quit is yes or no, not " + inQuotes(*v));
        } else if (*name == "left") {
            auto n = args.integer("how many windows are left");
            if (!n) return;
            fields.push_back({"left", std::to_string(*n)});
        } else {
            std::vector<std::string> names = {"app", "bundle", "cause", "outcome", "quit", "left"};
            std::string message = "unknown journal field " + inQuotes(*name);
            if (auto near = closestWord(*name, names))
                message += " (did you mean \"" + *near + "\"?)";
            else
                message += " (app, bundle, cause, outcome, quit, left; or size N, or empty)";
            return args.fail(message);
        }
    }
    if (fields.empty()) return void(args.word("a field to check, as in outcome \"quitting\""));
    for (const Field& f : fields) {
        addExpectation(line, [line, entry, f](ScenarioRunner& r) {
            const auto& entries = Activity::shared().entries();
            std::string expected = "expected " + ordinalEntry(entry) + " to have ";
            std::string wantText = f.name == "quit"   ? "quit " + f.want
                                   : f.name == "left" ? f.want + " windows left"
                                                      : f.name + " " + inQuotes(f.want);
            expected += wantText;
            if (entries.size() < static_cast<std::size_t>(entry)) {
                return r.check(
                    line, false,
                    expected + "; " +
                        (entries.empty() ? std::string("the journal is empty")
                                         : "the journal has only " +
                                               plural(entries.size(), "entry", "entries")));
            }
            const Activity::Entry& e = entries[static_cast<std::size_t>(entry - 1)];
            std::string found;
            if (f.name == "app")
                found = inQuotes(e.app);
            else if (f.name == "bundle")
                found = inQuotes(e.bundleID);
            else if (f.name == "cause")
                found = inQuotes(e.cause);
            else if (f.name == "outcome")
                found = inQuotes(e.outcome);
            else if (f.name == "quit")
                found = e.quit ? "yes" : "no";
            else
                found = std::to_string(e.windowsLeft);
            std::string want = f.name == "quit" || f.name == "left" ? f.want : inQuotes(f.want);
            std::string foundText = f.name == "quit"   ? "quit " + found
                                    : f.name == "left" ? found + " windows left"
                                                       : found;
            r.check(line, found == want, expected + "; it has " + foundText);
        });
    }
}

void Parser::expectApp(Args& args, bool negated, const std::string& subject) {
    int line = args.line();
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    std::string h = *handle;
    if (subject == "quit-requests") {
        if (negated) return args.fail("expect quit-requests cannot be negated; use a count of 0");
        auto n = args.integer("how many quit requests");
        if (!n || !args.end()) return;
        if (*n < 0) return args.fail("a count cannot be negative");
        std::size_t want = static_cast<std::size_t>(*n);
        addExpectation(line, [line, h, want](ScenarioRunner& r) {
            auto pids = r.pidsOf(h);
            std::size_t found = 0;
            for (const auto& q : r.desktop().quitRequests())
                if (std::find(pids.begin(), pids.end(), q.pid) != pids.end()) ++found;
            r.check(line, found == want,
                    "expected " + plural(want, "quit request", "quit requests") + " to " + h +
                        "; found " + std::to_string(found));
        });
        return;
    }
    if (!args.end()) return;
    if (subject == "running") {
        addExpectation(line, [line, h, negated](ScenarioRunner& r) {
            auto* app = r.app(h);
            bool running = app && r.desktop().isRunning(app->desc.pid);
            r.check(line, running != negated,
                    negated ? "expected " + h + " not to be running; it is"
                            : "expected " + h + " to be running; it is not");
        });
        return;
    }
    addExpectation(line, [line, h, negated](ScenarioRunner& r) {
        auto pids = r.pidsOf(h);
        std::optional<Date> at;
        for (const auto& q : r.desktop().quitRequests())
            if (std::find(pids.begin(), pids.end(), q.pid) != pids.end() && !at) at = q.at;
        bool asked = at.has_value();
        r.check(line, asked != negated,
                negated ? "expected " + h + " not to be asked to quit; it was, at " +
                              (at ? r.timeOfDay(*at) : std::string())
                        : "expected " + h + " to be asked to quit; it was not");
    });
}

void Parser::expectWindow(Args& args) {
    int line = args.line();
    auto ref = windowRef(args);
    if (!ref) return;
    static const std::vector<std::string> states = {"open",       "closed",    "on-screen",
                                                    "off-screen", "minimized", "listed",
                                                    "unlisted",   "focused",   "front",
                                                    "ordered-out"};
    auto state = args.bare(
        "open, closed, on-screen, off-screen, minimized, listed, unlisted, "
        "focused, front or ordered-out");
    if (!state) return;
    if (std::find(states.begin(), states.end(), *state) == states.end()) {
        std::string message =
            "a window is expected open, closed, on-screen, off-screen, "
            "minimized, listed, unlisted, focused, front or ordered-out, not " +
            inQuotes(*state);
        if (auto near = closestWord(*state, states))
            message += " (did you mean \"" + *near + "\"?)";
        return args.fail(message);
    }
    if (!args.end()) return;
    std::string want = *state;
    addExpectation(line, [line, ref, want](ScenarioRunner& r) {
        std::string name = ref->first + "’s window " + inQuotes(ref->second);
        bool open = r.isWindowOpen(ref->first, ref->second);
        if (want == "open" || want == "closed") {
            bool wantOpen = want == "open";
            return r.check(line, open == wantOpen,
                           "expected " + name + " to be " + (wantOpen ? "open" : "closed") +
                               "; it is " + (open ? "open" : "closed"));
        }
        if (!open)
            return r.check(line, false, "expected " + name + " to be " + want + "; it is closed");
        sim::SimDesktop& d = r.desktop();
        sim::ElementId id = *r.openWindow(line, ref->first, ref->second);
        Pid owner = d.ownerOf(id);
        auto stack = d.stackingOrder();
        std::optional<sim::ElementId> front;
        for (sim::ElementId w : stack)
            if (d.isOnScreen(w)) {
                front = w;
                break;
            }
        // What the window is, in the words of the expectation.
        std::vector<std::string> is;
        // On screen or not as the window server lists it, every Space included.
        bool onScreen = false;
        for (const WindowServerWindow& w : d.windowList(WindowListScope::allSpaces))
            if (w.number == d.windowNumber(id)) onScreen = w.onScreen;
        is.push_back(onScreen ? "on-screen" : "off-screen");
        if (d.isMinimized(id)) is.push_back("minimized");
        is.push_back(d.isListedInAXWindows(id) ? "listed" : "unlisted");
        if (d.focusedWindow(owner) == id) is.push_back("focused");
        if (front == id) is.push_back("front");
        if (d.isOrderedOut(id)) is.push_back("ordered-out");
        bool holds = std::find(is.begin(), is.end(), want) != is.end();
        std::string found;
        for (const std::string& s : is) found += (found.empty() ? "" : ", ") + s;
        r.check(line, holds, "expected " + name + " to be " + want + "; it is " + found);
    });
}

void Parser::expectFrontmost(Args& args) {
    int line = args.line();
    auto handle = args.bare("an app or none");
    if (!handle) return;
    if (*handle != "none" && !knownApp(args, *handle)) return;
    if (!args.end()) return;
    std::string h = *handle;
    addExpectation(line, [line, h](ScenarioRunner& r) {
        auto front = r.desktop().frontmostApplication();
        std::string found = "none";
        if (front) {
            found = "pid " + std::to_string(front->processIdentifier());
            for (const std::string& handle : r.appHandles())
                if (auto* app = r.app(handle); app && app->desc.pid == front->processIdentifier())
                    found = handle;
        }
        r.check(line, found == h,
                "expected " + (h == "none" ? std::string("no app") : h) + " to be frontmost; " +
                    (front ? found + " is" : std::string("none is")));
    });
}

void Parser::expectConfig(Args& args, bool negated) {
    int line = args.line();
    if (args.done()) {
        addExpectation(line, [line, negated](ScenarioRunner& r) {
            bool exists = r.readConfig().has_value();
            r.check(line, exists != negated,
                    negated ? "expected no configuration file; there is one"
                            : "expected a configuration file; there is none");
        });
        return;
    }
    if (!args.accept("line"))
        return args.fail("expect config takes line \"TEXT\", or nothing (the file exists)");
    auto text = args.text("the exact line");
    if (!text || !args.end()) return;
    std::string t = *text;
    addExpectation(line, [line, t, negated](ScenarioRunner& r) {
        auto file = r.readConfig();
        bool found = false;
        if (file) {
            std::size_t start = 0;
            while (start <= file->size()) {
                auto nl = file->find('\n', start);
                std::string l = file->substr(start, nl == std::string::npos ? nl : nl - start);
                if (l == t) found = true;
                if (nl == std::string::npos) break;
                start = nl + 1;
            }
        }
        if (!file && !negated)
            return r.check(line, false,
                           "expected the configuration line " + inQuotes(t) +
                               "; there is no configuration file");
        r.check(line, found != negated,
                negated ? "expected no configuration line " + inQuotes(t) + "; the file has it"
                        : "expected the configuration line " + inQuotes(t) +
                              "; the file does not have it");
    });
}

}  // namespace quelto::simtool
