// quelto-sim: runs Quelto without a Mac. See quelto-sim --help and docs/scenarios.md.

#include <iostream>
#include <string>
#include <vector>

#include "simtool/QueltoSim.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    return quelto::simtool::runQueltoSim(args, std::cout, std::cerr);
}
