// What the system showed on Quelto's behalf: the links it opened, the files it revealed in
// the Finder and the Accessibility prompts. `show opened` lists them; `expect [no] opened
// "TEXT"` checks for one.

#include <algorithm>
#include <string>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

// What one item is, as `show opened` prints it after the time and `expect opened` matches
// it: the address, the path (the private home shown as the scenario's), or the prompt.
std::string describe(ScenarioRunner& r, const sim::OpenedItem& item) {
    switch (item.kind) {
        case sim::OpenedItem::Kind::link:
            return "link " + item.target;
        case sim::OpenedItem::Kind::revealedFile:
            return "Finder " + r.displayed(item.target);
        case sim::OpenedItem::Kind::accessibilityPrompt:
            return "Accessibility prompt";
    }
    return "";
}

std::string openedText(ScenarioRunner& r) {
    const auto& items = r.desktop().openedItems();
    if (items.empty()) return "(nothing opened)\n";
    std::string s;
    for (const sim::OpenedItem& item : items)
        s += r.timeOfDay(item.at) + "  " + describe(r, item) + "\n";
    return s;
}

}  // namespace

void Parser::showOpened(Args& args) {
    if (!args.end()) return;
    int line = args.line();
    addStep(line, "show", [line](ScenarioRunner& r) { r.show(line, "opened", openedText(r)); });
}

void Parser::expectOpened(Args& args, bool negated) {
    int line = args.line();
    auto text = args.text("what was opened: a link, a file or \"Accessibility prompt\"");
    if (!text || !args.end()) return;
    std::string want = *text;
    addExpectation(line, [line, want, negated](ScenarioRunner& r) {
        const auto& items = r.desktop().openedItems();
        bool found = std::any_of(items.begin(), items.end(), [&](const sim::OpenedItem& item) {
            return describe(r, item).find(want) != std::string::npos;
        });
        std::string message;
        if (negated) {
            message = "expected nothing opened with " + inQuotes(want) + "; it was";
        } else {
            message = "expected " + inQuotes(want) + " to have been opened; ";
            if (items.empty()) {
                message += "nothing was";
            } else {
                std::string seen;
                for (const sim::OpenedItem& item : items)
                    seen += (seen.empty() ? "" : ", ") + inQuotes(describe(r, item));
                message += "what was: " + seen;
            }
        }
        r.check(line, found != negated, message);
    });
}

}  // namespace quelto::simtool
