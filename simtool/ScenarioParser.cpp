#include "simtool/ScenarioParser.h"

// The scenario reader's core: the table of every command (name, usage, summary, handler),
// the line dispatch, and the declarations (apps, window titles) that the commands share.
// Each family of commands lives in its own file:
//   ScenarioTime.cpp          clock, wait, at
//   ScenarioQuelto.cpp        home, quelto, accessibility, config, start
//   ScenarioApps.cpp          app, launch, terminate, front, quit-response
//   ScenarioWindows.cpp       window, dialog, sheet, answer, close, move, resize, focus,
//                             retitle, close-button, subrole
//   ScenarioSpaces.cpp        hide, unhide, minimize, restore, space, full-screen
//   ScenarioInput.cpp         click, press, release, right-click, key
//   ScenarioClickCommands.cpp pointer, overlay, toolbar, displays
//   ScenarioInjection.cpp     inject, clear-errors
//   ScenarioInterface.cpp     menu, settings, show, install, login-item, update-reply,
//                             alert-answer
//   ScenarioExpectations.cpp  expect (ScenarioInterfaceExpectations.cpp: the interface's)

#include <algorithm>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

// ---- Parser ----

Parser::Parser(std::string file) {
    scenario.file = std::move(file);
    sim::AppDescription own;
    own.pid = scenario.ownPid;
    own.name = "Quelto";
    own.policy = ActivationPolicy::accessory;
    apps["Quelto"] = DeclaredApp{own, 0};
    usedPids.insert(own.pid);
}

void Parser::error(int line, const std::string& message) {
    errors_.push_back(Diagnostic{scenario.file, line, Diagnostic::Kind::error, message});
}

void Parser::addStep(int line, const std::string& command,
                     std::function<void(ScenarioRunner&)> run) {
    scenario.steps.push_back(Step{line, command, std::move(run), nowMicros});
}

void Parser::addExpectation(int line, std::function<void(ScenarioRunner&)> run) {
    ++scenario.expectationCount;
    addStep(line, "expect", std::move(run));
}

const Parser::DeclaredApp* Parser::knownApp(Args& args, const std::string& handle) {
    auto it = apps.find(handle);
    if (it != apps.end()) return &it->second;
    std::vector<std::string> names;
    for (const auto& [name, app] : apps) names.push_back(name);
    std::string message = "no app named \"" + handle + "\" is declared before this line";
    if (auto near = closestWord(handle, names))
        message += " (did you mean \"" + *near + "\"?)";
    else
        message += " (declare it with app or launch)";
    args.fail(message);
    return nullptr;
}

std::optional<std::pair<std::string, std::string>> Parser::windowRef(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return std::nullopt;
    auto title = args.text("a window title");
    if (!title) return std::nullopt;
    const auto& declared = titles[*handle];
    if (!declared.count(*title)) {
        std::vector<std::string> known(declared.begin(), declared.end());
        std::string message =
            *handle + " has no window " + inQuotes(*title) + " declared before this line";
        if (auto near = closestWord(*title, known))
            message += " (did you mean " + inQuotes(*near) + "?)";
        args.fail(message);
        return std::nullopt;
    }
    return std::make_pair(*handle, *title);
}

std::optional<ModifierFlags> Parser::modifiers(Args& args) {
    ModifierFlags flags = 0;
    while (!args.done()) {
        auto m = args.parsed("modifier keys", parseModifiers,
                             "a modifier key (shift, option, command, control, joined by + as in "
                             "shift+option, or a raw flag word as in 0x20000)");
        if (!m) return std::nullopt;
        flags |= *m;
    }
    return flags;
}

