// Applications: declared as already running, launched, terminated, brought to the front,
// and how they answer a quit request.

#include <set>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

bool isKeyword(const std::string& word) {
    static const std::set<std::string> words = {"pid",
                                                "bundle",
                                                "no-bundle",
                                                "name",
                                                "no-name",
                                                "policy",
                                                "regular",
                                                "accessory",
                                                "prohibited",
                                                "background",
                                                "declines-quit",
                                                "quits-after",
                                                "quits-with-last-window",
                                                "observer-fails"};
    return words.count(word) != 0;
}

}  // namespace

sim::AppDescription Parser::appOptions(Args& args, const std::string& handle,
                                       const DeclaredApp* known) {
    sim::AppDescription desc;
    if (known)
        desc = known->desc;
    else
        desc.name = handle;
    bool pidGiven = false, bundleGiven = known != nullptr;
    if (const Token* t = args.peek(); t && !t->quoted && t->text.find('.') != std::string::npos &&
                                      !isKeyword(t->text) && !parseNumber(t->text)) {
        desc.bundleID = t->text;
        bundleGiven = true;
        args.accept(t->text);
    }
    while (!args.done()) {
        auto w = args.bare("an option");
        if (!w) break;
        if (*w == "pid") {
            auto p = args.integer("a process id");
            if (!p) break;
            if (*p < -99999999 || *p > 99999999) {
                args.fail("process id " + std::to_string(*p) + " is out of range");
                break;
            }
            desc.pid = static_cast<Pid>(*p);
            pidGiven = true;
        } else if (*w == "bundle") {
            auto b = args.word("a bundle id");
            if (!b) break;
            desc.bundleID = b->text;
            bundleGiven = true;
        } else if (*w == "no-bundle") {
            desc.bundleID.reset();
            bundleGiven = true;
        } else if (*w == "name") {
            auto n = args.word("a name");
            if (!n) break;
            desc.name = n->text;
        } else if (*w == "no-name") {
            desc.name.reset();
        } else if (*w == "policy") {
            auto p = args.bare("an activation policy");
            if (!p) break;
            auto policy = parsePolicy(*p);
            if (!policy) {
                args.fail(inQuotes(*p) +
                          " is not an activation policy (regular, accessory or prohibited)");
                break;
            }
            desc.policy = *policy;
        } else if (auto policy = parsePolicy(*w)) {
            desc.policy = *policy;
        } else if (*w == "declines-quit") {
            desc.declinesQuit = true;
        } else if (*w == "quits-after") {
            auto d = args.duration("a duration");
            if (!d) break;
            desc.quitDelay = *d;
            desc.declinesQuit = false;
        } else if (*w == "quits-with-last-window") {
            desc.quitsWithLastWindow = true;
        } else if (*w == "observer-fails") {
            auto err = accessibilityError(args);
            if (!err) break;
            desc.observerError = *err;
        } else {
            std::vector<std::string> options = {
                "pid",           "bundle",        "no-bundle",   "name",
                "no-name",       "policy",        "regular",     "accessory",
                "prohibited",    "declines-quit", "quits-after", "quits-with-last-window",
                "observer-fails"};
            std::string message = "unknown app option " + inQuotes(*w);
            if (auto near = closestWord(*w, options))
                message += " (did you mean \"" + *near + "\"?)";
            args.fail(message);
            break;
        }
    }
    if (!args.ok()) return desc;
    if (!bundleGiven) {
        args.fail(args.command() + " " + handle + " needs a bundle id (as in " + args.command() +
                  " " + handle + " com.example.App) or no-bundle");
        return desc;
    }
    if (!pidGiven) {
        if (!known || args.command() == "launch") {
            while (usedPids.count(nextPid)) ++nextPid;
            desc.pid = nextPid++;
        }
    } else if (usedPids.count(desc.pid) && !(known && known->desc.pid == desc.pid)) {
        std::string owner;
        for (const auto& [name, app] : apps)
            if (app.desc.pid == desc.pid) owner = name;
        args.fail("pid " + std::to_string(desc.pid) + " is already " +
                  (owner.empty() ? std::string("taken") : owner + "’s"));
    }
    return desc;
}

