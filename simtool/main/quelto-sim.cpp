// quelto-sim: runs Quelto without a Mac. See quelto-sim --help and docs/scenarios.md.

#include <iostream>
#include <string>
#include <vector>

#include "simtool/QueltoSim.h"
#include "simtool/checkupdates/CheckUpdatesCommand.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args.front() == "check-updates") {
        std::vector<std::string> rest(args.begin() + 1, args.end());
        return quelto::runCheckUpdates(rest, std::cout, std::cerr);
    }
    return quelto::simtool::runQueltoSim(args, std::cout, std::cerr);
}
