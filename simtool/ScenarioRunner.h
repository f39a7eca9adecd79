#pragma once
// Runs a parsed scenario through the real core on a simulated desktop in virtual time, and
// collects what Quelto wrote: its log (as the app writes it, timestamps from the virtual
// clock in the scenario's time zone), its activity journal and its configuration file; plus
// what the scenario asked to see on screen and every expectation that did not hold.
//
// A run needs a private home directory: the log and the configuration file are Quelto's
// real files under $HOME, and the run removes both before it starts. It refuses to run in a
// home that is not a private temporary one (see PrivateHome).

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sim/SimDesktop.h"
#include "simtool/Scenario.h"

namespace quelto {
class Engine;
class AppController;
}  // namespace quelto

namespace quelto::sim {
class SimApplicationHost;
}  // namespace quelto::sim

namespace quelto::simtool {

// Something the scenario asked to see: the menu, a settings tab, the pasteboard…
struct Screen {
    int line = 0;
    std::string time;   // "HH:MM:SS.mmm"
    std::string title;  // "menu", "settings · General", …
    std::string text;
};

struct RunResult {
    // 0: every expectation held; 1: some did not; 2: the scenario could not be run to its end.
    int exitStatus = 0;
    // Expectations that failed and the error that stopped the run, in the order they arose.
    std::vector<Diagnostic> diagnostics;
    int expectationsMet = 0;
    int expectationsFailed = 0;
    bool completed = false;

    // The log file as Quelto wrote it, the private home shown as the scenario's display home.
    std::string log;
    std::vector<std::string> journalLines;  // the journal as a table, newest first
    std::optional<std::string> config;      // the configuration file at the end; none if absent
    std::vector<Screen> screens;
    std::string logPath;     // as shown
    std::string configPath;  // as shown
    // How long Quelto's main thread was blocked in Accessibility calls, when it noticeably
    // was (a stretch of 0.1 s or more).
    std::optional<std::string> mainThread;
};

class ScenarioRunner final : private sim::UserScript {
  public:
    explicit ScenarioRunner(const Scenario& scenario);
    ~ScenarioRunner();
    ScenarioRunner(const ScenarioRunner&) = delete;
    ScenarioRunner& operator=(const ScenarioRunner&) = delete;

    // Runs every step in order, then gathers the result. Call once.
    RunResult run();

    // ---- What the steps use ----
    sim::SimDesktop& desktop() { return *desktop_; }
    const Scenario& scenario() const { return scenario_; }

    struct App {
        std::string handle;
        sim::AppDescription desc;  // as last declared or launched (the current pid)
        std::vector<Pid> pids;     // every process id it has had
    };
    // The application known under a handle; nullptr when none is.
    App* app(const std::string& handle);
    void declareApp(const std::string& handle, const sim::AppDescription& desc);
    // Every handle declared so far, in alphabetical order.
    std::vector<std::string> appHandles() const;

    // The open window (or dialog) of an application with this title. When it is not open,
    // reports a run-time error on `line` and gives none.
    std::optional<sim::ElementId> openWindow(int line, const std::string& handle,
                                             const std::string& title);
    void rememberWindow(const std::string& handle, const std::string& title, sim::ElementId id,
                        Rect frame);
    void retitleWindow(const std::string& handle, const std::string& from, const std::string& to);
    // The window's frame as the scenario last set it.
    std::optional<Rect> windowFrame(sim::ElementId id) const;
    void setWindowFrame(sim::ElementId id, Rect frame);
    bool isWindowOpen(const std::string& handle, const std::string& title) const;
    // The title the scenario last gave a window.
    std::optional<std::string> windowTitle(sim::ElementId id) const;

    // Where the mouse button last went down (`press`), for a `release` that names no point.
    void setPressPoint(Point at) { pressPoint_ = at; }
    Point pressPoint() const { return pressPoint_; }

    // The Accessibility element of a running application, as a desktop element id.
    std::optional<sim::ElementId> applicationElementId(Pid pid) const;

    // Every process id the application under a handle has had, oldest first.
    std::vector<Pid> pidsOf(const std::string& handle) const;

    // "HH:MM:SS.mmm" in the scenario's time zone.
    std::string timeOfDay(Date date) const;
    std::string now() const;

    // Quelto's start: the app's start-up sequence with the simulator's application host.
    void startQuelto(int line);
    bool quelto_started() const { return started_; }
    AppController* appController() const { return controller_.get(); }
    sim::SimApplicationHost* host() const { return host_.get(); }

    // The configuration file, written as a person's editor writes it (none: deleted).
    void writeConfig(const std::optional<std::string>& text);
    std::optional<std::string> readConfig() const;
    // The log as written so far, one line each, the private home shown as the display home.
    std::vector<std::string> logLines();

    // A run-time error: the step cannot be done. The run stops after this step.
    void error(int line, const std::string& message);
    // One expectation: counted, and when it does not hold, reported with `message`.
    void check(int line, bool holds, const std::string& message);
    // Something the scenario asked to see.
    void show(int line, const std::string& title, const std::string& text);
    // Applies the private home's display name to a text.
    std::string displayed(const std::string& text) const;

    // The main thread's stalls an `expect stall` has already looked at.
    std::size_t stallsSeen = 0;

  private:
    // Quelto's settings window as a window of its process on the desktop, while it is open.
    void showSettingsWindowOnDesktop(bool shown);
    std::optional<sim::ElementId> settingsWindow_;
    // The scenario's steps as the user's actions, taken by the desktop's main thread.
    std::optional<Date> nextActionTime() override;
    void runNextAction() override;
    bool nextActionIsInput() override;

    void prepareFiles();
    void finish(RunResult& result);
    void checkInvariants(RunResult& result);

    const Scenario& scenario_;
    std::unique_ptr<sim::SimDesktop> desktop_;
    std::unique_ptr<sim::SimApplicationHost> host_;
    std::shared_ptr<AppController> controller_;
    std::map<std::string, App> apps_;
    std::map<std::pair<std::string, std::string>, sim::ElementId> windows_;
    std::map<sim::ElementId, Rect> frames_;
    std::string home_;
    Point pressPoint_;
    bool started_ = false;
    bool stopped_ = false;
    std::size_t nextStep_ = 0;
    bool settling_ = false;  // running what a step set off, before the next step
    RunResult result_;
};

}  // namespace quelto::simtool