void Parser::appCommand(Args& args) {
    auto handle = args.bare("a name, as in app TextEdit com.apple.TextEdit");
    if (!handle) return;
    if (auto it = apps.find(*handle); it != apps.end()) {
        std::string where = it->second.line ? " at line " + std::to_string(it->second.line)
                                            : " (it is Quelto itself)";
        return args.fail("app " + *handle + " is already declared" + where +
                         (it->second.line ? " (launch " + *handle + " starts it again)" : ""));
    }
    if (isKeyword(*handle) || *handle == "none" || *handle == "close")
        return args.fail(inQuotes(*handle) + " is a keyword and cannot name an app");
    sim::AppDescription desc = appOptions(args, *handle, nullptr);
    // Known from here on even when the line is wrong, so that one mistake gives one message.
    apps[*handle] = DeclaredApp{desc, args.line()};
    if (!args.ok()) return;
    usedPids.insert(desc.pid);
    std::string h = *handle;
    addStep(args.line(), "app", [h, desc](ScenarioRunner& r) {
        r.declareApp(h, desc);
        r.desktop().addApp(desc);
    });
}

void Parser::launchCommand(Args& args) {
    auto handle = args.bare("a name, as in launch Safari com.apple.Safari");
    if (!handle) return;
    if (*handle == "Quelto")
        return args.fail("Quelto is already running: it is the program under test");
    if (isKeyword(*handle) || *handle == "none" || *handle == "close")
        return args.fail(inQuotes(*handle) + " is a keyword and cannot name an app");
    auto it = apps.find(*handle);
    const DeclaredApp* known = it == apps.end() ? nullptr : &it->second;
    sim::AppDescription desc = appOptions(args, *handle, known);
    if (!args.ok()) return;
    int line = args.line();
    apps[*handle] = DeclaredApp{desc, known ? known->line : line};
    usedPids.insert(desc.pid);
    std::string h = *handle;
    addStep(line, "launch", [h, desc, line](ScenarioRunner& r) {
        if (auto* app = r.app(h); app && r.desktop().isRunning(app->desc.pid))
            return r.error(line,
                           h + " is already running (pid " + std::to_string(app->desc.pid) + ")");
        if (r.desktop().isRunning(desc.pid))
            return r.error(line, "pid " + std::to_string(desc.pid) + " is already running");
        r.declareApp(h, desc);
        r.desktop().launchApp(desc);
    });
}
void Parser::terminateCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle) || !args.end()) return;
    if (*handle == "Quelto") return args.fail("Quelto cannot be terminated in a scenario");
    std::string h = *handle;
    int line = args.line();
    addStep(line, "terminate", [h, line](ScenarioRunner& r) {
        if (auto pid = runningPid(r, line, h)) r.desktop().terminateApp(*pid);
    });
}

void Parser::frontCommand(Args& args) {
    auto handle = args.bare("an app or none");
    if (!handle) return;
    int line = args.line();
    if (*handle == "none") {
        if (!args.end()) return;
        addStep(line, "front", [](ScenarioRunner& r) { r.desktop().setFrontmost(std::nullopt); });
        return;
    }
    if (!knownApp(args, *handle) || !args.end()) return;
    std::string h = *handle;
    addStep(line, "front", [h, line](ScenarioRunner& r) {
        if (auto pid = runningPid(r, line, h)) r.desktop().setFrontmost(*pid);
    });
}

void Parser::quitResponseCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto how = args.bare("declines or after DURATION");
    if (!how) return;
    bool declines = false;
    double delay = 0.5;
    if (*how == "declines") {
        declines = true;
    } else if (*how == "after") {
        auto d = args.duration("a duration");
        if (!d) return;
        delay = *d;
    } else {
        return args.fail("quit-response takes declines or after DURATION, not " + inQuotes(*how));
    }
    if (!args.end()) return;
    std::string h = *handle;
    int line = args.line();
    addStep(line, "quit-response", [h, line, declines, delay](ScenarioRunner& r) {
        auto* app = r.app(h);
        if (!app) return r.error(line, "no app named \"" + h + "\"");
        app->desc.declinesQuit = declines;
        app->desc.quitDelay = delay;
        if (r.desktop().isRunning(app->desc.pid))
            r.desktop().setQuitBehaviour(app->desc.pid, declines, delay);
    });
}

}  // namespace quelto::simtool