// The commands that set up the desktop and its apps, windows and Spaces, and what they do.
std::vector<Parser::Command> Parser::desktopCommands() {
    return {
        {{"clock", "clock [YYYY-MM-DD] HH:MM[:SS[.mmm]] [ZONE]",
          "When the scenario starts and its time zone (UTC, +01:00, UTC-5, …). Before start, "
          "wait and at."},
         &Parser::clockCommand},
        {{"home", "home PATH",
          "How the private home folder is shown in what is printed (default /Users/you)."},
         &Parser::homeCommand},
        {{"quelto", "quelto [pid N] [regular|accessory]",
          "Quelto's own process: its id (default 99), and whether it shows in the Dock "
          "(accessory unless given)."},
         &Parser::queltoCommand},
        {{"accessibility", "accessibility granted|missing",
          "Whether Quelto has Accessibility access; after start, the user granting or "
          "revoking it."},
         &Parser::accessibilityCommand},
        {{"config",
          "config … end | config none | config set|add KEY = VALUE | config remove KEY [= VALUE]",
          "The configuration file: a block of lines up to \"end\", no file, or a hand edit of "
          "one line. Before start it is the file Quelto finds; after start, the user's edit."},
         &Parser::configCommand},
        {{"app", "app NAME [BUNDLE-ID] [OPTIONS]",
          "An application already running. Options: pid N, bundle ID, no-bundle, name \"…\", "
          "no-name, regular|accessory|prohibited, declines-quit, quits-after DURATION, "
          "quits-with-last-window, observer-fails ERROR."},
         &Parser::appCommand},
        {{"launch", "launch NAME [BUNDLE-ID] [OPTIONS]",
          "The user launches an application (new, or one declared before that is not running)."},
         &Parser::launchCommand},
        {{"terminate", "terminate NAME", "The application quits by itself (or the user quits it)."},
         &Parser::terminateCommand},
        {{"front", "front NAME|none", "Which application is frontmost."}, &Parser::frontCommand},
        {{"quit-response", "quit-response NAME declines|after DURATION",
          "How the application answers a quit request from now on."},
         &Parser::quitResponseCommand},
        {{"window", "window APP \"TITLE\" [OPTIONS]",
          "A window opens. Options: at X,Y, size WxH, role ROLE, subrole SUBROLE|none, "
          "close-button enabled|disabled|unreadable|missing [ERROR]|frame X,Y WxH, "
          "asks-to-save, close-delay DURATION, space N, unannounced, floating (always on top: "
          "layer 3), layer N."},
         &Parser::windowCommand},
        {{"dialog", "dialog APP \"TITLE\" [SUBROLE] [app-modal]",
          "A dialog window opens (subrole AXDialog unless given); app-modal: an alert that "
          "holds every other window of the app."},
         &Parser::dialogCommand},
        {{"sheet", "sheet APP \"TITLE\"", "A sheet slides down on the window."},
         &Parser::sheetCommand},
        {{"answer", "answer APP \"TITLE\" save|save-as|dont-save|cancel",
          "The user answers the window's sheet; save and dont-save close the window; save-as "
          "replaces the sheet by the Save panel's, 0.05 s later."},
         &Parser::answerCommand},
        {{"close", "close APP \"TITLE\"",
          "The window closes without a click: ⌘W, the File menu, or the app itself."},
         &Parser::closeCommand},
        {{"move", "move APP \"TITLE\" to X,Y", "The window moves."}, &Parser::moveCommand},
        {{"resize", "resize APP \"TITLE\" to WxH", "The window is resized."},
         &Parser::resizeCommand},
        {{"focus", "focus APP \"TITLE\"", "The window becomes the app's focused window."},
         &Parser::focusCommand},
        {{"retitle", "retitle APP \"TITLE\" to \"NEW TITLE\"",
          "The window's title changes (\"AXTitleChanged\" to its observers)."},
         &Parser::retitleCommand},
        {{"close-button",
          "close-button APP \"TITLE\" enabled|disabled|unreadable|missing [ERROR]|frame X,Y WxH",
          "The window's close button changes."},
         &Parser::closeButtonCommand},
        {{"subrole", "subrole APP \"TITLE\" SUBROLE|none", "The window's subrole changes."},
         &Parser::subroleCommand},
        {{"hide", "hide APP", "The app is hidden (⌘H): its windows go off screen."},
         &Parser::hideCommand},
        {{"unhide", "unhide APP", "The hidden app's windows come back on screen."},
         &Parser::hideCommand},
        {{"minimize", "minimize APP \"TITLE\"",
          "The window goes to the Dock (still in the app's AXWindows, AXMinimized true)."},
         &Parser::minimizeCommand},
        {{"restore", "restore APP \"TITLE\"",
          "The minimised window comes back from the Dock, in front, its app active."},
         &Parser::minimizeCommand},
        {{"space", "space N",
          "The user switches to desktop Space N (1 to 16); the app of its frontmost window "
          "becomes active."},
         &Parser::spaceCommand},
        {{"full-screen", "full-screen APP \"TITLE\" [off]",
          "The window goes full screen on a Space of its own, which becomes current; off: it "
          "comes back to its Space and frame."},
         &Parser::fullScreenCommand},
        // ---- What counts as an app's windows: ordered-out windows, policy changes, the
        // Spaces lookups (ScenarioInventory.cpp) ----
        {{"order-out", "order-out APP \"TITLE\"",
          "The app hides the window without destroying it: it leaves the screen and the app's "
          "AXWindows, no destroyed notification is sent, and the window server keeps it off "
          "screen on no Space."},
         &Parser::orderOutCommand},
        {{"order-in", "order-in APP \"TITLE\"",
          "The app shows an ordered-out window again, in front, on the current Space."},
         &Parser::orderOutCommand},
        {{"policy", "policy APP regular|accessory|prohibited",
          "The running app changes its activation policy (a Dock icon or not)."},
         &Parser::policyCommand},
        {{"spaces-lookups", "spaces-lookups available|unavailable",
          "Whether the system has the private lookups of a window's number and Spaces "
          "(available by default)."},
         &Parser::spacesLookupsCommand},
    };
}

