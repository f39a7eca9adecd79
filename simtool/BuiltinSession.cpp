#include "simtool/BuiltinSession.h"

namespace quelto::simtool {

const std::string& builtinSessionText() {
    static const std::string text = R"SCN(# placeholder
start
)SCN";
    return text;
}

const std::string& builtinSessionName() {
    static const std::string name = "session.scn";
    return name;
}

}  // namespace quelto::simtool
