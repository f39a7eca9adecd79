// The click path: every left click the user makes anywhere passes through
// Engine::handleClick. Each engine figure is measured beside its floor, a plain loop over the
// same rectangles in a std::vector with Rect::contains, so the cost of the engine's own
// bookkeeping shows as a ratio within the same run.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "bench/BusyDesktop.h"
#include "settings/Log.h"

namespace quelto::bench {
namespace {

constexpr int apps = 50;
constexpr int windowsPerApp = 20;

bool allCached(benchmark::State& state, BusyDesktop& busy) {
    if (busy.cachedFrameCount() != static_cast<std::size_t>(apps * windowsPerApp)) {
        state.SkipWithError("not every close button was cached on the busy desktop");
        return false;
    }
    // The miss is a click on nothing: not even in a title bar's reach, where a close button
    // moved without a notification would be looked for (which costs a window-server query).
    bool inReach = busy.engine().apps().firstOf([&busy](const std::shared_ptr<AppWatcher>& w) {
        std::optional<WindowRef> inTitleBar;
        return w->closeButtonHit(busy.missPoint(), &inTitleBar).has_value() ||
               inTitleBar.has_value();
    });
    if (!inReach) return true;
    state.SkipWithError("the miss point lies on a close button or in its title-bar reach");
    return false;
}

// The first rectangle containing the point, or the count when none does.
std::size_t firstContaining(const std::vector<Rect>& rects, Point at) {
    const Rect* data = rects.data();
    const std::size_t count = rects.size();
    for (std::size_t i = 0; i < count; ++i)
        if (data[i].contains(at)) return i;
    return count;
}

// A click that hits nothing, on 50 watched apps × 20 cached windows. The frontmost
// application has no watcher, so the live pass ends at the workspace lookup.
void BM_ClickMiss(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared();
    if (!allCached(state, busy)) return;
    Engine& engine = busy.engine();
    Point at = busy.missPoint();
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        engine.handleClick(at, 0);
        benchmark::ClobberMemory();
    }
    state.counters["frames"] = static_cast<double>(busy.cachedFrameCount());
}
BENCHMARK(BM_ClickMiss);

// The same miss with its mouse-up: watching mouse-ups must add nothing measurable to a click
// that hit nothing (no pending press, nothing to do).
void BM_ClickMissWithMouseUp(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared();
    if (!allCached(state, busy)) return;
    Engine& engine = busy.engine();
    Point at = busy.missPoint();
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        engine.handleClick(at, 0);
        engine.handleMouseUp(at, 0);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ClickMissWithMouseUp);

// The same miss, with the frontmost application watched and all its windows cached: the
// live pass then asks that watcher, which finds no window worth a re-read.
void BM_ClickMissFrontmostWatched(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared(true);
    if (!allCached(state, busy)) return;
    Engine& engine = busy.engine();
    Point at = busy.missPoint();
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        engine.handleClick(at, 0);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ClickMissFrontmostWatched);

// Floor of the miss: the same 1000 rectangles, flat.
void BM_ClickMissFloor(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared();
    if (!allCached(state, busy)) return;
    std::vector<Rect> rects = busy.cachedFrames();
    Point at = busy.missPoint();
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        benchmark::DoNotOptimize(firstContaining(rects, at));
    }
}
BENCHMARK(BM_ClickMissFloor);

// A click on a cached close button (of the last application the cached pass walks), its
// mouse-down and mouse-up: the pending press, the confirmation where the button goes up, the
// click record, its dialog check scheduled on the main queue, and the log line, whose write
// goes to the log's queue. Every 1024 clicks, untimed, the virtual clock runs the scheduled
// checks and the log queue is drained, so neither grows without bound.
void BM_ClickHit(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared();
    if (!allCached(state, busy)) return;
    Engine& engine = busy.engine();
    Point at = busy.hitPoint();
    std::size_t n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        engine.handleClick(at, 0);
        engine.handleMouseUp(at, 0);
        if (++n % 1024 == 0) {
            state.PauseTiming();
            busy.desktop().advance(0.5);
            Log::shared().drain();
            state.ResumeTiming();
        }
    }
    // The record expires by the next benchmark, whose start drops it.
    if (engine.clicks().size() != 1) state.SkipWithError("the click was not recorded");
}
BENCHMARK(BM_ClickHit)->Iterations(20000);

// Floor of the hit: the walk over the same rectangles up to the one hit.
void BM_ClickHitFloor(benchmark::State& state) {
    BusyDesktop& busy = BusyDesktop::shared();
    if (!allCached(state, busy)) return;
    std::vector<Rect> rects = busy.cachedFrames();
    Point at = busy.hitPoint();
    if (firstContaining(rects, at) == rects.size()) {
        state.SkipWithError("the hit point is on no cached frame");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(at);
        benchmark::DoNotOptimize(firstContaining(rects, at));
    }
}
BENCHMARK(BM_ClickHitFloor);

}  // namespace
}  // namespace quelto::bench
