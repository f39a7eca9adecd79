#include "simtool/ScenarioParser.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

#include "simtool/ConfigEdit.h"
#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> prev(b.size() + 1), cur(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) prev[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t sub = prev[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, sub});
        }
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

std::int64_t toMicros(double seconds) {
    return std::llround(seconds * 1e6);
}

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

// A moment as clock and at write it: "[YYYY-MM-DD] HH:MM[:SS[.mmm]]".
struct DateAndTime {
    CivilDate date;
    ClockTime time;
    std::string timeWord;  // the time of day as written
};

// Reads a moment; `date` is the day when none is written. The examples ("09:00",
// "09:00:15.250") are the command's own, for its messages.
std::optional<DateAndTime> dateAndTime(Args& args, CivilDate date, const std::string& example,
                                       const std::string& preciseExample) {
    const std::string what = "a time of day, as in " + example;
    auto first = args.bare(what);
    if (!first) return std::nullopt;
    std::string timeWord = *first;
    if (auto d = parseDate(*first)) {
        date = *d;
        auto t = args.bare(what);
        if (!t) return std::nullopt;
        timeWord = *t;
    } else if (first->size() == 10 && (*first)[4] == '-') {
        args.fail(inQuotes(*first) + " is not a date (as in 2026-03-02)");
        return std::nullopt;
    }
    auto time = parseClockTime(timeWord);
    if (!time) {
        args.fail(inQuotes(timeWord) + " is not a time of day (as in " + example + " or " +
                  preciseExample + ")");
        return std::nullopt;
    }
    return DateAndTime{date, *time, timeWord};
}

// An Accessibility error by its name or code.
std::optional<AXError> accessibilityError(Args& args) {
    auto word = args.bare("an Accessibility error");
    if (!word) return std::nullopt;
    auto error = parseAXError(*word);
    if (!error)
        args.fail(inQuotes(*word) +
                  " is not an Accessibility error (a name such as cannotComplete, or a code "
                  "such as -25204)");
    return error;
}

}  // namespace

std::string Diagnostic::text() const {
    std::string s = file;
    if (line > 0) s += ":" + std::to_string(line);
    s += kind == Kind::error ? ": error: " : ": failed: ";
    s += message;
    return s;
}

std::optional<std::string> closestWord(const std::string& word,
                                       const std::vector<std::string>& candidates) {
    std::optional<std::string> best;
    std::size_t bestDistance = 0;
    for (const std::string& c : candidates) {
        std::size_t d = editDistance(word, c);
        if (!best || d < bestDistance) {
            best = c;
            bestDistance = d;
        }
    }
    if (!best) return std::nullopt;
    std::size_t limit = std::max<std::size_t>(1, std::min(word.size(), best->size()) / 3);
    if (bestDistance > limit) return std::nullopt;
    return best;
}

// ---- Args ----

Args::Args(Parser& parser, const std::vector<Token>& tokens, int line, const CommandHelp& help)
    : parser_(parser), tokens_(tokens), line_(line), help_(help) {}

const Token* Args::peek() const {
    if (failed_ || next_ >= tokens_.size()) return nullptr;
    return &tokens_[next_];
}

bool Args::peekIs(const std::string& keyword) const {
    const Token* t = peek();
    return t && !t->quoted && t->text == keyword;
}

bool Args::accept(const std::string& keyword) {
    if (!peekIs(keyword)) return false;
    ++next_;
    return true;
}

std::string Args::usage() const {
    return "usage: " + (usage_.empty() ? help_.usage : usage_);
}

void Args::fail(const std::string& message) {
    if (failed_) return;
    failed_ = true;
    parser_.error(line_, message);
}

std::optional<Token> Args::word(const std::string& what) {
    if (failed_) return std::nullopt;
    if (next_ >= tokens_.size()) {
        fail(help_.name + " needs " + what + " — " + usage());
        return std::nullopt;
    }
    return tokens_[next_++];
}