// The commands of the user's hands, the system's surprises, time, Quelto's own interface
// and the expectations.
std::vector<Parser::Command> Parser::eventCommands() {
    return {
        {{"click",
          "click X,Y [MODIFIERS] | click close APP \"TITLE\" [MODIFIERS] | click APP \"TITLE\" "
          "[MODIFIERS]",
          "A quick left click (press and release): at a point, on a window's close button (its "
          "red dot), or on a visible point of a window, which it raises and activates. "
          "Modifiers: shift, option, command, control (joined by +), or a raw flag word such "
          "as 0x20000."},
         &Parser::clickCommand},
        {{"press",
          "press X,Y [MODIFIERS] | press close APP \"TITLE\" [MODIFIERS] | press APP "
          "\"TITLE\" [MODIFIERS]",
          "The left button goes down and stays down (Quelto sees this mouse-down); release "
          "lets it go."},
         &Parser::pressCommand},
        {{"release", "release [at X,Y] [MODIFIERS]",
          "The held button goes up, where it went down or at X,Y (a red dot acts only when the "
          "button goes up on it); Quelto sees the mouse-up. Modifiers: the keys held at the up "
          "(those of the press unless given)."},
         &Parser::releaseCommand},
        {{"pointer", "pointer X,Y",
          "The user moves the pointer there without clicking (Quelto sees nothing)."},
         &Parser::pointerCommand},
        {{"overlay",
          "overlay \"NAME\" menu-bar|dock|banner|menu|popover|window [owner APP] [at X,Y] "
          "[size WxH] [layer N] [alpha A] | overlay \"NAME\" off",
          "A window the window server draws in front of the apps' windows of lower layers: the "
          "menu bar (layer 24), the Dock (20), a notification banner (23), an app's open menu "
          "or popover (101, owner APP), or any window at a layer; alpha 0: fully transparent, "
          "clicks go through it. off: it goes."},
         &Parser::overlayCommand},
        {{"toolbar", "toolbar APP \"TITLE\" shown|hidden",
          "The window's toolbar is shown or hidden: its close button moves down or up with the "
          "unified title bar, and no window notification says so."},
         &Parser::toolbarCommand},
        {{"displays", "displays shift DX,DY",
          "The displays' arrangement changes (another display made primary, one moved): every "
          "global coordinate moves by DX,DY without any window moving on screen or saying so; "
          "Quelto is told the screen parameters changed."},
         &Parser::displaysCommand},
        {{"right-click", "right-click X,Y", "A right click (Quelto never sees it)."},
         &Parser::rightClickCommand},
        {{"key", "key KEY [MODIFIERS]", "A key press (Quelto never sees it)."},
         &Parser::keyCommand},
        {{"inject", "inject APP \"TITLE\" [close-button]|app ATTRIBUTE ERROR [N times|always]",
          "The next read(s) of an Accessibility attribute of the window (of its close button, "
          "or of the app) fail with the error (a name such as cannotComplete, or a code such "
          "as -25204). The attribute * stands for every attribute."},
         &Parser::injectCommand},
        {{"clear-errors", "clear-errors", "Injected Accessibility errors stop."},
         &Parser::clearErrorsCommand},
        {{"hang", "hang APP [for DURATION] | hang APP off",
          "The app stops answering Accessibility calls (for a while, or until hang APP off): "
          "each call waits for the element's messaging time-out, then fails with "
          "cannotComplete, and Quelto's main thread waits with it."},
         &Parser::hangCommand},
        {{"keep-open", "keep-open menu for DURATION | keep-open alert for DURATION",
          "The user opens the menu-bar menu and keeps it open that long, or leaves the next "
          "alert on screen that long before answering it; the scenario goes on meanwhile."},
         &Parser::keepOpenCommand},
        {{"wait", "wait DURATION", "Time passes (2.5, 2.5s, 250ms, 2m)."}, &Parser::waitCommand},
        {{"at", "at [YYYY-MM-DD] HH:MM[:SS[.mmm]]",
          "Time passes up to this moment (never backwards)."},
         &Parser::atCommand},
        {{"start", "start",
          "Quelto starts: the log header, the template on a first run, the wait for "
          "Accessibility if it is missing, then the engine."},
         &Parser::startCommand},
        {{"expect", "expect SUBJECT … (quelto-sim --commands lists them)",
          "An expectation; the run fails when it does not hold. See the list of expectations."},
         &Parser::expectCommand},
        {{"menu", "menu open | menu choose \"ROW\" [\"SUBMENU ROW\"]",
          "The user opens the menu-bar menu (printed as seen), or chooses one of its rows."},
         &Parser::menuCommand},
        {{"settings",
          "settings open [TAB] | settings tab TAB | settings close | settings switch on|off | "
          "settings mode last-window|red-dot | settings escape shift|option|none | settings login "
          "on|off | settings never-quit BUNDLE-ID on|off | settings add-app PATH… | settings press "
          "\"BUTTON\"",
          "The settings window: open it (printed as seen), change tabs, operate its controls."},
         &Parser::settingsCommand},
        {{"show", "show menu|icon|window|tab TAB|main-menu|pasteboard|alerts|apps|opened",
          "Prints what is on screen now into the run's output."},
         &Parser::showCommand},
        {{"install", "install PATH [BUNDLE-ID|no-bundle] [\"DISPLAY NAME\"]",
          "An application installed on disk (for Add App… and the Apps tab)."},
         &Parser::installCommand},
        {{"login-item",
          "login-item enabled|not-registered|requires-approval|not-found | login-item fails "
          "\"ERROR\"",
          "The login item's status, or the next change of it failing with this error."},
         &Parser::loginItemCommand},
        {{"update-reply", "update-reply STATUS \"BODY\" | update-reply unreachable \"ERROR\"",
          "How the product site answers the next update checks: an HTTP status and body, or a "
          "network error."},
         &Parser::updateReplyCommand},
        {{"alert-answer", "alert-answer 1000|1001|…",
          "The next alert is answered with this button (1000 is the first)."},
         &Parser::alertAnswerCommand},
    };
}

