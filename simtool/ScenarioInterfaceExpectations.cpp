// The interface's expectations: the menu-bar menu, icon and tooltip, the settings window,
// the pasteboard, alerts and the Dock icon.

#include <algorithm>

#include "app/AppController.h"
#include "app/MenuRendering.h"
#include "app/StatusItemModel.h"
#include "sim/SimApplicationHost.h"
#include "simtool/ScenarioInterfaceSupport.h"
#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"
#include "ui/MainWindowModel.h"
#include "ui/TabRendering.h"

namespace quelto::simtool {

bool Parser::expectInterface(Args& args, bool negated, const std::string& subject) {
    int line = args.line();
    if (subject == "menu") {
        if (!requireStarted(*this, args, "expect " + subject)) return true;
        if (!args.accept("row")) {
            args.fail("expect menu takes row \"TITLE\" [checked|unchecked|enabled|disabled]");
            return true;
        }
        auto title = args.text("the row's title");
        if (!title) return true;
        std::optional<std::string> state;
        if (!args.done()) {
            auto s = args.bare("checked, unchecked, enabled or disabled");
            if (!s) return true;
            if (*s != "checked" && *s != "unchecked" && *s != "enabled" && *s != "disabled") {
                args.fail("a menu row is checked, unchecked, enabled or disabled, not " +
                          inQuotes(*s));
                return true;
            }
            if (negated) {
                args.fail("expect no menu row takes no state");
                return true;
            }
            state = *s;
        }
        if (!args.end()) return true;
        std::string t = *title;
        addExpectation(line, [line, t, state, negated](ScenarioRunner& r) {
            auto* item = statusItem(r, line);
            if (!item) return;
            std::vector<MenuRow> rows = item->menuNeedsUpdate();
            const MenuRow* row = findRow(rows, t);
            if (!row)
                for (const MenuRow& parent : rows)
                    if (!row) row = findRow(parent.submenu, t);
            if (negated)
                return r.check(line, !row,
                               "expected no menu row " + inQuotes(t) + "; there is one");
            if (!row)
                return r.check(
                    line, false,
                    "expected a menu row " + inQuotes(t) + "; the menu has " + rowTitles(rows));
            if (!state) return r.check(line, true, "");
            bool holds = *state == "checked"     ? row->checked
                         : *state == "unchecked" ? !row->checked
                         : *state == "enabled"   ? row->enabled
                                                 : !row->enabled;
            std::string found = std::string(row->checked ? "checked" : "unchecked") + " and " +
                                (row->enabled ? "enabled" : "disabled");
            r.check(
                line, holds,
                "expected the menu row " + inQuotes(t) + " to be " + *state + "; it is " + found);
        });
        return true;
    }
    if (subject == "icon") {
        if (!requireStarted(*this, args, "expect " + subject)) return true;
        auto s = args.bare("active or paused");
        if (!s) return true;
        if (*s != "active" && *s != "paused") {
            args.fail("the icon is active or paused, not " + inQuotes(*s));
            return true;
        }
        if (negated) {
            args.fail("write the icon's expected state rather than a negation");
            return true;
        }
        if (!args.end()) return true;
        std::string want = *s;
        addExpectation(line, [line, want](ScenarioRunner& r) {
            if (!statusItem(r, line)) return;
            const auto& icon = r.host()->icon();
            std::string found = icon ? icon->stateWord : "none";
            r.check(line, found == want, "expected the " + want + " icon; it is " + found);
        });
        return true;
    }
    if (subject == "tooltip") {
        if (!requireStarted(*this, args, "expect " + subject)) return true;
        auto t = args.text("the tooltip");
        if (!t || !args.end()) return true;
        std::string want = *t;
        addExpectation(line, [line, want, negated](ScenarioRunner& r) {
            if (!statusItem(r, line)) return;
            const auto& icon = r.host()->icon();
            std::string found = icon ? icon->toolTip : "";
            r.check(line, (found == want) != negated,
                    (negated ? "expected a tooltip other than " : "expected the tooltip ") +
                        inQuotes(want) + "; it is " + inQuotes(found));
        });
        return true;
    }
    if (subject == "settings") {
        if (!requireStarted(*this, args, "expect " + subject)) return true;
        std::optional<std::string> tab;
        if (args.accept("tab")) {
            tab = tabWord(args);
            if (!tab) return true;
        }
        auto text = args.text("the text to find");
        if (!text || !args.end()) return true;
        std::string want = *text;
        addExpectation(line, [line, tab, want, negated](ScenarioRunner& r) {
            auto w = settingsWindow(r, line);
            if (!w) return;
            std::string shown = tab ? renderTab(*w, *tab) : renderWindow(*w);
            bool found = shown.find(want) != std::string::npos;
            std::string where = tab ? "the " + *tab + " tab" : "the settings window";
            r.check(line, found != negated,
                    negated ? "expected " + where + " not to show " + inQuotes(want) + "; it does"
                            : "expected " + where + " to show " + inQuotes(want) + "; it does not");
        });
        return true;
    }
    if (subject == "pasteboard") {
        auto text = args.text("the text to find");
        if (!text || !args.end()) return true;
        std::string want = *text;
        addExpectation(line, [line, want, negated](ScenarioRunner& r) {
            const std::string& pb = r.desktop().pasteboardText();
            bool found = pb.find(want) != std::string::npos;
            r.check(line, found != negated,
                    negated
                        ? "expected the pasteboard not to hold " + inQuotes(want) + "; it does"
                        : "expected the pasteboard to hold " + inQuotes(want) + "; it holds " +
                              (pb.empty() ? std::string("nothing") : inQuotes(pb.substr(0, 80))));
        });
        return true;
    }
    if (subject == "alert") {
        auto text = args.text("the text to find");
        if (!text || !args.end()) return true;
        std::string want = *text;
        addExpectation(line, [line, want, negated](ScenarioRunner& r) {
            bool found = false;
            for (const AlertDescription& a : r.desktop().shownAlerts())
                found = found || a.messageText.find(want) != std::string::npos ||
                        a.informativeText.find(want) != std::string::npos;
            r.check(line, found != negated,
                    negated ? "expected no alert showing " + inQuotes(want) + "; one did"
                            : "expected an alert showing " + inQuotes(want) + "; " +
                                  std::to_string(r.desktop().shownAlerts().size()) +
                                  " alerts were shown, none with it");
        });
        return true;
    }
    if (subject == "dock-icon") {
        if (!requireStarted(*this, args, "expect " + subject)) return true;
        if (!args.end()) return true;
        addExpectation(line, [line, negated](ScenarioRunner& r) {
            if (!r.host()) return r.error(line, "Quelto is not running");
            // What the Dock shows: the policy of Quelto's process on the desktop.
            auto own = r.desktop().runningApplication(r.scenario().ownPid);
            bool shown = own && own->activationPolicy() == ActivationPolicy::regular;
            r.check(line, shown != negated,
                    negated ? "expected no Dock icon; Quelto shows one"
                            : "expected a Dock icon; Quelto shows none");
        });
        return true;
    }
    return false;
}

}  // namespace quelto::simtool
