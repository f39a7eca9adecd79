#pragma once
// The simulated desktop's model, shared by the files that implement SimDesktop: the virtual
// clock and its queue, the elements (applications, windows, close buttons, sheets), the
// running applications, the observers and their registrations, the mouse monitors and the
// smaller services. Everything lives on the one main thread; nothing here is locked.
//
// Handles given out to the core (element handles, observers, running-application objects,
// subscriptions) may outlive the desktop. Each keeps a weak reference to the desktop's
// lifeline and does nothing once it has expired.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sim/SimDesktop.h"

namespace quelto::sim {

// Virtual time is kept in whole microseconds, so that sums of delays are exact and the same
// inputs always give the same order of work.
using Micros = std::int64_t;
Micros toMicros(double seconds);

enum class ElementKind { application, window, closeButton, sheet };

// What an attribute of an element holds when it has been set or failed explicitly.
struct AttributeOverride {
    AXError error;
    std::optional<AXValue> value;
};

struct InjectedError {
    AXError error;
    int remaining = 1;  // -1: until cleared
};

struct Element {
    ElementKind kind = ElementKind::window;
    Pid pid = 0;
    bool alive = true;
    ElementId parent = 0;  // the window of a close button or sheet

    // Windows.
    WindowDescription desc;
    ElementId closeButton = 0;
    std::vector<ElementId> sheets;  // oldest first
    Point buttonOffset{8, 6};       // the close button's origin relative to the window
    Size buttonSize{14, 16};
    bool closeScheduled = false;
    // Where the window is: its number in the window server, its Space, whether it is
    // minimised to the Dock, and, in full screen, the Space and frame it came from.
    std::uint32_t number = 0;
    int space = 1;
    bool minimized = false;
    std::optional<int> fullScreenFrom;
    Rect frameBeforeFullScreen;
    // A dialog that is app-modal (an alert run modally): while it is up, the application's
    // other windows ignore their close buttons.
    bool appModal = false;
    // Ordered out by its application: kept, but on no Space and off screen.
    bool orderedOut = false;

    std::map<std::string, AttributeOverride> overrides;
    std::optional<float> messagingTimeout;
};

class SimRunningApplication;

struct AppRecord {
    AppDescription desc;
    ElementId appElement = 0;
    bool running = true;
    // Still in the workspace's list of running applications. The process may have exited
    // (`running` false, `isTerminated` true) before the main run loop takes the termination
    // in: NSWorkspace updates its list there, in the same turn as it posts the notification.
    bool listed = true;
    bool hidden = false;  // ⌘H: its windows are off screen, still in its AXWindows
    std::shared_ptr<SimRunningApplication> handle;
};

struct Registration {
    ElementId element = 0;
    std::string notification;
    void* refcon = nullptr;
};

class SimObserver;

struct ObserverRecord {
    Pid pid = 0;
    AXObserverCallback callback = nullptr;
    SimObserver* object = nullptr;
    bool sourceOnRunLoop = false;
    unsigned sourceModes = 0;  // the run-loop modes its source was added for
    std::vector<Registration> registrations;
};

// A repeating timer; its subscription only flips `cancelled`, so it may outlive the desktop.
struct RepeatingTimer {
    Micros interval = 0;
    std::function<void()> tick;
    bool cancelled = false;
};

// Who runs a work item. The other processes (apps closing windows, quitting) go on at their
// own pace whatever Quelto's main thread does. Main-queue blocks run in the common modes,
// but never while another main-queue block is still running (the main dispatch queue is
// serial). A run-loop source (an observer's, a timer's) fires only in the modes it was
// added for.
enum class WorkKind { world, mainQueue, runLoopSource };

// Run-loop modes as a set of bits.
inline constexpr unsigned modeBit(RunLoopMode mode) {
    return 1u << static_cast<unsigned>(mode);
}
inline constexpr unsigned defaultModeOnly = modeBit(RunLoopMode::defaultMode);
inline constexpr unsigned commonModes = modeBit(RunLoopMode::defaultMode) |
                                        modeBit(RunLoopMode::modalPanel) |
                                        modeBit(RunLoopMode::eventTracking);

struct WorkItem {
    std::function<void()> work;
    std::shared_ptr<RepeatingTimer> timer;  // set for the ticks of a repeating timer
    WorkKind kind = WorkKind::mainQueue;
    unsigned modes = commonModes;  // run-loop sources: the modes they fire in
};

// Quelto's main thread: the run-loop modes it is in (nested loops push theirs), whether a
// main-queue block is running, the reads that block it, and the scripted user whose actions
// the run loop takes in due order.
struct MainThread {
    std::vector<RunLoopMode> modes;  // the nested loops' modes, innermost last
    int mainQueueBlocks = 0;         // main-queue blocks running (nested loops inside them)
    int blocked = 0;                 // > 0 while a read blocks the thread
    UserScript* script = nullptr;
    Micros readCost = 100;            // an answered read: 0.1 ms
    float systemWideTimeout = 0;      // 0: the platform default
    std::map<Pid, Micros> hungUntil;  // apps that do not answer, until then
    // What hung apps do once they answer again (the user's clicks they have not seen yet).
    std::map<Pid, std::vector<std::function<void()>>> afterHang;
    // The stretch of blocked time being measured, and the stretches so far.
    Micros stallStart = 0;
    Micros stallLength = 0;
    std::vector<Stall> stalls;
    Micros blockedTotal = 0;
    // Alerts: how long the next one stays on screen, and whether one is.
    std::optional<Micros> holdNextAlert;
    int alertsOnScreen = 0;
};

// A workspace observer; its subscription only flips `active`.
struct WorkspaceHandler {
    Workspace::ApplicationHandler handler;
    bool active = true;
};

// Adds an observer to one of the desktop's workspace lists (dropping those unsubscribed).
Subscription subscribe(std::vector<std::shared_ptr<WorkspaceHandler>>& list,
                       Workspace::ApplicationHandler handler);

struct InstalledApplication {
    std::string path;
    std::optional<std::string> bundleID;
    std::string displayName;
};

struct SimDesktop::State {
    explicit State(SimDesktop& desktop) : owner(desktop) {}

