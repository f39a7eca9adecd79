// Quelto itself: its home folder as shown, its own process, its Accessibility access, its
// configuration file and its start.

#include "simtool/ConfigEdit.h"
#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

void Parser::homeCommand(Args& args) {
    auto t = args.word("a path, as in /Users/ada");
    if (!t || !args.end()) return;
    if (t->text.empty() || t->text[0] != '/')
        return args.fail("the home folder is an absolute path, as in /Users/ada");
    std::string h = t->text;
    while (h.size() > 1 && h.back() == '/') h.pop_back();
    scenario.displayHome = h;
}

void Parser::queltoCommand(Args& args) {
    if (args.done()) return void(args.word("pid N, regular or accessory"));
    if (startLine) return args.fail("quelto must come before start");
    while (!args.done()) {
        auto w = args.bare("pid N, regular or accessory");
        if (!w) return;
        if (*w == "pid") {
            auto pid = args.integer("Quelto's process id");
            if (!pid) return;
            if (*pid < 1 || *pid > 99999999)
                return args.fail("Quelto's process id must be above 0");
            Pid old = scenario.ownPid;
            if (*pid != old && usedPids.count(static_cast<Pid>(*pid)))
                return args.fail("pid " + std::to_string(*pid) + " is already taken");
            usedPids.erase(old);
            scenario.ownPid = static_cast<Pid>(*pid);
            usedPids.insert(scenario.ownPid);
            apps["Quelto"].desc.pid = scenario.ownPid;
        } else if (*w == "regular" || *w == "accessory") {
            scenario.ownPolicy =
                *w == "regular" ? ActivationPolicy::regular : ActivationPolicy::accessory;
            apps["Quelto"].desc.policy = scenario.ownPolicy;
        } else {
            return args.fail("unexpected \"" + *w + "\" — " + args.usage());
        }
    }
}

void Parser::accessibilityCommand(Args& args) {
    auto w = args.bare("granted or missing");
    if (!w || !args.end()) return;
    bool granted;
    if (*w == "granted" || *w == "on")
        granted = true;
    else if (*w == "missing" || *w == "denied" || *w == "off" || *w == "revoked")
        granted = false;
    else
        return args.fail(inQuotes(*w) + " is neither granted nor missing");
    addStep(args.line(), "accessibility",
            [granted](ScenarioRunner& r) { r.desktop().setTrusted(granted); });
}

void Parser::configCommand(Args& args) {
    int line = args.line();
    if (args.done()) {
        std::string text = pendingConfigText_;
        addStep(line, "config", [text](ScenarioRunner& r) { r.writeConfig(text); });
        return;
    }
    auto verb = args.bare("none, set, add or remove");
    if (!verb) return;
    if (*verb == "none") {
        if (!args.end()) return;
        addStep(line, "config", [](ScenarioRunner& r) { r.writeConfig(std::nullopt); });
        return;
    }
    if (*verb != "set" && *verb != "add" && *verb != "remove")
        return args.fail("config takes a block, none, set, add or remove, not " + inQuotes(*verb) +
                         " — " + args.usage());
    // The rest of the line is one key = value line of the file, written as the user would.
    std::string rest;
    while (!args.done()) {
        auto t = args.word("KEY = VALUE");
        if (!t) return;
        if (!rest.empty()) rest += " ";
        rest += t->text;
    }
    auto eq = rest.find('=');
    std::string key = trim(eq == std::string::npos ? rest : rest.substr(0, eq));
    std::optional<std::string> value;
    if (eq != std::string::npos) value = trim(rest.substr(eq + 1));
    if (key.empty())
        return args.fail("config " + *verb + " needs KEY = VALUE, as in config " + *verb +
                         " live = false");
    if (*verb != "remove" && !value)
        return args.fail("config " + *verb + " needs KEY = VALUE, as in config " + *verb + " " +
                         key + " = …");
    ConfigEdit edit{*verb == "set"   ? ConfigEdit::Kind::set
                    : *verb == "add" ? ConfigEdit::Kind::add
                                     : ConfigEdit::Kind::remove,
                    key, value};
    addStep(line, "config",
            [edit](ScenarioRunner& r) { r.writeConfig(applyConfigEdit(r.readConfig(), edit)); });
}

void Parser::startCommand(Args& args) {
    if (!args.end()) return;
    if (startLine)
        return args.fail("Quelto is already started at line " + std::to_string(startLine));
    startLine = args.line();
    int line = args.line();
    addStep(line, "start", [line](ScenarioRunner& r) { r.startQuelto(line); });
}

}  // namespace quelto::simtool
