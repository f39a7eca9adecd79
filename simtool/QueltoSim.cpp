#include "simtool/QueltoSim.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "settings/HomeDirectory.h"
#include "simtool/BuiltinSession.h"
#include "simtool/PrivateHome.h"
#include "simtool/RunReport.h"
#include "simtool/ScenarioParser.h"
#include "simtool/ScenarioRunner.h"

namespace quelto::simtool {

namespace {

struct Options {
    bool help = false;
    bool commands = false;
    bool quiet = false;
    bool logOnly = false;
    bool check = false;
    bool printSession = false;
    bool keepHome = false;
    std::optional<std::string> file;
};

std::optional<std::string> readAll(std::istream& in) {
    std::ostringstream s;
    s << in.rdbuf();
    if (in.bad()) return std::nullopt;
    return s.str();
}

// Word wrap for the command reference, with a hanging indent.
std::string wrapped(const std::string& text, std::size_t indent, std::size_t width) {
    std::string out, line;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        if (!line.empty() && displayWidth(line) + 1 + displayWidth(word) + indent > width) {
            out += std::string(indent, ' ') + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    if (!line.empty()) out += std::string(indent, ' ') + line + "\n";
    return out;
}

}  // namespace

std::string helpText() {
    return "usage: quelto-sim [OPTIONS] [FILE]\n"
           "       quelto-sim check-updates --site URL --build N [--version V] [--host HOST]\n"
           "\n"
           "Runs Quelto without a Mac. A scenario is a plain-text script describing a desktop\n"
           "(applications, windows, close buttons, dialogs) and what the user does on it; it\n"
           "runs through Quelto's real core on a simulated desktop in virtual time, and\n"
           "quelto-sim prints what Quelto would have written: its log, exactly as the macOS\n"
           "app writes it, then its activity journal, then its configuration file as it\n"
           "stands at the end. Expectations in the scenario make it a test.\n"
           "\n"
           "With no FILE, runs the built-in session: a realistic day with Quelto.\n"
           "FILE may be - to read the scenario from standard input.\n"
           "\n"
           "Options:\n"
           "  -q, --quiet       print nothing but failures and errors\n"
           "      --log-only    print only Quelto's log\n"
           "      --check       read and check the scenario, run nothing\n"
           "      --print-session\n"
           "                    print the built-in session's scenario text (a starting point\n"
           "                    for your own)\n"
           "      --keep-home   keep the private home folder of the run and print its path\n"
           "      --commands    list the scenario language's commands\n"
           "  -h, --help        show this help\n"
           "\n"
           "The run happens in a private temporary home folder, made and removed by the run, so\n"
           "your own files are never touched. Everything printed shows that folder as the\n"
           "scenario's home (/Users/you unless it says otherwise), so the output is the same\n"
           "from run to run.\n"
           "\n"
           "Exit status: 0 when every expectation held, 1 when one did not, 2 when the\n"
           "scenario could not be read or run (each problem is reported with its file and\n"
           "line).\n"
           "\n"
           "The language, with examples: docs/scenarios.md.\n"
           "check-updates asks a real site for the latest build: quelto-sim check-updates "
           "--help.\n";
}

std::string commandsText() {
    std::string out =
        "Scenario commands (one a line; # starts a comment; titles and texts in quotes):\n\n";
    for (const CommandHelp& c : scenarioCommands()) {
        out += "  " + c.usage + "\n";
        out += wrapped(c.summary, 6, 92);
    }
    out += "\nExpectations (each may start with no or not where it makes sense):\n\n";
    const char* expectations[] = {
        "expect [no] log \"TEXT\"            a log line contains TEXT",
        "expect [no] log line \"LINE\"       a log line is exactly LINE (timestamp included)",
        "expect log count N \"TEXT\"         exactly N log lines contain TEXT",
        ("expect journal [entry N] [app \"…\"] [bundle \"…\"] [cause \"…\"] [outcome \"…\"] [quit "
         "yes|no] [left N]"),
        "                                  the newest (or Nth newest) journal entry's fields",
        "expect journal size N | expect journal empty",
        "expect [not] running APP",
        "expect [not] asked-to-quit APP",
        "expect quit-requests APP N",
        "expect window APP \"TITLE\" open|closed",
        ("expect window APP \"TITLE\" on-screen|off-screen|minimized|listed|unlisted|focused|"
         "front|ordered-out"),
        "                                  where the window is (listed: in its app's AXWindows)",
        "expect frontmost APP|none         which app is frontmost",
        "expect space N                    which desktop Space is current",
        "expect [no] config                the configuration file exists",
        "expect [no] config line \"LINE\"    the configuration file has the line",
        "expect [no] menu row \"TITLE\" [checked|unchecked|enabled|disabled]",
        "expect icon active|paused         expect [not] tooltip \"TEXT\"",
        "expect [no] settings [tab TAB] \"TEXT\"",
        "expect [no] pasteboard \"TEXT\"     expect [no] alert \"TEXT\"     expect [no] dock-icon",
        // One entry, wrapped.
        // NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
        "expect [no] opened \"TEXT\"         a link opened, a file revealed or an Accessibility "
        "prompt",
    };
    for (const char* e : expectations) out += std::string("  ") + e + "\n";
    return out;
}

int runQueltoSim(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    Options options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "-h" || a == "--help")
            options.help = true;
        else if (a == "--commands")
            options.commands = true;
        else if (a == "-q" || a == "--quiet")
            options.quiet = true;
        else if (a == "--log-only")
            options.logOnly = true;
        else if (a == "--check")
            options.check = true;
        else if (a == "--print-session")
            options.printSession = true;
        else if (a == "--keep-home")
            options.keepHome = true;
        else if (a == "--") {
            if (i + 1 < args.size()) options.file = args[++i];
            if (i + 1 < args.size()) {
                err << "quelto-sim: one scenario at a time (extra argument \"" << args[i + 1]
                    << "\")\n";
                return 2;
            }
        } else if (a.size() > 1 && a[0] == '-') {
            err << "quelto-sim: unknown option \"" << a << "\" (quelto-sim --help lists them)\n";
            return 2;
        } else if (options.file) {
            err << "quelto-sim: one scenario at a time (extra argument \"" << a << "\")\n";
            return 2;
        } else {
            options.file = a;
        }
    }
    if (options.help) {
        out << helpText();
        return 0;
    }
    if (options.commands) {
        out << commandsText();
        return 0;
    }
    if (options.printSession) {
        out << builtinSessionText();
        return 0;
    }

