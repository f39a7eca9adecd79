#pragma once
// The parser's working state, shared by the files that read the different groups of
// commands: the scenario being built, the applications and windows declared so far, the
// scenario's clock as the lines move it, and the word cursor of the current line.
// Internal to the scenario reader.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sim/SimDesktop.h"
#include "simtool/Scenario.h"
#include "simtool/ScenarioParser.h"
#include "simtool/ScenarioTokens.h"

namespace quelto::simtool {

class Parser;

// The words of one line after its command, read left to right. The first problem is
// reported (with the command's usage when that helps) and every later read then fails
// quietly, so that one line gives one message.
class Args {
  public:
    Args(Parser& parser, const std::vector<Token>& tokens, int line, const CommandHelp& help);

    int line() const { return line_; }
    const std::string& command() const { return help_.name; }
    bool ok() const { return !failed_; }
    bool done() const { return failed_ || next_ >= tokens_.size(); }

    // The next word, if any, without taking it.
    const Token* peek() const;
    // Whether the next word is this keyword (unquoted).
    bool peekIs(const std::string& keyword) const;
    // Takes the next word when it is this keyword.
    bool accept(const std::string& keyword);

    // The next word, whatever it is; reports "{command} needs {what}" when there is none.
    std::optional<Token> word(const std::string& what);
    // The next word, which must not be quoted.
    std::optional<std::string> bare(const std::string& what);
    // The next word, which must be quoted (a title, a text).
    std::optional<std::string> text(const std::string& what);
    std::optional<double> duration(const std::string& what);
    std::optional<Point> point(const std::string& what);
    std::optional<Size> size(const std::string& what);
    std::optional<long long> integer(const std::string& what);
    // The next word as `parse` reads it, which must not be quoted; reports
    // "{word in quotes} is not {kind}" when it is, or when `parse` gives no value.
    template <typename T>
    std::optional<T> parsed(const std::string& what,
                            std::optional<T> (*parse)(const std::string& word),
                            const std::string& kind) {
        auto t = word(what);
        if (!t) return std::nullopt;
        auto v = parse(t->text);
        if (!v || t->quoted) {
            fail(inQuotes(t->text) + " is not " + kind);
            return std::nullopt;
        }
        return v;
    }

    // Reports that words remain.
    bool end();
    // Reports a problem with this line (once).
    void fail(const std::string& message);
    // "usage: {usage}".
    std::string usage() const;
    // A narrower usage for the rest of the line (an expectation's own form).
    void setUsage(std::string usage) { usage_ = std::move(usage); }

  private:
    Parser& parser_;
    const std::vector<Token>& tokens_;
    std::size_t next_ = 1;
    int line_;
    const CommandHelp& help_;
    std::string usage_;
    bool failed_ = false;
};

// Where a click or press aims: a point, a window's close button, or a visible point of a
// window.
struct MouseTarget {
    std::optional<Point> point;
    std::optional<std::pair<std::string, std::string>> window;  // app handle, title
    bool onClose = false;
};

class Parser {
  public:
    explicit Parser(std::string file);
    ParseResult parse(const std::string& text);

    void error(int line, const std::string& message);

    // ---- Declarations, as the lines so far have made them ----
    struct DeclaredApp {
        sim::AppDescription desc;
        int line = 0;
    };
    // The application under a handle; reports an unknown one.
    const DeclaredApp* knownApp(Args& args, const std::string& handle);
    // An application handle followed by a quoted window title declared for it.
    std::optional<std::pair<std::string, std::string>> windowRef(Args& args);
    // Modifier words up to the end of the line.
    std::optional<ModifierFlags> modifiers(Args& args);

    void addStep(int line, const std::string& command, std::function<void(ScenarioRunner&)> run);
    void addExpectation(int line, std::function<void(ScenarioRunner&)> run);

    Scenario scenario;
    std::map<std::string, DeclaredApp> apps;
    std::map<std::string, std::set<std::string>> titles;
    std::set<Pid> usedPids;
    Pid nextPid = 101;
    std::int64_t nowMicros = 0;  // the scenario's moment, from its start
    int startLine = 0;
    int clockLine = 0;
    bool timeMoved = false;

  private:
    using Handler = void (Parser::*)(Args&);
    struct Command {
        CommandHelp help;
        Handler handler;
    };
    static const std::vector<Command>& commands();
    static std::vector<Command> desktopCommands();
    static std::vector<Command> eventCommands();
    friend const std::vector<CommandHelp>& scenarioCommands();