    SimDesktop& owner;
    // Expires with the desktop; handles check it before touching the model.
    std::shared_ptr<int> lifeline = std::make_shared<int>(0);

    // ---- Clock and queue ----
    Micros now = 0;  // absolute, since 1970
    int utcOffsetSeconds = 0;
    std::uint64_t nextSequence = 1;
    std::map<std::pair<Micros, std::uint64_t>, WorkItem> queue;

    void schedule(double delaySeconds, std::function<void()> work,
                  std::shared_ptr<RepeatingTimer> timer = nullptr);
    // Work of another process, done at its moment even while the main thread is blocked.
    void scheduleWorld(double delaySeconds, std::function<void()> work);
    void scheduleAt(Micros due, WorkItem item);
    // Runs the first item that may run now and is due at or before `limit`, or the scripted
    // user's next action when it comes first; false when there is neither.
    bool runNext(Micros limit);

    // ---- The main thread (SimMainThread.cpp) ----
    MainThread main;
    bool mayRun(const WorkItem& item) const;
    RunLoopMode currentMode() const;
    // A nested run loop in `mode` until `until` (a modal alert, a tracked menu).
    void runNestedLoop(RunLoopMode mode, Micros until);
    // The main thread is blocked for `length`: the other processes go on meanwhile.
    void block(Micros length);
    // The stretch of blocked time ends (the thread is back in its run loop).
    void endStall();
    // The time a read of `id` takes, and its failure when the app does not answer in time.
    AXError spendReadTime(ElementId id);
    // When the app is hung, keeps `act` for the moment it answers again, and says so.
    bool deferWhileHung(Pid pid, std::function<void()> act);
    double messagingTimeout(const Element& e) const;

    // ---- Elements ----
    ElementId nextElement = 1;
    std::map<ElementId, Element> elements;
    std::vector<ElementId> zOrder;  // every live window, on screen or not, front to back
    std::map<std::pair<ElementId, std::string>, InjectedError> injected;
    std::uint64_t totalReads = 0;
    std::map<std::string, std::uint64_t> readsByAttribute;
    std::map<std::pair<ElementId, std::string>, std::uint64_t> readsByElement;
    std::function<void(ElementId, const std::string&)> readHook;
    std::uint64_t notificationRequests = 0;

    Element* find(ElementId id);
    const Element* find(ElementId id) const;
    Element* liveWindow(ElementId id);
    ElementId newElement(Element element);
    AXElement handle(ElementId id) const;
    AXError read(ElementId id, const std::string& attribute, std::optional<AXValue>& value);
    AXError computedValue(const Element& e, ElementId id, const std::string& attribute,
                          std::optional<AXValue>& value) const;
    // Every live window of the application, on every Space, front to back.
    std::vector<ElementId> windowsOf(Pid pid) const;
    Rect windowFrame(const Element& window) const { return window.desc.frame; }
    Rect buttonFrame(const Element& window) const;
    // A sheet's frame: 420 × 160, centred under its window's title bar.
    Rect sheetFrame(const Element& window) const;
    // Marks a window and its children dead and takes it off screen; `notify` posts
    // "AXUIElementDestroyed" for it (and its sheets).
    void destroyWindow(ElementId window, bool notify);
    // Closes a window the way its application does when asked: a save sheet when it asks to
    // save, else the window goes after its close delay.
    void requestClose(ElementId window);
    void scheduleClose(ElementId window);
    void lastWindowCheck(Pid pid);

