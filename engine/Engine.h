#pragma once
// The quit engine: one per process. A coordinator of parts, each owning its own state:
//  - the app tracker (engine/AppTracker.h): one watcher per followed application;
//  - the click ledger (engine/ClickLedger.h): close-button clicks not yet consumed;
//  - the close gatherer (engine/CloseGatherer.h): each application's closes gathered into
//    one report;
//  - the quit requester (engine/QuitRequester.h): throttled quit requests and their checks.
// The engine starts them, routes the workspace's and the watchers' events to them, and makes
// each close decision: gather the facts, `decide` (engine/CloseDecision.h), write the log and
// the journal, act. Everything runs on the main thread; delayed work holds the engine weakly.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "accessibility/AppWatcher.h"
#include "accessibility/CloseButtonMiss.h"
#include "accessibility/WindowRef.h"
#include "engine/AppTracker.h"
#include "engine/ClickLedger.h"
#include "engine/ClickMonitor.h"
#include "engine/CloseDecision.h"
#include "engine/CloseGatherer.h"
#include "engine/EngineContext.h"
#include "engine/PendingReport.h"
#include "engine/QuitRequester.h"
#include "platform/Subscription.h"
#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto {

class Engine final : public DestroyedWindowSink, public std::enable_shared_from_this<Engine> {
    struct Token {};

  public:
    // Inert until start(): no monitor, no observers, no watchers. Keeps a copy of `context`
    // (whose services must outlive the engine) and reads the own process id from it.
    static std::shared_ptr<Engine> create(const EngineContext& context);

    Engine(Token, const EngineContext& context);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // A newly launched application gets its watcher this long after the launch.
    static constexpr double launchAttachDelay = 0.5;

    // ---- Lifecycle and app tracking ----
    // Starts the click monitor and the workspace observers, logs the policy and attaches to
    // every running foreground application. Called once.
    void start();
    void appLaunched(const RunningApplicationRef& app);
    void appTerminated(const RunningApplicationRef& app);
    // Whether the application may ever be watched: regular, not this program, a real process.
    bool isCandidate(const RunningApplication& app) const;
    // This program's own process: never watched, never quit.
    Pid ownPID() const { return ownPID_; }

    // ---- Clicks ----
    // The click monitor's callbacks: a left mouse-down, and a left mouse-up.
    void handleClick(Point at, ModifierFlags modifiers);
    void handleMouseUp(Point at, ModifierFlags modifiers);
    // The displays' arrangement changed: every cached close button is read afresh, since
    // every global coordinate may have moved without any window saying so.
    void screensChanged();

    // ---- Close decision ----
    void windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                         bool hadCloseButton, std::optional<CloseButtonMiss> miss) override;
    // Decides on the gathered closes of the watcher's application: gathers the facts, decides,
    // writes the log and the journal, and asks the application to quit when the verdict says so.
    void report(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher);

    // ---- Accessibility access, windows coming into view, activation policy
    // (engine/WindowInventory.cpp) ----
    // How often access is checked while the engine runs, in seconds.
    static constexpr double accessCheckInterval = 1.0;
    // Whether Accessibility access is there now; notices (and logs) when it has gone, after
    // which nothing is acted on until it is back.
    bool checkAccess();
    bool accessRevoked() const { return accessRevoked_; }
    // The workspace's activation and active-Space-changed notifications: an app that became
    // regular is attached; the watchers whose windows came into view catch up.
    void appActivated(const RunningApplicationRef& app);
    void activeSpaceChanged();

    // ---- The parts, to look at ----
    const AppTracker& apps() const { return apps_; }
    const ClickLedger& clicks() const { return *clicks_; }
    const CloseGatherer& closes() const { return *closes_; }
    const QuitRequester& quits() const { return *quits_; }
    const ClickMonitor& clickMonitor() const { return *clickMonitor_; }

  private:
    // Attaches to every running candidate, one per turn of the run loop, with the start-up
    // report's lines; `then` runs after the last one.
    void attachToRunningApps(std::function<void()> then = {});
    void attachNext(std::shared_ptr<std::vector<RunningApplicationRef>> candidates,
                    std::size_t index, long round, std::function<void()> then);
    long attachRound_ = 0;
    void observeSpacesAndActivations();
    void accessTick();
    // Access is gone: what was gathered cannot be followed up.
    void accessLost();
    // Access is back (after a revocation the checks saw, or one between two checks that
    // refused calls): logs `line` and attaches to every application afresh.
    void accessBack(const std::string& line);
    // Logs, once per run, that the Spaces lookups are missing.
    void noteSpacesLookupsMissing();

    // The decision on gathered closes; `settled` when the windows are counted again after
    // the settle period.
    void decideOn(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher,
                  bool settled);
    // Counts the application's windows again after the settle period (engine/WindowSwap.cpp).
    void settle(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher);

    // Makes the parts whose delayed work holds the engine weakly (once it is shared).
    void makeParts();
    // Drops everything kept about the process id: its clicks, its gathering report, its
    // throttle entry and its watcher.
    void forget(Pid pid);
    // The first step of a decision: the facts, or none when the application is gone (which
    // is logged). Loads the configuration into `config` unless the app is never quit.
    std::optional<CloseFacts> gatherFacts(const PendingReport& gathered,
                                          const std::shared_ptr<AppWatcher>& watcher,
                                          std::optional<Config>& config);

    const EngineContext context_;
    const Pid ownPID_;
    const std::shared_ptr<ClickMonitor> clickMonitor_;
    AppTracker apps_;
    std::unique_ptr<ClickLedger> clicks_;
    std::unique_ptr<CloseGatherer> closes_;
    std::unique_ptr<QuitRequester> quits_;
    Subscription launches_;
    Subscription terminations_;

    // What follows access, Spaces and activations (engine/WindowInventory.cpp).
    Subscription activations_;
    Subscription spaceChanges_;
    Subscription accessChecks_;
    // Apps whose delayed attach is scheduled (a launch, or an activation that made a regular
    // app of one that was not).
    std::set<Pid> attachDue_;
    bool accessRevoked_ = false;
    // The count of calls refused for access (accessibility/AXRead.h) when access was last
    // known to be on throughout.
    std::uint64_t refusalsSeen_ = 0;
    bool spacesLookupsLogged_ = false;
    // The settle periods under way, per process: a close that left no window, waiting to
    // count again (engine/WindowSwap.cpp).
    std::map<Pid, int> settling_;
    // The displays' arrangement: every cached close button is read afresh when it changes.
    Subscription screens_;
};

}  // namespace quelto
