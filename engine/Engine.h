#pragma once
// The quit engine: one per process. It follows the regular applications with a watcher each,
// attributes close-button clicks to windows, gathers each application's closes into one
// decision, asks the application to quit when the decision says so, and checks that it went.
// Everything runs on the main thread; delayed work holds the engine weakly.

#include <map>
#include <memory>
#include <optional>
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

// How many ordinary windows of the process the window server shows off screen, on another
// Space or in full screen, beyond the `listed` windows Accessibility gave (matched by
// bounds). Reads the window server's list of every Space once, and the listed windows'
// frames.
int windowsOnOtherSpaces(Pid pid, const std::vector<AXElement>& listed);

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
    // A left mouse-down: when it lands on a close button (cached, or found by the live read
    // of the frontmost application), it opens a pending press; nothing is recorded yet.
    void handleClick(Point at, ModifierFlags modifiers);
    // A left mouse-up: the red dot acts when the button goes up on it, and so does the click.
    // An up over the close button the press went down on, confirmed as the window on top
    // there, becomes the click record, with the up's time and modifiers; any other up
    // discards the press.
    void handleMouseUp(Point at, ModifierFlags modifiers);
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

  private:
    // A mouse-down on a close button, waiting for its mouse-up: the window, its watcher, the
    // cached close-button frame it went down on and how the hit was found.
    struct PendingPress {
        WindowRef window;
        std::weak_ptr<AppWatcher> watcher;
        Rect button;
        bool cached = true;
        // The window's destroyed notification came before the mouse-up was handled.
        bool closedBeforeUp = false;
    };
    std::optional<PendingPress> pendingPress_;
    // The live read of the frontmost application's uncached close buttons at the point.
    std::optional<Hit> liveHit(Point at);

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