std::optional<std::string> Args::bare(const std::string& what) {
    auto t = word(what);
    if (!t) return std::nullopt;
    if (t->quoted) {
        fail(help_.name + " needs " + what + " here, not the quoted text " + inQuotes(t->text) +
             " — " + usage());
        return std::nullopt;
    }
    return t->text;
}

std::optional<std::string> Args::text(const std::string& what) {
    auto t = word(what);
    if (!t) return std::nullopt;
    if (!t->quoted) {
        fail(what + " is written in quotes, as in " + inQuotes(t->text) + " — " + usage());
        return std::nullopt;
    }
    return t->text;
}

std::optional<double> Args::duration(const std::string& what) {
    return parsed(what, parseDuration, "a duration (as in 2.5, 2.5s, 250ms or 2m)");
}

std::optional<Point> Args::point(const std::string& what) {
    return parsed(what, parsePoint, "a screen point (as in 120,80)");
}

std::optional<Size> Args::size(const std::string& what) {
    return parsed(what, parseSize, "a size (as in 800x600)");
}

std::optional<long long> Args::integer(const std::string& what) {
    return parsed(what, parseInteger, "a whole number (" + what + ")");
}

bool Args::end() {
    if (failed_) return false;
    if (next_ < tokens_.size()) {
        const Token& t = tokens_[next_];
        fail("unexpected " + (t.quoted ? inQuotes(t.text) : "\"" + t.text + "\"") + " — " +
             usage());
        return false;
    }
    return true;
}

// ---- Parser ----

