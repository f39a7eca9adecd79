#pragma once
// Reading a scenario file. The whole file is read and checked before anything runs: every
// command, number, time, application and window is checked, and every problem is reported
// with the file, the line and what is wrong.

#include <optional>
#include <string>
#include <vector>

#include "simtool/Scenario.h"

namespace quelto::simtool {

struct ParseResult {
    std::optional<Scenario> scenario;  // none when there is any error
    std::vector<Diagnostic> errors;
};

ParseResult parseScenario(const std::string& text, const std::string& file);

// One command of the language: its name, how it is written, and what it does.
struct CommandHelp {
    std::string name;
    std::string usage;
    std::string summary;
};
// Every command, in the order the reference lists them.
const std::vector<CommandHelp>& scenarioCommands();

}  // namespace quelto::simtool