const std::vector<Parser::Command>& Parser::commands() {
    static const std::vector<Command> list = [] {
        std::vector<Command> all = desktopCommands();
        std::vector<Command> events = eventCommands();
        all.insert(all.end(), events.begin(), events.end());
        return all;
    }();
    return list;
}

const std::vector<CommandHelp>& scenarioCommands() {
    static const std::vector<CommandHelp> list = [] {
        std::vector<CommandHelp> v;
        for (const auto& c : Parser::commands()) v.push_back(c.help);
        return v;
    }();
    return list;
}

std::optional<std::string> Parser::configBlock(const std::vector<std::string>& lines,
                                               std::size_t& index, int line) {
    std::vector<std::string> body;
    std::size_t i = index + 1;
    for (; i < lines.size(); ++i) {
        if (trim(lines[i]) == "end") break;
        body.push_back(lines[i]);
    }
    if (i >= lines.size()) {
        error(line, "the config block has no \"end\" line");
        index = lines.size();
        return std::nullopt;
    }
    index = i;
    // The block's common indentation is the scenario's, not the file's.
    std::size_t indent = std::string::npos;
    for (const std::string& l : body) {
        std::string t = trim(l);
        if (t.empty()) continue;
        std::size_t n = 0;
        while (n < l.size() && (l[n] == ' ' || l[n] == '\t')) ++n;
        indent = std::min(indent, n);
    }
    if (indent == std::string::npos) indent = 0;
    std::string text;
    for (const std::string& l : body) {
        std::string r = l;
        if (!r.empty() && r.back() == '\r') r.pop_back();
        text += (r.size() >= indent ? r.substr(indent) : std::string()) + "\n";
    }
    return text;
}