Parser::Parser(std::string file) {
    scenario.file = std::move(file);
    sim::AppSpec own;
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

const std::vector<Parser::Command>& Parser::commands() {
    static const std::vector<Command> list = {
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
          "asks-to-save, close-delay DURATION, unannounced."},
         &Parser::windowCommand},
        {{"dialog", "dialog APP \"TITLE\" [SUBROLE]",
          "A dialog window opens (subrole AXDialog unless given)."},
         &Parser::dialogCommand},
        {{"sheet", "sheet APP \"TITLE\"", "A sheet slides down on the window."},
         &Parser::sheetCommand},
        {{"answer", "answer APP \"TITLE\" save|dont-save|cancel",
          "The user answers the window's sheet; save and dont-save close the window."},
         &Parser::answerCommand},
        {{"close", "close APP \"TITLE\"",
          "The window closes without a click: ⌘W, the File menu, or the app itself."},
         &Parser::closeCommand},
        {{"move", "move APP \"TITLE\" to X,Y", "The window moves."}, &Parser::moveCommand},
        {{"resize", "resize APP \"TITLE\" to WxH", "The window is resized."},
         &Parser::resizeCommand},
        {{"focus", "focus APP \"TITLE\"", "The window becomes the app's focused window."},
         &Parser::focusCommand},
        {{"retitle", "retitle APP \"TITLE\" to \"NEW TITLE\"", "The window's title changes."},
         &Parser::retitleCommand},
        {{"close-button",
          "close-button APP \"TITLE\" enabled|disabled|unreadable|missing [ERROR]|frame X,Y WxH",
          "The window's close button changes."},
         &Parser::closeButtonCommand},
        {{"subrole", "subrole APP \"TITLE\" SUBROLE|none", "The window's subrole changes."},
         &Parser::subroleCommand},
        {{"click",
          "click X,Y [MODIFIERS] | click close APP \"TITLE\" [MODIFIERS] | click APP \"TITLE\" "
          "[MODIFIERS]",
          "A left mouse-down: at a point, on a window's close button (its red dot), or in the "
          "middle of a window. Modifiers: shift, option, command, control (joined by +), or "
          "a raw flag word such as 0x20000."},
         &Parser::clickCommand},
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
        {{"show", "show menu|icon|window|tab TAB|main-menu|pasteboard|alerts|apps",
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

// ---- Setting the scene ----

void Parser::clockCommand(Args& args) {
    if (clockLine)
        return args.fail("the clock is already set at line " + std::to_string(clockLine));
    if (timeMoved || startLine) return args.fail("clock must come before start, wait and at");
    auto when = dateAndTime(args, civilDateOf(scenario.start, 0), "09:00", "09:00:15.250");
    if (!when) return;
    int offset = 0;
    if (!args.done()) {
        auto z = args.bare("a time zone");
        if (!z) return;
        auto parsed = parseZone(*z);
        if (!parsed)
            return args.fail(inQuotes(*z) + " is not a time zone (as in UTC, +01:00 or UTC-5)");
        offset = *parsed;
    }
    if (!args.end()) return;
    scenario.start = dateFrom(when->date, when->time, offset);
    scenario.utcOffsetSeconds = offset;
    clockLine = args.line();
}

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

// ---- Applications ----

sim::AppSpec Parser::appOptions(Args& args, const std::string& handle, const DeclaredApp* known) {
    sim::AppSpec desc;
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
    sim::AppSpec desc = appOptions(args, *handle, nullptr);
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
    sim::AppSpec desc = appOptions(args, *handle, known);
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

namespace {

// The running application under a handle, or a run-time error.
std::optional<Pid> runningPid(ScenarioRunner& r, int line, const std::string& handle) {
    auto* app = r.app(handle);
    if (!app || !r.desktop().isRunning(app->desc.pid)) {
        r.error(line, handle + " is not running");
        return std::nullopt;
    }
    return app->desc.pid;
}

}  // namespace

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

// ---- Windows ----

std::optional<sim::CloseButtonSpec> Parser::closeButtonSpec(Args& args, sim::CloseButtonSpec desc) {
    auto w = args.bare("enabled, disabled, unreadable, missing [ERROR] or frame X,Y WxH");
    if (!w) return std::nullopt;
    if (*w == "enabled") {
        desc.present = true;
        desc.enabled = true;
    } else if (*w == "disabled") {
        desc.present = true;
        desc.enabled = false;
    } else if (*w == "unreadable") {
        desc.present = true;
        desc.enabled = std::nullopt;
    } else if (*w == "missing") {
        desc.present = false;
        desc.missingError = axerror::attributeUnsupported;
        if (const Token* t = args.peek(); t && !t->quoted) {
            if (auto e = parseAXError(t->text)) {
                desc.missingError = *e;
                args.accept(t->text);
            }
        }
    } else if (*w == "frame") {
        auto p = args.point("the close button's origin");
        if (!p) return std::nullopt;
        auto s = args.size("the close button's size");
        if (!s) return std::nullopt;
        desc.present = true;
        desc.frame = Rect{*p, *s};
    } else {
        args.fail(
            "a close button is enabled, disabled, unreadable, missing [ERROR] or frame X,Y WxH, "
            "not " +
            inQuotes(*w));
        return std::nullopt;
    }
    return desc;
}

void Parser::windowCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto title = args.text("a window title");
    if (!title) return;
    sim::WindowSpec desc;
    desc.title = *title;
    bool notify = true;
    while (!args.done()) {
        auto w = args.bare("a window option");
        if (!w) return;
        if (*w == "at") {
            auto p = args.point("the window's origin");
            if (!p) return;
            desc.frame.origin = *p;
        } else if (*w == "size") {
            auto s = args.size("the window's size");
            if (!s) return;
            desc.frame.size = *s;
        } else if (*w == "role") {
            auto r = args.word("a role");
            if (!r) return;
            desc.role = r->text;
        } else if (*w == "subrole") {
            auto s = args.word("a subrole or none");
            if (!s) return;
            if (!s->quoted && s->text == "none")
                desc.subrole.reset();
            else
                desc.subrole = s->text;
        } else if (*w == "close-button") {
            auto b = closeButtonSpec(args, desc.closeButton);
            if (!b) return;
            desc.closeButton = *b;
        } else if (*w == "asks-to-save") {
            desc.asksToSave = true;
        } else if (*w == "close-delay") {
            auto d = args.duration("a duration");
            if (!d) return;
            desc.closeDelay = *d;
        } else if (*w == "unannounced") {
            notify = false;
        } else {
            std::vector<std::string> options = {"at",          "size",         "role",
                                                "subrole",     "close-button", "asks-to-save",
                                                "close-delay", "unannounced"};
            std::string message = "unknown window option " + inQuotes(*w);
            if (auto near = closestWord(*w, options))
                message += " (did you mean \"" + *near + "\"?)";
            return args.fail(message);
        }
    }
    if (!args.ok()) return;
    titles[*handle].insert(*title);
    std::string h = *handle;
    int line = args.line();
    addStep(line, "window", [h, desc, notify, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (!pid) return;
        sim::ElementId id = r.desktop().addWindow(*pid, desc, notify);
        r.rememberWindow(h, desc.title, id, desc.frame);
    });
}

void Parser::dialogCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    auto title = args.text("a dialog title");
    if (!title) return;
    std::string subrole = "AXDialog";
    if (args.accept("subrole") || !args.done()) {
        auto s = args.bare("a subrole, as in AXSystemDialog");
        if (!s) return;
        subrole = *s;
    }
    if (!args.end()) return;
    titles[*handle].insert(*title);
    std::string h = *handle, t = *title;
    int line = args.line();
    addStep(line, "dialog", [h, t, subrole, line](ScenarioRunner& r) {
        auto pid = runningPid(r, line, h);
        if (!pid) return;
        sim::ElementId id = r.desktop().showDialog(*pid, subrole, t);
        // The desktop places its dialogs itself; their frame is read once, as they open,
        // before any error the scenario injects later could be used up by the read.
        Rect frame{{400, 300}, {420, 180}};
        auto element = r.desktop().element(id);
        std::optional<AXValue> position, size;
        if (element && element->copyAttributeValue("AXPosition", position).isSuccess() &&
            element->copyAttributeValue("AXSize", size).isSuccess() && position && size) {
            if (const Point* p = position->get<Point>()) frame.origin = *p;
            if (const Size* z = size->get<Size>()) frame.size = *z;
        }
        r.rememberWindow(h, t, id, frame);
    });
}

void Parser::sheetCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "sheet", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second)) r.desktop().showSheet(*id);
    });
}

