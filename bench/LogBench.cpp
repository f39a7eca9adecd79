// A log write as the caller's thread sees it: the line is built (with its timestamp from
// the real clock) and queued; the writer thread does the output meanwhile. Every 4096
// lines, untimed, the queue is drained so that it stays as short as in real use, and the
// file is removed so that it does not fill the disk (the next line starts a new one).

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "platform/SystemClock.h"
#include "settings/Log.h"

namespace quelto::bench {
namespace {

void startAfresh() {
    std::error_code ec;
    std::filesystem::remove(Log::path(), ec);
}

void BM_LogWrite(benchmark::State& state) {
    Log::shared().setClock(&systemClock());  // the real clock, as in the running program
    Log::shared().drain();
    const std::string message = "Preview (com.apple.Preview)  window closed  ←  red dot";
    std::size_t n = 0;
    for (auto _ : state) {
        log(message);
        if (++n % 4096 == 0) {
            state.PauseTiming();
            Log::shared().drain();
            startAfresh();
            state.ResumeTiming();
        }
    }
    Log::shared().drain();
}
BENCHMARK(BM_LogWrite)->Iterations(100000);

// A detail line: no timestamp, so no clock read.
void BM_LogDetail(benchmark::State& state) {
    Log::shared().setClock(&systemClock());
    Log::shared().drain();
    const std::string message = "→ mode last-window: WOULD QUIT";
    std::size_t n = 0;
    for (auto _ : state) {
        detail(message);
        if (++n % 4096 == 0) {
            state.PauseTiming();
            Log::shared().drain();
            startAfresh();
            state.ResumeTiming();
        }
    }
    Log::shared().drain();
}
BENCHMARK(BM_LogDetail)->Iterations(100000);

}  // namespace
}  // namespace quelto::bench
