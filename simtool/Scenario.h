#pragma once
// A parsed scenario: where it came from, the moment and time zone it starts in, and its
// steps in file order. Each step is one line of the file, already checked, ready to run
// against a ScenarioRunner.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto::simtool {

class ScenarioRunner;

// A problem found in a scenario, tied to its file and line: bad input ("error") or an
// expectation that did not hold ("failed").
struct Diagnostic {
    enum class Kind { error, failed };
    std::string file;
    int line = 0;  // 0: the file as a whole
    Kind kind = Kind::error;
    std::string message;

    // "file:line: error: message" (or "failed:"), without a line feed.
    std::string text() const;
};

struct Step {
    int line = 0;
    std::string command;  // the first word, for messages
    std::function<void(ScenarioRunner&)> perform;
    // The step's moment, from the scenario's start; time steps (wait, at) end there.
    std::int64_t atMicros = 0;
};

struct Scenario {
    std::string file;
    // When the scenario starts (2026-01-01 09:00:00 UTC unless the file sets a clock), and
    // the local time zone of the log's timestamps.
    Date start = Date{1767258000.0};
    int utcOffsetSeconds = 0;
    // How the private home directory is shown in everything printed.
    std::string displayHome = "/Users/you";
    // This program's own process.
    Pid ownPid = 99;
    ActivationPolicy ownPolicy = ActivationPolicy::accessory;
    std::vector<Step> steps;
    int expectationCount = 0;
};

}  // namespace quelto::simtool