void Parser::answerCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto how = args.bare("save, dont-save or cancel");
    if (!how) return;
    bool closes;
    if (*how == "save" || *how == "dont-save" || *how == "delete")
        closes = true;
    else if (*how == "cancel")
        closes = false;
    else
        return args.fail("a sheet is answered with save, dont-save or cancel, not " +
                         inQuotes(*how));
    if (!args.end()) return;
    int line = args.line();
    addStep(line, "answer", [ref, closes, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().answerSheet(*id, closes);
    });
}

void Parser::closeCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "close", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().closeWindowWithoutClick(*id);
    });
}

void Parser::moveCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to")) return void(args.fail("move needs \"to X,Y\" — " + args.usage()));
    auto p = args.point("the new origin");
    if (!p || !args.end()) return;
    int line = args.line();
    Point to = *p;
    addStep(line, "move", [ref, to, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().moveWindow(*id, to);
        Rect f = r.windowFrame(*id).value_or(Rect{});
        f.origin = to;
        r.setWindowFrame(*id, f);
    });
}

void Parser::resizeCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to")) return void(args.fail("resize needs \"to WxH\" — " + args.usage()));
    auto s = args.size("the new size");
    if (!s || !args.end()) return;
    int line = args.line();
    Size to = *s;
    addStep(line, "resize", [ref, to, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().resizeWindow(*id, to);
        Rect f = r.windowFrame(*id).value_or(Rect{});
        f.size = to;
        r.setWindowFrame(*id, f);
    });
}

void Parser::focusCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref || !args.end()) return;
    int line = args.line();
    addStep(line, "focus", [ref, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second)) r.desktop().focusWindow(*id);
    });
}

