// Loading the configuration: the engine does it at every close decision and the interface at
// every refresh, so it is on the path of every quit. Measured from a file on disk, as the
// program does it: the template as first written, and a long hand-edited file.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/BusyDesktop.h"
#include "settings/Config.h"
#include "settings/ConfigStore.h"

namespace quelto::bench {
namespace {

// A 200-line file as a user might grow it: comments, blank lines, every key in assorted
// spellings, dozens of armed and excluded applications, and a few lines that mean nothing.
std::string twoHundredLines() {
    std::string text = "# Quelto configuration — edited by hand\n#\n";
    int lines = 2;
    const char* const fixed[] = {
        "live = true",
        "LIVE = TRUE   # shouting works too",
        "mode = last-window",
        "Mode = Red-Dot",
        "escape = option",
        "escape = shift  # back to the default",
        "arm = *",
        "",
        "not a setting at all",
        "unknown = value = with = equals",
    };
    for (const char* line : fixed) {
        text += line;
        text += '\n';
        ++lines;
    }
    for (int i = 0; lines < 200; ++i) {
        switch (i % 4) {
            case 0:
                text += "arm = com.example.armed" + std::to_string(i) + "\n";
                break;
            case 1:
                text += "  exclude\t=  com.example.Excluded" + std::to_string(i) + "  # keep\n";
                break;
            case 2:
                text += "# a note about app " + std::to_string(i) + "\n";
                break;
            default:
                text += "\n";
                break;
        }
        ++lines;
    }
    return text;
}

void BM_ConfigLoadTemplate(benchmark::State& state) {
    writeConfigFile(Config::templateText());
    if (!ConfigStore().load().armAll) {
        state.SkipWithError("the template did not load as written");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(ConfigStore().load());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(Config::templateText().size()));
}
BENCHMARK(BM_ConfigLoadTemplate);

void BM_ConfigLoad200Lines(benchmark::State& state) {
    std::string text = twoHundredLines();
    writeConfigFile(text);
    Config loaded = ConfigStore().load();
    if (loaded.excluded.size() < 40 || loaded.armed.size() < 40) {
        state.SkipWithError("the 200-line file did not load as written");
        return;
    }
    for (auto _ : state) benchmark::DoNotOptimize(ConfigStore().load());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ConfigLoad200Lines);

// The parse alone, without the file, to tell the file system's share from the parser's.
void BM_ConfigParseTemplate(benchmark::State& state) {
    const std::string& text = Config::templateText();
    for (auto _ : state) benchmark::DoNotOptimize(Config::parse(text));
}
BENCHMARK(BM_ConfigParseTemplate);

}  // namespace
}  // namespace quelto::bench