    // ---- Stacking order, Spaces and the window server (SimStacking.cpp) ----
    // The main display; a full-screen window fills it.
    Rect screen{{0, 0}, {1512, 982}};
    int currentSpace = 1;
    int desktopSpaces = 1;  // Spaces 1…N; full-screen Spaces are numbered above
    int nextFullScreenSpace = 1001;
    std::uint32_t nextWindowNumber = 1001;
    std::uint64_t windowListReads = 0;

    // Whether the window (or sheet) is drawn on screen now: alive, on the current Space, not
    // minimised, its application neither hidden nor gone.
    bool onScreen(const Element& window) const;
    // The windows the application's "AXWindows" lists: those on the current Space, front to
    // back, minimised ones included.
    std::vector<ElementId> accessibleWindowsOf(Pid pid) const;
    // The application's focused window: its frontmost listed window that is not minimised.
    std::optional<ElementId> focusedWindowOf(Pid pid) const;
    // Moves a window to the front of the stack; when that changes its application's focused
    // window, "AXFocusedWindowChanged" goes to the application's observers.
    void raise(ElementId window);
    // Makes the application frontmost (unhiding it); `allWindows` brings every window of it
    // forward, in their own order, as the Dock and ⌘-Tab do (a click raises only its window).
    void activate(Pid pid, bool allWindows);
    // Who becomes frontmost when `leaving` quits or hides: the owner of the frontmost window
    // on screen, other than `leaving`; none when there is no such window.
    std::optional<Pid> nextFrontmost(Pid leaving) const;
    // Whether the application shows an app-modal dialog.
    bool showsAppModal(Pid pid) const;

    // ---- Applications ----
    std::vector<std::shared_ptr<AppRecord>> apps;  // insertion order, terminated ones included
    std::unordered_map<Pid, std::shared_ptr<AppRecord>> runningByPid;  // the running ones
    std::optional<Pid> frontmost;
    std::vector<Pid> formerFrontmost;  // the applications frontmost before, most recent last
    Pid ownPid = 1;
    std::vector<QuitRequest> quitRequests;
    std::vector<Pid> activations;
    std::vector<std::shared_ptr<WorkspaceHandler>> launchHandlers;
    std::vector<std::shared_ptr<WorkspaceHandler>> terminationHandlers;

    AppRecord* runningApp(Pid pid);
    std::shared_ptr<AppRecord> runningAppRef(Pid pid) const;
    const AppRecord* runningApp(Pid pid) const;
    void startApp(const AppDescription& desc, bool notifyLaunch);
    void terminate(Pid pid);
    void deliverWorkspace(const std::vector<std::shared_ptr<WorkspaceHandler>>& handlers,
                          const std::shared_ptr<AppRecord>& app);

    // ---- Observers ----
    std::uint64_t nextObserver = 1;
    std::map<std::uint64_t, ObserverRecord> observers;
    int observersReleasedWithSource = 0;
    // Queues one delivery per matching registration on `registeredOn`, passing `subject`.
    void post(ElementId registeredOn, const std::string& notification, ElementId subject);

    // ---- Mouse ----
    MonitorToken nextMonitor = 1;
    std::map<MonitorToken, std::shared_ptr<MouseMonitor::Handler>> monitors;
    std::uint64_t eventsNotMonitored = 0;
    // The window on screen under the point (its close button counts as part of it; a sheet
    // counts as its window), when no overlay or other window is in front of it there.
    std::optional<ElementId> windowAt(Point point) const;

    // ---- Clicks: layers, system windows, late events (SimLayers.cpp) ----
    std::map<MonitorToken, std::shared_ptr<MouseMonitor::Handler>> upMonitors;
    std::vector<std::pair<OverlayDescription, std::uint32_t>>
        overlays;  // newest first, with numbers
    Point pointer;
    // Events routed during a user action, handed to the monitors when the action is done.
    int userActions = 0;
    std::vector<std::function<void()>> heldEvents;
    std::vector<std::shared_ptr<std::function<void()>>> screenObservers;
    std::uint64_t windowsAboveReads = 0;
    // The window server's own index, as a Mac's keeps one beside its stacking order: each
    // window's and sheet's element by its number, and how many live windows each layer holds.
    std::unordered_map<std::uint32_t, ElementId> byNumber;
    std::map<int, int> windowLayers;
    // The window-server windows front to back: overlays and windows by layer, each sheet
    // just in front of its window; with the element behind each (0 for an overlay).
    std::vector<std::pair<WindowServerWindow, ElementId>> drawn() const;
    // Hands an event to the monitors now, or once the main thread is free.
    void deliver(std::function<void()> event);
    void flushHeldEvents();
    // Takes the scripted user's input actions due before `limit` (while the thread is blocked).
    void takeInputActions(Micros limit);
    // The mouse button held down: where, on which window, and whether on its close button.
    struct Press {
        Point at;
        ModifierFlags modifiers = 0;
        std::optional<ElementId> window;
        bool onCloseButton = false;
        bool own = false;  // it landed in this program's own window
    };
    std::optional<Press> press;
    // How the window under the pointer reacts to a press, and to the release of one.
    void pressReacts(std::optional<ElementId> hit, bool onButton);
    void releaseReacts(Point point, const Press& pressed);

