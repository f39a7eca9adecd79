// The interface commands of the scenario language: the menu-bar menu and icon, the settings
// window and its controls, the pasteboard and alerts, and what `show` prints. Each prints or
// operates what a person would see. Their expectations are in ScenarioInterfaceExpectations.cpp.

#include <algorithm>
#include <functional>
#include <map>

#include "app/AppController.h"
#include "app/MenuRendering.h"
#include "app/StatusItemModel.h"
#include "platform/BuildSettings.h"
#include "sim/SimApplicationHost.h"
#include "simtool/ScenarioInterfaceSupport.h"
#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"
#include "ui/MainWindowModel.h"
#include "ui/TabRendering.h"

namespace quelto::simtool {

namespace {

// A button (or link button) of a tab by its title, searched through rows and columns.
const ViewElement* findButton(const std::vector<ViewElement>& elements, const std::string& title) {
    for (const ViewElement& e : elements) {
        if ((e.kind == ViewElement::Kind::button || e.kind == ViewElement::Kind::linkButton) &&
            e.text == title)
            return &e;
        if (const ViewElement* inner = findButton(e.children, title)) return inner;
    }
    return nullptr;
}

void collectButtons(const std::vector<ViewElement>& elements, std::vector<std::string>& out) {
    for (const ViewElement& e : elements) {
        if (e.kind == ViewElement::Kind::button || e.kind == ViewElement::Kind::linkButton)
            out.push_back(inQuotes(e.text));
        collectButtons(e.children, out);
    }
}

// "⌘,", "⌘H", "⇧⌘Z": a key equivalent as the menu shows it.
std::string keyShown(const std::string& key) {
    if (key.empty()) return "";
    if (key.size() == 1 && key[0] >= 'A' && key[0] <= 'Z') return "⇧⌘" + key;
    std::string k = key;
    if (k.size() == 1 && k[0] >= 'a' && k[0] <= 'z') k[0] = static_cast<char>(k[0] - 'a' + 'A');
    return "⌘" + k;
}

std::string iconText(const StatusIcon& icon) {
    return icon.fallbackTitle + " " + icon.imageName + ".png  tooltip " + inQuotes(icon.toolTip) +
           "\n";
}

std::string alertsText(const std::vector<AlertDescription>& alerts) {
    if (alerts.empty()) return "(no alerts)\n";
    std::string s;
    for (std::size_t i = 0; i < alerts.size(); ++i) {
        const AlertDescription& a = alerts[i];
        s += std::to_string(i + 1) + ". " + a.messageText + "\n";
        std::string info = a.informativeText;
        std::size_t start = 0;
        while (start <= info.size() && !info.empty()) {
            auto nl = info.find('\n', start);
            std::string l = info.substr(start, nl == std::string::npos ? nl : nl - start);
            s += (l.empty() ? std::string() : "   " + l) + "\n";
            if (nl == std::string::npos) break;
            start = nl + 1;
        }
        std::string buttons;
        for (const std::string& b : a.buttons)
            buttons += (buttons.empty() ? "" : "  ") + ("[" + b + "]");
        s += "   " + (buttons.empty() ? std::string("[OK]") : buttons) + "\n";
    }
    return s;
}

// Where a window is, when it is not simply on screen: "minimised", "Space 2", ….
std::string whereText(sim::SimDesktop& d, sim::ElementId w) {
    std::string s;
    auto add = [&s](const std::string& word) { s += (s.empty() ? "  (" : ", ") + word; };
    if (d.isMinimized(w)) add("minimised");
    if (d.isHidden(d.ownerOf(w))) add("hidden");
    if (d.isFullScreen(w)) add("full screen");
    if (auto space = d.spaceOf(w); space && *space != d.currentSpace() && !d.isFullScreen(w))
        add("Space " + std::to_string(*space));
    else if (space && *space != d.currentSpace())
        add("its own Space");
    return s.empty() ? s : s + ")";
}

std::string desktopText(ScenarioRunner& r) {
    std::string s;
    sim::SimDesktop& d = r.desktop();
    auto front = d.frontmostApplication();
    std::map<Pid, std::string> names;
    for (const auto& app : d.runningApplications()) {
        Pid pid = app->processIdentifier();
        names[pid] = app->localizedName().value_or("(no name)");
        s += (front && front->processIdentifier() == pid ? "▶ " : "  ") + names[pid] + "  pid " +
             std::to_string(pid) + "  " + app->bundleIdentifier().value_or("(no bundle id)") +
             "  " + policyName(app->activationPolicy()) + (d.isHidden(pid) ? "  hidden" : "") +
             "\n";
        // Titles as the scenario gave them: reading them through Accessibility would count
        // as reads and use up injected errors.
        for (sim::ElementId w : d.windowsOf(pid))
            s += "      window " + inQuotes(r.windowTitle(w).value_or("(untitled)")) +
                 whereText(d, w) + "\n";
    }
    auto stack = d.stackingOrder();
    if (stack.empty()) return s;
    s += "Windows, front to back (Space " +
         (d.currentSpace() > 1000 ? std::string("full screen") : std::to_string(d.currentSpace())) +
         " is current):\n";
    int n = 0;
    for (sim::ElementId w : stack)
        s += "  " + std::to_string(++n) + ". " + names[d.ownerOf(w)] + " " +
             inQuotes(r.windowTitle(w).value_or("(untitled)")) + whereText(d, w) + "\n";
    return s;
}

}  // namespace

void Parser::menuCommand(Args& args) {
    auto verb = args.bare("open or choose");
    if (!verb || !requireStarted(*this, args)) return;
    int line = args.line();
    if (*verb == "open") {
        if (!args.end()) return;
        addStep(line, "menu", [line](ScenarioRunner& r) {
            if (auto* item = statusItem(r, line))
                r.show(line, "menu", renderMenu(item->menuNeedsUpdate()));
        });
        return;
    }
    if (*verb != "choose") return args.fail("menu takes open or choose, not " + inQuotes(*verb));
    auto title = args.text("the row's title");
    if (!title) return;
    std::optional<std::string> sub;
    if (!args.done()) {
        sub = args.text("the submenu row's title");
        if (!sub) return;
    }
    if (!args.end()) return;
    std::string t = *title;
    addStep(line, "menu", [line, t, sub](ScenarioRunner& r) {
        auto* item = statusItem(r, line);
        if (!item) return;
        std::vector<MenuRow> rows = item->menuNeedsUpdate();
        const MenuRow* row = findRow(rows, t);
        if (!row)
            return r.error(
                line, "the menu has no row " + inQuotes(t) + " (it has " + rowTitles(rows) + ")");
        if (sub) {
            const MenuRow* parent = row;
            row = findRow(parent->submenu, *sub);
            if (!row)
                return r.error(line, "the submenu " + inQuotes(t) + " has no row " +
                                         inQuotes(*sub) + " (it has " + rowTitles(parent->submenu) +
                                         ")");
        } else if (!row->submenu.empty()) {
            return r.error(line, "the row " + inQuotes(t) +
                                     " opens a submenu: name one of its rows (" +
                                     rowTitles(row->submenu) + ")");
        }
        if (!row->enabled)
            return r.error(line, "the menu row " + inQuotes(row->title) + " is disabled");
        MenuRow chosen = *row;
        item->perform(chosen);
    });
}

void Parser::settingsCommand(Args& args) {
    auto verb = args.bare("what to do in the settings window");
    if (!verb || !requireStarted(*this, args)) return;
    int line = args.line();
    auto onOff = [&](const std::string& what) -> std::optional<bool> {
        auto w = args.bare(what);
        if (!w) return std::nullopt;
        if (*w == "on") return true;
        if (*w == "off") return false;
        args.fail(what + " is on or off, not " + inQuotes(*w));
        return std::nullopt;
    };
    if (*verb == "open") {
        std::optional<std::string> tab;
        if (!args.done()) {
            tab = tabWord(args);
            if (!tab) return;
        }
        if (!args.end()) return;
        addStep(line, "settings", [line, tab](ScenarioRunner& r) {
            AppController* c = r.appController();
            if (!c) return r.error(line, "Quelto is not running");
            c->showWindow(tab);
            if (auto w = c->mainWindow()) r.show(line, "settings window", renderWindow(*w));
        });
    } else if (*verb == "tab") {
        auto t = tabWord(args);
        if (!t || !args.end()) return;
        std::string tab = *t;
        addStep(line, "settings", [line, tab](ScenarioRunner& r) {
            if (auto w = settingsWindow(r, line)) {
                w->select(tab);
                r.show(line, "settings window", renderWindow(*w));
            }
        });
    } else if (*verb == "close") {
        if (!args.end()) return;
        addStep(line, "settings", [line](ScenarioRunner& r) {
            if (!settingsWindow(r, line)) return;
            r.host()->settingsWindowClosed();
            r.appController()->settingsWindowWillClose();
        });
    } else if (*verb == "switch" || *verb == "login") {
        auto on = onOff(*verb == "switch" ? "the switch" : "the login check box");
        if (!on || !args.end()) return;
        bool value = *on;
        bool isSwitch = *verb == "switch";
        addStep(line, "settings", [line, value, isSwitch](ScenarioRunner& r) {
            auto w = settingsWindow(r, line);
            if (!w) return;
            if (isSwitch)
                w->toggleLive(value);
            else
                w->toggleLoginItem(value);
        });
    } else if (*verb == "mode") {
        auto m = args.bare("last-window or red-dot");
        if (!m || !args.end()) return;
        int segment;
        if (*m == "last-window")
            segment = 0;
        else if (*m == "red-dot")
            segment = 1;
        else
            return args.fail("the mode is last-window or red-dot, not " + inQuotes(*m));
        addStep(line, "settings", [line, segment](ScenarioRunner& r) {
            if (auto w = settingsWindow(r, line)) w->changeQuitMode(segment);
        });
    } else if (*verb == "escape") {
        auto e = args.bare("shift, option or none");
        if (!e || !args.end()) return;
        int index;
        if (*e == "shift")
            index = 0;
        else if (*e == "option")
            index = 1;
        else if (*e == "none")
            index = 2;
        else
            return args.fail("the escape key is shift, option or none, not " + inQuotes(*e));
        addStep(line, "settings", [line, index](ScenarioRunner& r) {
            if (auto w = settingsWindow(r, line)) w->changeEscape(index);
        });
    } else if (*verb == "never-quit") {
        auto id = args.word("a bundle id");
        if (!id) return;
        auto on = onOff("the Never quit box");
        if (!on || !args.end()) return;
        std::string bundle = id->text;
        bool value = *on;
        addStep(line, "settings", [line, bundle, value](ScenarioRunner& r) {
            auto w = settingsWindow(r, line);
            if (!w) return;
            const auto& rows = w->appRows();
            auto it = std::find_if(
                rows.begin(), rows.end(),
                [&](const MainWindowModel::AppRow& row) { return row.bundleID == bundle; });
            if (it == rows.end()) return r.error(line, "the Apps tab has no row for " + bundle);
            if (!MainWindowModel::excludeBox(*it).enabled)
                return r.error(line, "the Never quit box of " + it->name + " is disabled");
            w->toggleExclusion(bundle, value);
        });
    } else if (*verb == "add-app") {
        std::vector<std::string> paths;
        bool cancel = args.accept("cancel");
        while (!cancel && !args.done()) {
            auto p = args.word("the chosen applications' paths");
            if (!p) return;
            paths.push_back(p->text);
        }
        if (!args.end()) return;
        if (!cancel && paths.empty())
            return void(args.word("the chosen applications' paths, or cancel"));
        addStep(line, "settings", [line, paths, cancel](ScenarioRunner& r) {
            auto w = settingsWindow(r, line);
            if (!w) return;
            w->addAppClicked();
            if (!cancel) w->addApp(paths);
        });
    } else if (*verb == "press") {
        auto title = args.text("the button's title");
        if (!title || !args.end()) return;
        std::string t = *title;
        addStep(line, "settings", [line, t](ScenarioRunner& r) {
            auto w = settingsWindow(r, line);
            if (!w) return;
            TabContent content = w->content(w->selectedTab());
            const ViewElement* button = findButton(content.elements, t);
            if (!button) {
                std::vector<std::string> titles;
                collectButtons(content.elements, titles);
                std::string list;
                for (const auto& b : titles) list += (list.empty() ? "" : ", ") + b;
                return r.error(line, "the " + content.label + " tab has no button " + inQuotes(t) +
                                         (list.empty() ? "" : " (it has " + list + ")"));
            }
            if (button->action == WindowAction::checkForUpdates) return w->checkForUpdates(nullptr);
            if (button->action == WindowAction::addApp) return w->addAppClicked();
            if (!w->perform(button->action))
                r.error(line, "the button " + inQuotes(t) + " does nothing in the simulator");
        });
    } else {
        std::vector<std::string> verbs = {"open",   "tab",   "close",      "switch",  "mode",
                                          "escape", "login", "never-quit", "add-app", "press"};
        std::string message = "unknown settings action " + inQuotes(*verb);
        if (auto near = closestWord(*verb, verbs)) message += " (did you mean \"" + *near + "\"?)";
        args.fail(message);
    }
}

void Parser::showCommand(Args& args) {
    auto what = args.bare("what to show");
    if (!what) return;
    int line = args.line();
    if (*what == "apps") {
        if (!args.end()) return;
        addStep(line, "show",
                [line](ScenarioRunner& r) { r.show(line, "desktop", desktopText(r)); });
        return;
    }
    if (*what == "opened") return showOpened(args);
    if (*what == "pasteboard") {
        if (!args.end()) return;
        addStep(line, "show", [line](ScenarioRunner& r) {
            r.show(line, "pasteboard", r.desktop().pasteboardText());
        });
        return;
    }
    if (*what == "alerts") {
        if (!args.end()) return;
        addStep(line, "show", [line](ScenarioRunner& r) {
            r.show(line, "alerts", alertsText(r.desktop().shownAlerts()));
        });
        return;
    }
    if (*what == "menu" || *what == "icon" || *what == "window" || *what == "tab" ||
        *what == "main-menu") {
        if (!requireStarted(*this, args)) return;
        std::optional<std::string> tab;
        if (*what == "tab") {
            tab = tabWord(args);
            if (!tab) return;
        }
        if (!args.end()) return;
        std::string w = *what;
        addStep(line, "show", [line, w, tab](ScenarioRunner& r) {
            if (w == "menu") {
                if (auto* item = statusItem(r, line))
                    r.show(line, "menu", renderMenu(item->menuNeedsUpdate()));
            } else if (w == "icon") {
                if (!statusItem(r, line)) return;
                const auto& icon = r.host()->icon();
                r.show(line, "menu-bar icon", icon ? iconText(*icon) : "(none)\n");
            } else if (w == "main-menu") {
                if (!r.host()) return r.error(line, "Quelto is not running");
                std::string s;
                for (const MainMenuMenu& m : r.host()->mainMenu()) {
                    s += (m.title.empty() ? std::string("Quelto") : m.title) + "\n";
                    for (const MainMenuItem& item : m.items) {
                        if (item.separator)
                            s += "    ────────────────\n";
                        else
                            s +=
                                "    " + item.title +
                                (item.keyEquivalent.empty() ? ""
                                                            : "  " + keyShown(item.keyEquivalent)) +
                                "\n";
                    }
                }
                r.show(line, "main menu", s);
            } else if (auto win = settingsWindow(r, line)) {
                if (w == "window")
                    r.show(line, "settings window", renderWindow(*win));
                else
                    r.show(line, "settings tab " + *tab, renderTab(*win, *tab));
            }
        });
        return;
    }
    std::vector<std::string> whats = {"menu",       "icon",   "window", "tab",   "main-menu",
                                      "pasteboard", "alerts", "apps",   "opened"};
    std::string message =
        "show takes menu, icon, window, tab TAB, main-menu, pasteboard, alerts, apps or opened, "
        "not " +
        inQuotes(*what);
    if (auto near = closestWord(*what, whats))
        message = "cannot show " + inQuotes(*what) + " (did you mean \"" + *near + "\"?)";
    args.fail(message);
}

}  // namespace quelto::simtool