void Parser::retitleCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    if (!args.accept("to"))
        return void(args.fail("retitle needs to \"NEW TITLE\" — " + args.usage()));
    auto to = args.text("the new title");
    if (!to || !args.end()) return;
    titles[ref->first].insert(*to);
    int line = args.line();
    std::string newTitle = *to;
    addStep(line, "retitle", [ref, newTitle, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        r.desktop().setTitle(*id, newTitle);
        r.retitleWindow(ref->first, ref->second, newTitle);
    });
}

void Parser::closeButtonCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto desc = closeButtonSpec(args, sim::CloseButtonSpec{});
    if (!desc || !args.end()) return;
    int line = args.line();
    sim::CloseButtonSpec b = *desc;
    addStep(line, "close-button", [ref, b, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().setCloseButton(*id, b);
    });
}

void Parser::subroleCommand(Args& args) {
    auto ref = windowRef(args);
    if (!ref) return;
    auto s = args.word("a subrole or none");
    if (!s || !args.end()) return;
    std::optional<std::string> subrole;
    if (s->quoted || s->text != "none") subrole = s->text;
    int line = args.line();
    addStep(line, "subrole", [ref, subrole, line](ScenarioRunner& r) {
        if (auto id = r.openWindow(line, ref->first, ref->second))
            r.desktop().setSubrole(*id, subrole);
    });
}

// ---- The user's mouse and keyboard ----

void Parser::clickCommand(Args& args) {
    int line = args.line();
    const Token* t = args.peek();
    if (!t) return void(args.word("a point, or close APP \"TITLE\""));
    if (!t->quoted && parsePoint(t->text)) {
        auto p = args.point("a point");
        auto mods = modifiers(args);
        if (!p || !mods) return;
        Point at = *p;
        ModifierFlags flags = *mods;
        addStep(line, "click", [at, flags](ScenarioRunner& r) { r.desktop().click(at, flags); });
        return;
    }
    bool onClose = args.accept("close");
    if (!onClose && !t->quoted && !apps.count(t->text) &&
        (t->text.find(',') != std::string::npos || parseNumber(t->text) ||
         (!t->text.empty() &&
          (std::isdigit(static_cast<unsigned char>(t->text[0])) || t->text[0] == '-'))))
        return args.fail(inQuotes(t->text) + " is not a screen point (as in 120,80)");
    auto ref = windowRef(args);
    if (!ref) return;
    auto mods = modifiers(args);
    if (!mods) return;
    ModifierFlags flags = *mods;
    addStep(line, "click", [ref, flags, onClose, line](ScenarioRunner& r) {
        auto id = r.openWindow(line, ref->first, ref->second);
        if (!id) return;
        Point at;
        if (onClose) {
            auto frame = r.desktop().closeButtonFrame(*id);
            if (!frame)
                return r.error(line, ref->first + "’s window " + inQuotes(ref->second) +
                                         " has no close button to click");
            at = Point{frame->origin.x + frame->size.width / 2,
                       frame->origin.y + frame->size.height / 2};
        } else {
            Rect f = r.windowFrame(*id).value_or(Rect{});
            at = Point{f.origin.x + f.size.width / 2, f.origin.y + f.size.height / 2};
        }
        r.desktop().click(at, flags);
        // A click in a window's content brings its application to the front; a click on a
        // close button does not (the buttons of inactive windows work in place).
        if (!onClose) {
            if (auto* app = r.app(ref->first); app && r.desktop().isRunning(app->desc.pid))
                r.desktop().setFrontmost(app->desc.pid);
        }
    });
}

void Parser::rightClickCommand(Args& args) {
    auto p = args.point("a point");
    if (!p || !args.end()) return;
    Point at = *p;
    addStep(args.line(), "right-click", [at](ScenarioRunner& r) { r.desktop().rightClick(at); });
}

