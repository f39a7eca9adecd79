#pragma once
// Helpers for the quelto-sim tests: where the repository's scenario files are, and running
// quelto-sim in-process with its two output streams captured.

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "simtool/QueltoSim.h"

namespace quelto::simtool::testing {

// The repository's root, found from this file's own path.
inline std::filesystem::path sourceRoot() {
    return std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
}

struct CliRun {
    int status = 0;
    std::string out;
    std::string err;
};

inline CliRun runCli(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    CliRun run;
    run.status = runQueltoSim(args, out, err);
    run.out = out.str();
    run.err = err.str();
    return run;
}

}  // namespace quelto::simtool::testing
