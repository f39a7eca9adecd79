#pragma once
// The built-in session: a realistic day with Quelto, run by quelto-sim with no arguments.
// Its text is scenarios/session.scn, compiled in; the file also runs as a test.

#include <string>

namespace quelto::simtool {

const std::string& builtinSessionText();
// The name its messages carry.
const std::string& builtinSessionName();

}  // namespace quelto::simtool
