// A full close decision on the simulated desktop: the red dot is clicked, the window goes,
// the close gathers for 0.3 s, the report re-reads the application's windows and the
// configuration, logs and journals the decision, and the application is asked to quit.
// The figure includes the simulated desktop's own work (routing the click, destroying the
// window, delivering the notification), which the real system does in other processes.

#include <benchmark/benchmark.h>

#include <string>

#include "bench/BusyDesktop.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"
#include "settings/Log.h"

namespace quelto::bench {
namespace {

void BM_CloseDecision(benchmark::State& state) {
    BusyDesktop busy(50, 20);
    sim::SimDesktop& desktop = busy.desktop();
    writeConfigFile(liveAllLastWindow);
    Pid next = 5001;
    std::size_t requested = desktop.quitRequests().size();

    for (auto _ : state) {
        // Untimed: a fresh application with one window, watched and its close button cached.
        state.PauseTiming();
        sim::AppDescription app;
        app.pid = next++;
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
        state.ResumeTiming();

        desktop.click(at, 0);
        desktop.advance(0.4);

        state.PauseTiming();
        if (desktop.quitRequests().size() != ++requested) {
            state.SkipWithError("the close did not end in a quit request");
            break;
        }
        // The application quits and the quit check runs out, untimed.
        desktop.advance(3);
        Log::shared().drain();
        ActivityTestSeam::startEmpty();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_CloseDecision)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quelto::bench
