#pragma once
// Helpers for the release tests: the repository's files, and the release scripts run as a
// release runs them, their standard output and error and exit status kept apart.

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace quelto::releasetest {

// A file of the repository, by its path from the top ("scripts/release-feed").
inline std::string sourcePath(const std::string& relative) {
    return std::string(QUELTO_SOURCE_DIR) + "/" + relative;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

// A place of the test's own for what the scripts write: the process's private home.
inline std::string scratchPath(const std::string& name) {
    const char* home = std::getenv("HOME");
    return std::string(home ? home : "/tmp") + "/release-test/" + name;
}

struct ScriptRun {
    int status = -1;  // the exit status; -1 when the script did not exit normally
    std::string out;
    std::string err;
};

// Runs one of the repository's scripts with these arguments, each passed as is.
inline ScriptRun runScript(const std::string& script, const std::vector<std::string>& args) {
    auto quoted = [](const std::string& s) {
        std::string q = "'";
        for (char c : s) {
            if (c == '\'')
                q += "'\\''";
            else
                q += c;
        }
        q += '\'';
        return q;
    };
    const std::string errPath = scratchPath("stderr.txt");
    std::filesystem::create_directories(std::filesystem::path(errPath).parent_path());
    std::string command = quoted(sourcePath(script));
    // Appended piece by piece: `" " + quoted(arg)` inserts at the front of a temporary, which
    // g++ 12 at -O2 wrongly reports as an overlapping copy (-Wrestrict).
    for (const std::string& arg : args) {
        command += ' ';
        command += quoted(arg);
    }
    command += " 2>";
    command += quoted(errPath);

    ScriptRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
    int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.err = readFile(errPath);
    return run;
}

}  // namespace quelto::releasetest
