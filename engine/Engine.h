#pragma once
// The quit engine: one per process. It follows the regular applications with a watcher each,
// attributes close-button clicks to windows, gathers each application's closes into one
// decision, asks the application to quit when the decision says so, and checks that it went.
// Everything runs on the main thread; delayed work holds the engine weakly.

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "accessibility/AppWatcher.h"
#include "accessibility/CloseButtonMiss.h"
#include "accessibility/WindowRef.h"
#include "engine/ClickMonitor.h"
#include "engine/ClickRecord.h"
#include "engine/PendingReport.h"
#include "platform/Subscription.h"
#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto {

// Whether the window server's bounds of a window and the frame Accessibility reports for it
// name the same rectangle (to within the rounding of either service).
bool sameWindowBounds(const Rect& windowServer, const Rect& accessibility);

// Ordinary windows smaller than this on either side (points) are not counted as windows on
// other Spaces: applications keep tiny helper windows there that the user never sees.
inline constexpr double minimumCountedWindowSide = 40;

// How many ordinary windows of the process the window server places on another Space or in
// full screen, beyond the `listed` windows Accessibility gave ("AXWindows", matched by window
// number, else by bounds): not ordered out (on no Space), and not one of the `known` window
// elements that Accessibility does not count as user windows. Reads the window server's list
// of every Space once. Without the Spaces lookups nothing is counted and
// `lookupsUnavailable` says so.
struct OtherSpacesCount {
    int elsewhere = 0;
    bool lookupsUnavailable = false;
};
OtherSpacesCount windowsOnOtherSpaces(Pid pid, const std::vector<AXElement>& listed,
                                      const std::vector<AXElement>& known = {});

class Engine final : public DestroyedWindowSink, public std::enable_shared_from_this<Engine> {
    struct Token {};

  public:
    // Inert until start(): no monitor, no observers, no watchers. Reads the own process id
    // from the installed platform.
    static std::shared_ptr<Engine> create();

    explicit Engine(Token);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // One watcher per tracked application; the watchers refer back without owning.
    std::map<Pid, std::shared_ptr<AppWatcher>> watchers;
    // When each application was last asked to quit.
    std::map<Pid, Date> lastTerminateAttempt;
    // The global mouse-down monitor, created with the engine and never replaced.
    const std::shared_ptr<ClickMonitor> clickMonitor;
    // Close-button clicks not yet consumed, by window.
    std::unordered_map<WindowRef, ClickRecord> recentClicks;
    // Closes being gathered before a decision, by application.
    std::map<Pid, PendingReport> pending;
    // This program's own process: never watched, never quit.
    const Pid ownPID;

    // A newly launched application gets its watcher this long after the launch.
    static constexpr double launchAttachDelay = 0.5;
    // At most one quit request per application within this interval.
    static constexpr double quitThrottle = 10.0;
    // How long after a quit request the engine watches for the application to go…
    static constexpr double quitVerification = 20.0;
    // …looking this often.
    static constexpr double quitPollInterval = 2.0;

    // ---- Lifecycle and app tracking ----
    // Starts the click monitor and the workspace observers, logs the policy and attaches to
    // every running foreground application. Called once.
    void start();
    void appLaunched(const RunningApplicationRef& app);
    void appTerminated(const RunningApplicationRef& app);
    // Whether the application may ever be watched: regular, not this program, a real process.
    bool isCandidate(const RunningApplication& app) const;

    // ---- Click attribution ----
    void handleClick(Point at, ModifierFlags modifiers);
    void record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                ModifierFlags modifiers, std::string_view how);
    void sustainIfBlocked(const WindowRef& window, Pid pid);
    void pruneClicks();
    // A window whose close button a click landed on, with its watcher.
    struct Hit {
        WindowRef window;
        std::shared_ptr<AppWatcher> watcher;
    };
    // Confirms a hit found in the close-button frames with the window server's on-screen
    // list: the window on top at the point must be the hit window (same process, same
    // bounds as its Accessibility frame) or another tracked window whose close button is
    // under the point, which then gets the click. None when the click belongs to no tracked
    // close button. Reads the window server once and window frames through Accessibility.
    std::optional<Hit> confirmHit(const WindowRef& window,
                                  const std::shared_ptr<AppWatcher>& watcher, Point at);

    // ---- Close decision ----
    void windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                         bool hadCloseButton, std::optional<CloseButtonMiss> miss) override;
    void report(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher);

    // ---- Termination ----
    // What became of a decision to quit: the request went out, or why none was sent.
    enum class QuitAttempt { requested, throttled, appGone };
    QuitAttempt terminate(const std::shared_ptr<AppWatcher>& watcher);
    void verifyQuit(Pid of, const std::string& named, Date deadline);

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

  private:
    // Attaches to every running candidate, with the start-up report's lines.
    void attachToRunningApps();
    void observeSpacesAndActivations();
    Subscription activations_;
    Subscription spaceChanges_;
    // Apps whose delayed attach is scheduled (a launch, or an activation that made a regular
    // app of one that was not).
    std::set<Pid> attachDue_;
    void accessTick();
    bool accessRevoked_ = false;
    // Whether the missing Spaces lookups have been logged (once per run).
    bool spacesLookupsLogged_ = false;
    Subscription accessChecks_;

    // Drops everything kept about the process id: its clicks, its gathering report, its
    // throttle entry and its watcher.
    void forget(Pid pid);
    // Whether the watcher under `pid` was made for a process that has since terminated (a
    // new process may reuse the id).
    bool watchesDeadProcess(Pid pid) const;

    Subscription launches_;
    Subscription terminations_;
    // The process each watcher was made for, by process id.
    std::map<Pid, RunningApplicationRef> watchedProcesses_;
};

}  // namespace quelto
