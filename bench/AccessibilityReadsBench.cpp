// What each operation costs in Accessibility reads, the round trips to other applications
// that dominate real costs: counted by the simulated desktop, one operation each, on the
// busy desktop of the click benchmarks. A click that hits a cached frame, or nothing at all,
// must not reach another application to decide so; the figures are reported as the
// counter "ax_reads" and checked by scripts/bench.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>

#include "bench/BusyDesktop.h"
#include "settings/Log.h"

namespace quelto::bench {
namespace {

constexpr int apps = 50;
constexpr int windowsPerApp = 20;

// Runs `operation` once as the benchmark's only iteration and reports its reads, and its
// queries to the window server (whole lists and windows-above lists) as "ws_queries".
void countReads(benchmark::State& state, BusyDesktop& busy,
                const std::function<void()>& operation) {
    std::uint64_t reads = 0;
    std::uint64_t queries = 0;
    for (auto _ : state) {
        busy.desktop().resetCounters();
        operation();
        reads = busy.desktop().accessibilityReadCount();
        queries = busy.desktop().windowListReadCount() + busy.desktop().windowsAboveReadCount();
    }
    state.counters["ax_reads"] = static_cast<double>(reads);
    state.counters["ws_queries"] = static_cast<double>(queries);
    Log::shared().drain();
}

void BM_Reads_CachedMiss(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    countReads(state, busy, [&] { busy.engine().handleClick(busy.missPoint(), 0); });
}
BENCHMARK(BM_Reads_CachedMiss)->Iterations(1);

void BM_Reads_CachedMissFrontmostWatched(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp, true);
    countReads(state, busy, [&] { busy.engine().handleClick(busy.missPoint(), 0); });
}
BENCHMARK(BM_Reads_CachedMissFrontmostWatched)->Iterations(1);

// The hit test alone: the cached pass's answer for a click on a cached close button.
void BM_Reads_CachedHitTest(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    auto watcher = busy.engine().apps().watcherOf(BusyDesktop::firstPid + apps - 1);
    if (!watcher) {
        state.SkipWithError("the last application has no watcher");
        return;
    }
    countReads(state, busy, [&] {
        if (!watcher->closeButtonHit(busy.hitPoint())) state.SkipWithError("no cached hit");
    });
}
BENCHMARK(BM_Reads_CachedHitTest)->Iterations(1);

// The whole click on a cached close button, mouse-down and mouse-up: the hit test, the
// confirmation where the button goes up, the record and its log line, which names the window
// by its title. The window was clicked once before (its window number is known), as in
// `BM_ClickHit`.
void BM_Reads_CachedHitClick(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    busy.engine().handleClick(busy.hitPoint(), 0);
    busy.engine().handleMouseUp(busy.hitPoint(), 0);
    countReads(state, busy, [&] {
        busy.engine().handleClick(busy.hitPoint(), 0);
        busy.engine().handleMouseUp(busy.hitPoint(), 0);
    });
    if (busy.engine().clicks().size() != 1) state.SkipWithError("the click was not recorded");
}
BENCHMARK(BM_Reads_CachedHitClick)->Iterations(1);

// The first click on that close button: the window's number is learned from the on-screen
// list, still one window-server query and no Accessibility read.
void BM_Reads_FirstHitClick(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    countReads(state, busy, [&] {
        busy.engine().handleClick(busy.hitPoint(), 0);
        busy.engine().handleMouseUp(busy.hitPoint(), 0);
    });
    if (busy.engine().clicks().size() != 1) state.SkipWithError("the click was not recorded");
}
BENCHMARK(BM_Reads_FirstHitClick)->Iterations(1);

// A miss with its mouse-up.
void BM_Reads_CachedMissWithMouseUp(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    countReads(state, busy, [&] {
        busy.engine().handleClick(busy.missPoint(), 0);
        busy.engine().handleMouseUp(busy.missPoint(), 0);
    });
}
BENCHMARK(BM_Reads_CachedMissWithMouseUp)->Iterations(1);

// The look for a dialog holding up the close, 0.35 s after a recorded click.
void BM_Reads_DialogCheck(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    busy.engine().handleClick(busy.hitPoint(), 0);
    busy.engine().handleMouseUp(busy.hitPoint(), 0);
    countReads(state, busy, [&] { busy.desktop().advance(0.35); });
}
BENCHMARK(BM_Reads_DialogCheck)->Iterations(1);

// A click on the close button of a frontmost application's window whose button could not be
// read earlier (four failed reads): the live pass re-reads that window and finds the hit.
void BM_Reads_LivePassHit(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp, true);
    sim::SimDesktop& desktop = busy.desktop();
    Pid front = BusyDesktop::firstPid + apps - 1;
    sim::WindowDescription desc;
    desc.title = "Late";
    desc.frame = Rect{{3000, 3000}, {800, 600}};
    sim::ElementId late = desktop.addWindow(front, desc, false);
    desktop.injectError(late, "AXCloseButton", axerror::cannotComplete, 4);
    desktop.focusWindow(late);  // the watcher catches up on the window it was not told about
    desktop.advance(5);
    Point at = closeButtonCentre(desktop, late);
    countReads(state, busy, [&] {
        busy.engine().handleClick(at, 0);
        busy.engine().handleMouseUp(at, 0);
    });
    if (busy.engine().clicks().size() != 1) state.SkipWithError("the live pass missed");
}
BENCHMARK(BM_Reads_LivePassHit)->Iterations(1);

// One refresh of a window's close button, as a move triggers it.
void BM_Reads_Refresh(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    countReads(state, busy, [&] {
        busy.desktop().moveWindow(busy.hitWindow(), {3000, 3000});
        busy.desktop().runDue();
    });
}
BENCHMARK(BM_Reads_Refresh)->Iterations(1);

// A whole close decision: the click, the destruction, the gathering, the report with its
// re-read of the application's windows, and the quit request.
void BM_Reads_CloseDecision(benchmark::State& state) {
    BusyDesktop busy(apps, windowsPerApp);
    sim::SimDesktop& desktop = busy.desktop();
    writeConfigFile(liveAllLastWindow);
    sim::AppDescription app;
    app.pid = 5001;
    app.bundleID = "com.example.Closing";
    app.name = "Closing";
    desktop.launchApp(app);
    desktop.advance(0.6);
    sim::WindowDescription window;
    window.title = "Document";
    window.frame = Rect{{3000, 3000}, {800, 600}};
    sim::ElementId id = desktop.addWindow(app.pid, window);
    desktop.runDue();
    Point at = closeButtonCentre(desktop, id);
    std::size_t before = desktop.quitRequests().size();
    countReads(state, busy, [&] {
        desktop.click(at, 0);
        desktop.advance(0.4);
    });
    if (desktop.quitRequests().size() != before + 1)
        state.SkipWithError("the close did not end in a quit request");
}
BENCHMARK(BM_Reads_CloseDecision)->Iterations(1);

}  // namespace
}  // namespace quelto::bench
