#include "simtool/BuiltinSession.h"

#include "simtool/BuiltinSessionText.h"

namespace quelto::simtool {

// scenarios/session.scn, embedded by the build (the file also runs as a test of its own).
const std::string& builtinSessionText() {
    static const std::string text = sessionScenarioText;
    return text;
}

const std::string& builtinSessionName() {
    static const std::string name = "session.scn";
    return name;
}

}  // namespace quelto::simtool
