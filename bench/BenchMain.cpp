// The benchmarks run in a private temporary home, as the tests do, so that the engine's
// configuration and log files never touch the user's own; the log's mirror on standard
// error is silenced so that the figures are not drowned in log lines.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "settings/Log.h"

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::string templ = (fs::temp_directory_path() / "quelto-bench-XXXXXX").string();
    char* made = mkdtemp(templ.data());
    if (!made) return 2;
    setenv("HOME", made, 1);
    fs::create_directories(fs::path(made) / "Library" / "Logs");
    quelto::Log::shared().setMirror([](const std::string&) {});

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    quelto::Log::shared().drain();
    std::error_code ec;
    fs::remove_all(made, ec);
    return 0;
}
