#pragma once
// A busy simulated desktop for the benchmarks: many watched applications with many windows
// each, the engine started on it and every close button's frame cached, so that a click can
// be measured against exactly the state a real click meets.

#include <memory>
#include <string>
#include <vector>

#include "engine/Engine.h"
#include "platform/Types.h"
#include "sim/SimDesktop.h"

namespace quelto::bench {

class BusyDesktop {
  public:
    // `apps` regular applications with `windowsPerApp` standard windows each, laid out so
    // that no two close buttons overlap. The frontmost application is an accessory one
    // without a watcher unless `frontmostWatched`, when it is the last watched application
    // (all of whose windows are cached).
    BusyDesktop(int apps, int windowsPerApp, bool frontmostWatched = false);
    ~BusyDesktop();
    BusyDesktop(const BusyDesktop&) = delete;
    BusyDesktop& operator=(const BusyDesktop&) = delete;

    // One busy desktop of 50 applications × 20 windows per variant, built on first use and
    // kept for the whole run, so that the benchmark library's repeated calls do not rebuild
    // it. It clocks the log again, its main queue runs until every click record has expired
    // and a click on nothing lets the engine drop them, so each benchmark starts from the
    // same state.
    static BusyDesktop& shared(bool frontmostWatched = false);

    sim::SimDesktop& desktop() { return *desktop_; }
    Engine& engine() { return *engine_; }

    // How many close-button frames the watchers hold (apps × windows when all are cached).
    std::size_t cachedFrameCount() const;
    // The cached frames, watcher by watcher in the order the engine walks them.
    std::vector<Rect> cachedFrames() const;

    // A point on no window and no close button, nor in any title bar (outside every window).
    Point missPoint() const { return {5, 5}; }
    // The centre of the close button of the last window of the last application: the cached
    // pass finds it after walking (almost) every frame.
    Point hitPoint() const { return hitPoint_; }
    sim::ElementId hitWindow() const { return hitWindow_; }

    // Pids: the watched applications are firstPid … firstPid + apps − 1.
    static constexpr Pid ownPid = 1;
    static constexpr Pid accessoryPid = 2;
    static constexpr Pid firstPid = 1001;

  private:
    std::unique_ptr<sim::SimDesktop> desktop_;
    std::shared_ptr<Engine> engine_;
    Point hitPoint_;
    sim::ElementId hitWindow_ = 0;
};

// Writes the configuration file the engine reads at each decision.
void writeConfigFile(const std::string& text);

// The configuration the decision benchmarks use: quitting on, every app armed, last-window.
inline const char* const liveAllLastWindow = "live = true\nmode = last-window\narm = *\n";

// The centre of a window's close button on the desktop.
Point closeButtonCentre(const sim::SimDesktop& desktop, sim::ElementId window);

}  // namespace quelto::bench