void Parser::parseLine(const std::string& raw, int lineNumber,
                       const std::vector<std::string>& lines, std::size_t& index) {
    TokenizedLine tl = tokenize(raw);
    if (tl.error) {
        error(lineNumber, *tl.error);
        return;
    }
    if (tl.tokens.empty()) return;
    const Token& first = tl.tokens.front();
    const auto& list = commands();
    auto it = std::find_if(list.begin(), list.end(),
                           [&](const Command& c) { return c.help.name == first.text; });
    if (first.quoted || it == list.end()) {
        std::vector<std::string> names;
        for (const auto& c : list) names.push_back(c.help.name);
        std::string message = "unknown command " + inQuotes(first.text);
        if (auto near = closestWord(first.text, names))
            message += " (did you mean \"" + *near + "\"?)";
        error(lineNumber, message);
        return;
    }
    if (it->help.name == "config" && tl.tokens.size() == 1) {
        auto block = configBlock(lines, index, lineNumber);
        if (!block) return;
        pendingConfigText_ = *block;
    }
    Args args(*this, tl.tokens, lineNumber, it->help);
    (this->*(it->handler))(args);
}

ParseResult Parser::parse(const std::string& text) {
    std::vector<std::string> lines = splitLines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t index = i;
        parseLine(lines[i], static_cast<int>(i + 1), lines, index);
        i = index;
    }
    ParseResult result;
    result.errors = errors_;
    if (errors_.empty()) result.scenario = std::move(scenario);
    return result;
}

ParseResult parseScenario(const std::string& text, const std::string& file) {
    Parser parser(file);
    return parser.parse(text);
}

// The running application under a handle, or a run-time error.
std::optional<Pid> runningPid(ScenarioRunner& r, int line, const std::string& handle) {
    auto* app = r.app(handle);
    if (!app || !r.desktop().isRunning(app->desc.pid)) {
        r.error(line, handle + " is not running");
        return std::nullopt;
    }
    return app->desc.pid;
}

}  // namespace quelto::simtool