void Parser::keyCommand(Args& args) {
    auto k = args.word("a key, as in w");
    if (!k) return;
    auto mods = modifiers(args);
    if (!mods) return;
    std::string key = k->text;
    ModifierFlags flags = *mods;
    addStep(args.line(), "key",
            [key, flags](ScenarioRunner& r) { r.desktop().keyDown(key, flags); });
}

// ---- Accessibility errors ----

void Parser::injectCommand(Args& args) {
    auto handle = args.bare("an app");
    if (!handle || !knownApp(args, *handle)) return;
    std::optional<std::string> title;
    if (args.accept("app")) {
        // The application element itself.
    } else {
        auto t = args.text("a window title, or app");
        if (!t) return;
        if (!titles[*handle].count(*t))
            return args.fail(*handle + " has no window " + inQuotes(*t) +
                             " declared before this line");
        title = *t;
    }
    bool onButton = title && args.accept("close-button");
    auto attribute = args.bare("an attribute, as in AXCloseButton");
    if (!attribute) return;
    auto err = accessibilityError(args);
    if (!err) return;
    int times = 1;
    if (args.accept("always")) {
        times = -1;
    } else if (!args.done()) {
        auto n = args.integer("how many reads fail");
        if (!n) return;
        if (*n < 1 || *n > 1000000)
            return args.fail("the number of failing reads must be 1 or more");
        if (!args.accept("times") && !args.accept("time"))
            return args.fail("inject needs \"N times\" or \"always\" after the error — " +
                             args.usage());
        times = static_cast<int>(*n);
    }
    if (!args.end()) return;
    std::string h = *handle, attr = *attribute;
    AXError e = *err;
    int line = args.line();
    addStep(line, "inject", [h, title, onButton, attr, e, times, line](ScenarioRunner& r) {
        sim::ElementId target = 0;
        if (title) {
            auto id = r.openWindow(line, h, *title);
            if (!id) return;
            target = onButton ? r.desktop().closeButtonOf(*id) : *id;
            if (target == 0)
                return r.error(line, h + "’s window " + inQuotes(*title) + " has no close button");
        } else {
            auto pid = runningPid(r, line, h);
            if (!pid) return;
            auto id = r.applicationElementId(*pid);
            if (!id) return r.error(line, "cannot find " + h + "’s application element");
            target = *id;
        }
        r.desktop().injectError(target, attr, e, times);
    });
}

void Parser::clearErrorsCommand(Args& args) {
    if (!args.end()) return;
    addStep(args.line(), "clear-errors",
            [](ScenarioRunner& r) { r.desktop().clearInjectedErrors(); });
}

// ---- Time ----

void Parser::waitCommand(Args& args) {
    auto d = args.duration("a duration, as in wait 2.5");
    if (!d || !args.end()) return;
    nowMicros += toMicros(*d);
    timeMoved = true;
    double seconds = *d;
    addStep(args.line(), "wait", [seconds](ScenarioRunner& r) { r.desktop().advance(seconds); });
}

void Parser::atCommand(Args& args) {
    Date current = scenario.start + static_cast<double>(nowMicros) / 1e6;
    auto when =
        dateAndTime(args, civilDateOf(current, scenario.utcOffsetSeconds), "09:15", "09:15:30.500");
    if (!when || !args.end()) return;
    Date target = dateFrom(when->date, when->time, scenario.utcOffsetSeconds);
    std::int64_t targetMicros = std::llround((target.seconds - scenario.start.seconds) * 1e6);
    if (targetMicros < nowMicros)
        return args.fail("at " + when->timeWord + " is before the scenario's time there, " +
                         formatTimeOfDay(current, scenario.utcOffsetSeconds) +
                         " — time only moves forward");
    double delta = static_cast<double>(targetMicros - nowMicros) / 1e6;
    nowMicros = targetMicros;
    timeMoved = true;
    addStep(args.line(), "at", [delta](ScenarioRunner& r) { r.desktop().advance(delta); });
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
