// The scenario parser on arbitrary text: a scenario file is written by hand, so the parser
// must report every problem as a diagnostic and never crash, whatever the file holds. A
// scenario is produced exactly when there is no error; nothing is run.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "simtool/ScenarioParser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    quelto::simtool::ParseResult result = quelto::simtool::parseScenario(text, "fuzz.scn");
    if (result.scenario.has_value() == !result.errors.empty()) {
        std::fprintf(stderr, "scenario fuzzer: %s\n",
                     result.scenario ? "a scenario came with errors" : "no scenario and no error");
        std::abort();
    }
    for (const auto& error : result.errors) {
        if (error.line < 0) std::abort();
        (void)error.text();
    }
    if (result.scenario) {
        for (const auto& step : result.scenario->steps)
            if (!step.perform) std::abort();
    }
    return 0;
}
