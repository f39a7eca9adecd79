// The scenario commands about what counts as an app's windows on a Mac: windows an app orders
// out and back in (hidden, not destroyed), an app changing its activation policy while it
// runs, whether the private Spaces lookups exist, and the expectation on the current Space.

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

void Parser::orderOutCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    bool out = args.command() == "order-out";
    int line = args.line();
    addStep(line, args.command(), [ref, out, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        if (out)
            r.desktop().orderOutWindow(*id);
        else
            r.desktop().orderInWindow(*id);
    });
}

void Parser::policyCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto w = args.bare("regular, accessory or prohibited");
    if (!w) return;
    ActivationPolicy policy;
    if (*w == "regular")
        policy = ActivationPolicy::regular;
    else if (*w == "accessory")
        policy = ActivationPolicy::accessory;
    else if (*w == "prohibited" || *w == "background")
        policy = ActivationPolicy::prohibited;
    else
        return args.fail(inQuotes(*w) + " is not regular, accessory or prohibited");
    if (!args.end()) return;
    std::string h = *handle;
    int line = args.line();
    addStep(line, "policy", [h, policy, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (pid) r.desktop().setActivationPolicy(*pid, policy);
    });
}

void Parser::spacesLookupsCommand(Args& args) {
    auto w = args.bare("available or unavailable");
    if (!w) return;
    bool available;
    if (*w == "available")
        available = true;
    else if (*w == "unavailable")
        available = false;
    else
        return args.fail(inQuotes(*w) + " is neither available nor unavailable");
    if (!args.end()) return;
    addStep(args.line(), "spaces-lookups",
            [available](ScenarioRunner& r) { r.desktop().setSpacesLookupsAvailable(available); });
}

void Parser::expectSpace(Args& args) {
    int line = args.line();
    auto n = args.integer("a Space number");
    if (!n || !args.end()) return;
    long long want = *n;
    addExpectation(line, [line, want](ScenarioRunner& r) {
        int current = r.desktop().currentSpace();
        std::string shown =
            current > 1000 ? "a full-screen Space" : "Space " + std::to_string(current);
        r.check(line, current == want,
                "expected Space " + std::to_string(want) + " to be current; " + shown + " is");
    });
}

}  // namespace quelto::simtool