    // ---- Space events and lookups, ordered-out windows (SimSpaces.cpp) ----
    std::vector<std::shared_ptr<WorkspaceHandler>> activationHandlers;
    std::vector<std::shared_ptr<std::function<void()>>> spaceChangeHandlers;
    bool spacesLookups = true;
    int activeSpaceChanges = 0;
    std::vector<Pid> activationsPosted;
    // Makes the application frontmost (or none); an application that becomes frontmost is
    // announced to the activation observers.
    void setFront(std::optional<Pid> pid);
    // The active-Space-changed notification, to every observer.
    void postActiveSpaceChanged();
    // Switches Spaces as the user (or the system) does: the app of the frontmost window there
    // becomes active, and only that app is told of a new focused window.
    void changeSpace(int space);
    // A full-screen window that leaves (closed, ordered out, its app gone): the desktop
    // shows the Space it came from.
    void leaveFullScreenSpaceOf(const Element& window);
    void orderOut(ElementId window);

    // ---- Services ----
    bool trusted = true;
    int trustPrompts = 0;
    LoginItem::Status loginStatus = LoginItem::Status::notRegistered;
    std::optional<std::string> loginError;
    std::map<std::string, std::string> bundleInfo;
    std::string machine = "arm64";
    SystemInfo::OSVersion osVersion{14, 5, 0};
    std::vector<long> alertAnswers;  // taken from the front
    std::vector<AlertDescription> alerts;
    std::string pasteboard;
    std::vector<InstalledApplication> installed;
    std::vector<std::string> openedURLs;
    std::vector<std::string> revealedFiles;
    std::vector<OpenedItem> opened;
    std::map<std::string, HttpResult> httpReplies;
    std::vector<HttpRequest> httpRequests;
};

// An element handle: a fresh object for every read, the same element underneath.
class SimElement final : public AXElementObject {
  public:
    SimElement(std::weak_ptr<int> life, SimDesktop::State* state, ElementId id)
        : life_(std::move(life)), state_(state), id_(id) {}

    AXError copyAttributeValue(const std::string& attribute,
                               std::optional<AXValue>& value) const override;
    AXError setMessagingTimeout(float seconds) const override;
    bool isSameElement(const AXElementObject& other) const override;
    std::size_t elementHash() const override;

    ElementId id() const { return id_; }

  private:
    std::weak_ptr<int> life_;
    SimDesktop::State* state_;
    ElementId id_;
};

class SimObserver final : public AXObserver {
  public:
    SimObserver(std::weak_ptr<int> life, SimDesktop::State* state, std::uint64_t id)
        : life_(std::move(life)), state_(state), id_(id) {}
    ~SimObserver() override;

    AXError addNotification(const AXElement& element, const std::string& notification,
                            void* refcon) override;
    void addRunLoopSourceToMainRunLoop() override;
    void removeRunLoopSourceFromMainRunLoop() override;

  private:
    ObserverRecord* record();

    std::weak_ptr<int> life_;
    SimDesktop::State* state_;
    std::uint64_t id_;
};

class SimRunningApplication final : public RunningApplication {
  public:
    SimRunningApplication(std::weak_ptr<int> life, SimDesktop::State* state,
                          std::weak_ptr<AppRecord> app, AppDescription desc)
        : life_(std::move(life)), state_(state), app_(std::move(app)), desc_(std::move(desc)) {}

    Pid processIdentifier() const override { return desc_.pid; }
    std::optional<std::string> localizedName() const override { return desc_.name; }
    std::optional<std::string> bundleIdentifier() const override { return desc_.bundleID; }
    // The application's policy now (it can change while it runs).
    ActivationPolicy activationPolicy() const override;
    bool terminate() override;
    bool isTerminated() const override;
    bool activate() override;

  private:
    std::shared_ptr<AppRecord> live() const;

    std::weak_ptr<int> life_;
    SimDesktop::State* state_;
    std::weak_ptr<AppRecord> app_;
    AppDescription desc_;
};

}  // namespace quelto::sim
