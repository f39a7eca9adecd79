#pragma once
// quelto-sim's command line: runs a scenario file (or the built-in session) and prints what
// Quelto wrote. Kept apart from `main` so that tests can drive it in-process; `main` sends
// `check-updates` to its own command (simtool/checkupdates/) before it comes here.

#include <ostream>
#include <string>
#include <vector>

namespace quelto::simtool {

// `args` are the arguments after the program name. Returns the exit status: 0 when every
// expectation held, 1 when one did not, 2 for bad input (options, scenario text, a step that
// cannot be done).
int runQueltoSim(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The text of --help.
std::string helpText();
// The reference of every scenario command (--commands).
std::string commandsText();

}  // namespace quelto::simtool