    std::string text, name;
    if (!options.file) {
        text = builtinSessionText();
        name = builtinSessionName();
    } else if (*options.file == "-") {
        auto t = readAll(std::cin);
        if (!t) {
            err << "quelto-sim: cannot read the scenario from standard input\n";
            return 2;
        }
        text = *t;
        name = "<stdin>";
    } else {
        std::error_code ec;
        if (std::filesystem::is_directory(*options.file, ec)) {
            err << "quelto-sim: " << *options.file << " is a folder, not a scenario file\n";
            return 2;
        }
        std::ifstream in(*options.file, std::ios::binary);
        auto t = in ? readAll(in) : std::nullopt;
        if (!t) {
            err << "quelto-sim: cannot read " << *options.file << "\n";
            return 2;
        }
        text = *t;
        name = *options.file;
    }

    ParseResult parsed = parseScenario(text, name);
    if (!parsed.scenario) {
        for (const Diagnostic& d : parsed.errors) err << d.text() << "\n";
        err << name << ": " << parsed.errors.size()
            << (parsed.errors.size() == 1 ? " error" : " errors") << "; nothing was run\n";
        return 2;
    }
    const Scenario& scenario = *parsed.scenario;
    if (options.check) {
        if (!options.quiet)
            out << name << ": " << scenario.steps.size() << " steps, " << scenario.expectationCount
                << " expectations — fine\n";
        return 0;
    }

    // Quelto's files live under $HOME; a run gets a home of its own unless it already has
    // one (the tests give every process a private home).
    std::unique_ptr<PrivateHome> home;
    std::string currentHome = homeDirectory();
    if (std::filesystem::path(currentHome).filename().string().rfind("quelto-", 0) != 0) {
        home = std::make_unique<PrivateHome>(options.keepHome);
        if (!home->ok()) {
            err << "quelto-sim: cannot make a private home folder in the temporary directory\n";
            return 2;
        }
    }

    RunResult result;
    {
        ScenarioRunner runner(scenario);
        result = runner.run();
    }
    if (!options.quiet) {
        ReportOptions report;
        report.logOnly = options.logOnly;
        out << formatReport(result, report);
        out.flush();
    }
    for (const Diagnostic& d : result.diagnostics) err << d.text() << "\n";
    if (!options.quiet) {
        int total = result.expectationsMet + result.expectationsFailed;
        if (!result.completed)
            err << name << ": stopped at an error\n";
        else if (result.expectationsFailed > 0)
            err << name << ": " << result.expectationsFailed << " of " << total
                << (total == 1 ? " expectation" : " expectations") << " failed\n";
        else if (total > 0)
            err << name << ": "
                << (total == 1 ? "the expectation"
                               : "all " + std::to_string(total) + " expectations")
                << " held\n";
        if (home && options.keepHome)
            err << "quelto-sim: the run's files are in " << home->path() << "\n";
    }
    return result.exitStatus;
}

}  // namespace quelto::simtool