    void parseLine(const std::string& line, int lineNumber, const std::vector<std::string>& lines,
                   std::size_t& index);
    std::optional<std::string> configBlock(const std::vector<std::string>& lines,
                                           std::size_t& index, int line);
    sim::AppDescription appOptions(Args& args, const std::string& handle,
                                   const DeclaredApp* known);  // ScenarioApps.cpp
    std::optional<sim::CloseButtonDescription> closeButtonDescription(
        Args& args, sim::CloseButtonDescription base);  // ScenarioWindows.cpp

    // ---- The commands, by family; each family lives in the file named above it ----
    // ScenarioTime.cpp
    void clockCommand(Args& args);
    void waitCommand(Args& args);
    void atCommand(Args& args);
    // ScenarioQuelto.cpp
    void homeCommand(Args& args);
    void queltoCommand(Args& args);
    void accessibilityCommand(Args& args);
    void configCommand(Args& args);
    void startCommand(Args& args);
    // ScenarioApps.cpp
    void appCommand(Args& args);
    void launchCommand(Args& args);
    void terminateCommand(Args& args);
    void frontCommand(Args& args);
    void quitResponseCommand(Args& args);
    // ScenarioWindows.cpp
    void windowCommand(Args& args);
    void dialogCommand(Args& args);
    void sheetCommand(Args& args);
    void answerCommand(Args& args);
    void closeCommand(Args& args);
    void moveCommand(Args& args);
    void resizeCommand(Args& args);
    void focusCommand(Args& args);
    void retitleCommand(Args& args);
    void closeButtonCommand(Args& args);
    void subroleCommand(Args& args);
    // ScenarioSpaces.cpp
    void hideCommand(Args& args);
    void minimizeCommand(Args& args);
    void spaceCommand(Args& args);
    void fullScreenCommand(Args& args);
    std::optional<int> spaceNumber(Args& args);
    // ScenarioInput.cpp
    void clickCommand(Args& args);
    void pressCommand(Args& args);
    void releaseCommand(Args& args);
    // A click (`held` false: press and release at once) or a press that stays down.
    void mouseDownCommand(Args& args, bool held);
    // Where a click or press goes: a point, a close button or a window.
    std::optional<MouseTarget> mouseTarget(Args& args);
    void rightClickCommand(Args& args);
    void keyCommand(Args& args);
    // ScenarioClickCommands.cpp: pointer, overlay, toolbar, displays
    void pointerCommand(Args& args);
    void overlayCommand(Args& args);
    void toolbarCommand(Args& args);
    void displaysCommand(Args& args);
    // ScenarioInjection.cpp
    void injectCommand(Args& args);
    void clearErrorsCommand(Args& args);
    // ScenarioExpectations.cpp
    void expectCommand(Args& args);
    void expectLog(Args& args, bool negated);
    void expectJournal(Args& args);
    void expectApp(Args& args, bool negated, const std::string& subject);
    void expectWindow(Args& args);
    void expectConfig(Args& args, bool negated);
    void expectFrontmost(Args& args);
    // ScenarioInterfaceExpectations.cpp
    // The interface's expectations (menu, icon, settings, pasteboard, alerts): false when
    // `subject` is none of them.
    bool expectInterface(Args& args, bool negated, const std::string& subject);
    // ScenarioInterface.cpp
    void menuCommand(Args& args);
    void settingsCommand(Args& args);
    void showCommand(Args& args);
    void installCommand(Args& args);
    void loginItemCommand(Args& args);
    void alertAnswerCommand(Args& args);
    void updateReplyCommand(Args& args);
    // ScenarioOpenedCommands.cpp
    void showOpened(Args& args);
    void expectOpened(Args& args, bool negated);
    // ScenarioInventory.cpp
    void orderOutCommand(Args& args);
    void policyCommand(Args& args);
    void spacesLookupsCommand(Args& args);
    void expectSpace(Args& args);
    // ScenarioTimingCommands.cpp
    void hangCommand(Args& args);
    void keepOpenCommand(Args& args);
    void expectStall(Args& args, bool negated);

    std::vector<Diagnostic> errors_;
    std::string pendingConfigText_;
};

// An Accessibility error by its name or code (cannotComplete, -25204); reports a bad one.
std::optional<AXError> accessibilityError(Args& args);

// The running application under a handle, or a run-time error on `line`.
std::optional<Pid> runningPid(ScenarioRunner& r, int line, const std::string& handle);

// The closest known word to a misspelt one, for "did you mean" hints; none when nothing is
// close.
std::optional<std::string> closestWord(const std::string& word,
                                       const std::vector<std::string>& candidates);

}  // namespace quelto::simtool