namespace quelto::simtool {

void Parser::installCommand(Args& args) {
    auto path = args.word("the application's path, as in /Applications/Mail.app");
    if (!path) return;
    std::optional<std::string> bundle;
    bool bundleGiven = false;
    std::optional<std::string> name;
    while (!args.done()) {
        auto t = args.word("a bundle id or a display name");
        if (!t) return;
        if (t->quoted) {
            name = t->text;
        } else if (t->text == "no-bundle") {
            bundleGiven = true;
        } else if (!bundleGiven) {
            bundle = t->text;
            bundleGiven = true;
        } else {
            return args.fail("unexpected \"" + t->text + "\" — " + args.usage());
        }
    }
    if (!args.end()) return;
    std::string p = path->text;
    if (!name) {
        auto slash = p.find_last_of('/');
        name = slash == std::string::npos ? p : p.substr(slash + 1);
    }
    std::string n = *name;
    addStep(args.line(), "install",
            [p, bundle, n](ScenarioRunner& r) { r.desktop().installApplication(p, bundle, n); });
}

void Parser::loginItemCommand(Args& args) {
    auto w = args.bare("the login item's status, or fails");
    if (!w) return;
    int line = args.line();
    if (*w == "fails") {
        auto e = args.text("the error's description");
        if (!e || !args.end()) return;
        std::string error = *e;
        addStep(line, "login-item",
                [error](ScenarioRunner& r) { r.desktop().setLoginItemError(error); });
        return;
    }
    LoginItem::Status status;
    if (*w == "enabled")
        status = LoginItem::Status::enabled;
    else if (*w == "not-registered")
        status = LoginItem::Status::notRegistered;
    else if (*w == "requires-approval")
        status = LoginItem::Status::requiresApproval;
    else if (*w == "not-found")
        status = LoginItem::Status::notFound;
    else
        return args.fail(
            "the login item is enabled, not-registered, requires-approval or not-found, not " +
            inQuotes(*w));
    if (!args.end()) return;
    addStep(line, "login-item",
            [status](ScenarioRunner& r) { r.desktop().setLoginItemStatus(status); });
}

void Parser::alertAnswerCommand(Args& args) {
    auto n = args.integer("a button number, as in 1000");
    if (!n || !args.end()) return;
    if (*n < 1000 || *n > 1010)
        return args.fail("alert buttons are numbered from 1000 (the first)");
    long answer = static_cast<long>(*n);
    addStep(args.line(), "alert-answer",
            [answer](ScenarioRunner& r) { r.desktop().queueAlertAnswer(answer); });
}

void Parser::updateReplyCommand(Args& args) {
    int line = args.line();
    HttpResult reply;
    if (args.accept("unreachable")) {
        auto e = args.text("the network error's description");
        if (!e || !args.end()) return;
        reply.transportError = *e;
    } else {
        auto status = args.integer("an HTTP status, as in 200");
        if (!status) return;
        if (*status < 100 || *status > 599)
            return args.fail("an HTTP status is between 100 and 599");
        auto body = args.text("the reply's body");
        if (!body || !args.end()) return;
        reply.statusCode = static_cast<int>(*status);
        reply.body = *body;
    }
    addStep(line, "update-reply", [reply](ScenarioRunner& r) {
        r.desktop().setHttpReply(std::string(build::siteURL) + "/api/latest", reply);
    });
}

}  // namespace quelto::simtool
