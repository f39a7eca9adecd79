#pragma once
// The simulated desktop: a deterministic stand-in for macOS behind the platform seam.
// Applications with windows, close buttons, sheets and dialogs; Accessibility reads with
// injectable errors and counted round trips; observers that deliver notifications one at a
// time on the main queue; quit requests honoured after a delay or declined; a virtual clock
// whose main queue runs due work in order. The same inputs give the same outputs, always.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/EngineContext.h"
#include "platform/Accessibility.h"
#include "platform/MainQueue.h"
#include "platform/MouseMonitor.h"
#include "platform/Services.h"
#include "platform/Spaces.h"
#include "platform/WindowServer.h"
#include "platform/Workspace.h"
#include "settings/ConfigStore.h"
#include "ui/ShellContext.h"

namespace quelto::sim {

using ElementId = std::uint64_t;

// How a close button looks to Accessibility.
struct CloseButtonDescription {
    bool present = true;  // false: the "AXCloseButton" read fails with `missingError`
    AXError missingError = axerror::attributeUnsupported;  // -25205 or -25212 (custom chrome)
    std::optional<bool> enabled = true;                    // none: "AXEnabled" cannot be read
    std::optional<Rect> frame;  // none: derived from the window (x+8, y+6, 14 × 16)
};

struct WindowDescription {
    std::string title = "Untitled";
    std::string role = "AXWindow";
    std::optional<std::string> subrole = "AXStandardWindow";  // none: the read fails -25205
    Rect frame{{100, 100}, {800, 600}};
    CloseButtonDescription closeButton;
    // What a click on its enabled close button does: close at once (after `closeDelay`),
    // or show a save sheet that holds the close until it is answered.
    bool asksToSave = false;
    double closeDelay = 0.05;
    // The desktop Space it opens on (0: the current one).
    int space = 0;
    // Its red dot orders it out (hides it, kept for later) instead of destroying it, as many
    // apps do with a main window, a settings or an About panel.
    bool hidesOnClose = false;
    // Its window-server layer: 0 for an ordinary window, 3 (kCGFloatingWindowLevel) for one
    // kept "always on top". A window of a higher layer is always in front of those below.
    int layer = 0;
};

// A window the window server draws that is no application window Quelto tracks: the menu
// bar, the Dock, an open menu, a notification banner, an app's popover, or any window at a
// given layer. Clicks land in it like in any window.
struct OverlayDescription {
    std::string name;  // how it is referred to
    Pid owner = 0;     // its process (the Dock's, the app whose menu it is, …)
    Rect bounds;
    int layer = 0;
    double alpha = 1;  // 0: drawn fully transparent, and clicks go through it
};

struct AppDescription {
    Pid pid = 0;
    std::optional<std::string> bundleID;
    std::optional<std::string> name;
    ActivationPolicy policy = ActivationPolicy::regular;
    // How the application answers a polite quit request: quit after `quitDelay` seconds,
    // or decline and keep running.
    bool declinesQuit = false;
    double quitDelay = 0.5;
    // Whether the application terminates itself (0.1 s later) when its last window closes.
    bool quitsWithLastWindow = false;
    // AXObserverCreate fails for this process with this error (0: it succeeds).
    AXError observerError = axerror::success;
};

// The modes the main run loop runs in: its own, a modal alert's (NSModalPanelRunLoopMode) and
// an open menu's (NSEventTrackingRunLoopMode).
enum class RunLoopMode { defaultMode, modalPanel, eventTracking };

// The user of a scenario: the moment of their next action, and the action. The main thread's
// run loop (nested loops included) takes the actions in due order with the desktop's work.
class UserScript {
  public:
    virtual std::optional<Date> nextActionTime() = 0;
    virtual void runNextAction() = 0;
    // Whether the next action is the user's mouse or keyboard (or only marks a moment): such
    // actions happen at their own moments even while Quelto's main thread is blocked, as
    // the window server does not wait for Quelto. Other actions wait for the thread.
    virtual bool nextActionIsInput() { return false; }

  protected:
    ~UserScript() = default;
};

// A stretch of time the main thread spent blocked in Accessibility calls without a break.
struct Stall {
    Date start;
    double seconds = 0;
};

// One quit request as the desktop saw it.
struct QuitRequest {
    Pid pid = 0;
    Date at;
    bool forced = false;  // always false: the seam has no forced quit; kept as an invariant probe
};

// Something the system put in front of the user on Quelto's behalf: a link opened in its
// application, a file shown selected in a Finder window, or the system's own Accessibility
// prompt.
struct OpenedItem {
    enum class Kind { link, revealedFile, accessibilityPrompt };
    Kind kind = Kind::link;
    std::string target;  // the address or the path; empty for a prompt
    Date at;
};

class SimDesktop final : public Accessibility,
                         public Workspace,
                         public MainQueue,
                         public Clock,
                         public MouseMonitor,
                         public SystemInfo,
                         public LoginItem,
                         public Alerts,
                         public Pasteboard,
                         public HttpClient,
                         public WindowServer,
                         public Spaces {
  public:
    // `start` is the virtual wall-clock time; `utcOffsetSeconds` the local time zone offset.
    explicit SimDesktop(Date start = Date{1767225600.0}, int utcOffsetSeconds = 0);
    ~SimDesktop() override;
    SimDesktop(const SimDesktop&) = delete;
    SimDesktop& operator=(const SimDesktop&) = delete;

    // What the engine and the interface are handed on this desktop: every service is the
    // desktop itself (there is no collation: names follow the portable order), the
    // configuration file is the usual one (its aside copies named by the desktop's clock)
    // and the journal the process's.
    const EngineContext& context() const { return *engineContext_; }
    const ShellContext& shellContext() const { return *shellContext_; }
    // The configuration file as this desktop's programs see it.
    const ConfigStore& config() const { return *config_; }
    // Stamps the process-wide log with this desktop's clock, until the desktop goes.
    void clockTheLog();

    // ---- Time and the main queue ----
    // Runs every work item due within the next `seconds`, in due order (ties in submission
    // order), moving the clock to each item's due time; ends with the clock at now + seconds.
    void advance(double seconds);
    // Runs work already due now (notifications just posted, zero-delay items).
    void runDue();
    std::size_t pendingWorkCount() const;

    // ---- The main thread (SimMainThread.cpp) ----
    // Runs the scripted user's actions in due order with the desktop's work, then what is due.
    void runScript(UserScript& script);
    RunLoopMode currentRunLoopMode() const;
    int nestedLoopDepth() const;
    bool isRunningMainQueueBlock() const;
    // A nested run loop in `mode` for `seconds`, taking the user's actions meanwhile.
    void runNestedLoop(RunLoopMode mode, double seconds);
    // The user opens the menu-bar menu and keeps it open (event tracking) this long.
    void trackMenu(double seconds);
    // The next alert stays on screen this long before it is answered.
    void holdNextAlert(double seconds);
    bool isAlertOnScreen() const;
    // What an answered Accessibility call costs the main thread (0.1 ms by default).
    void setReadCost(double seconds);
    // The app stops answering Accessibility calls (for `seconds`, or until `recoverApp`).
    void hangApp(Pid pid, std::optional<double> seconds);
    void recoverApp(Pid pid);
    bool isHung(Pid pid) const;
    // The time-out a call to the element waits for: its own, else the system-wide element's,
    // else the platform default of 6 s.
    double effectiveMessagingTimeout(ElementId id) const;
    std::optional<float> systemWideMessagingTimeout() const;
    // The stretches of 1 ms or more the main thread was blocked in Accessibility calls
    // without a break, oldest first; and all the time it spent blocked.
    const std::vector<Stall>& stalls() const;
    double blockedSeconds() const;

    // ---- Applications ----
    // An application already running (no launch notification). A process id that already
    // runs is left as it is. Launching a regular application makes it frontmost; adding one
    // does not. When the frontmost application terminates, the application of the next window
    // in the stacking order becomes frontmost (none when no window is on screen).
    void addApp(const AppDescription& desc);
    // Launches an application: it starts running and the launch notification is delivered.
    void launchApp(const AppDescription& desc);
    // The application terminates (by itself or after a quit request): its windows vanish
    // without destroyed notifications (as when a process goes), its elements read as
    // invalid, and the termination notification is delivered. Until the main run loop next
    // turns, the workspace still lists it among the running applications, terminated.
    void terminateApp(Pid pid);
    void setFrontmost(std::optional<Pid> pid);
    void setOwnPid(Pid pid);
    bool isRunning(Pid pid) const;
    void setQuitBehaviour(Pid pid, bool declines, double quitDelay);

    // ---- Windows and other elements ----
    // Adds a window; unless `notify` is false, "AXWindowCreated" goes to the app's observers.
    ElementId addWindow(Pid pid, const WindowDescription& desc, bool notify = true);
    // Destroys a window, dialog or sheet ("AXUIElementDestroyed" to its observers); later
    // reads of it (and of a window's close button and sheets) fail with invalid-element.
    void destroyWindow(ElementId window);
    void moveWindow(ElementId window, Point origin);  // "AXWindowMoved"
    void resizeWindow(ElementId window, Size size);   // "AXWindowResized"
    void focusWindow(ElementId window);               // "AXFocusedWindowChanged" on the app
    // A sheet (role "AXSheet") attached to a window as a child; answering it removes it and,
    // when `closesWindow`, closes the window after its close delay. While a sheet is up the
    // window's close button does nothing.
    ElementId showSheet(ElementId window);
    void answerSheet(ElementId window, bool closesWindow);
    // "Save…" in a question sheet of a document never saved: the question sheet goes, and
    // `saveAsPanelDelay` later the Save panel comes down on the window as a new sheet
    // ("AXSheetCreated"), which `answerSheet` answers in its turn.
    void answerSheetWithSaveAs(ElementId window);
    static constexpr double saveAsPanelDelay = 0.05;
    // A dialog window of the application (role "AXWindow", subrole e.g. "AXDialog");
    // `appModal`: an alert run modally, which leaves the application's other windows' close
    // buttons without effect while it is up.
    ElementId showDialog(Pid pid, const std::string& subrole, const std::string& title,
                         bool appModal = false);
    void setCloseButton(ElementId window, const CloseButtonDescription& desc);
    void setTitle(ElementId window, const std::string& title);
    void setSubrole(ElementId window, std::optional<std::string> subrole);
    std::vector<ElementId> windowsOf(Pid pid) const;  // live windows, front to back
    std::optional<ElementId> windowNamed(Pid pid, const std::string& title) const;
    // The close button's true frame on screen (before any slack).
    std::optional<Rect> closeButtonFrame(ElementId window) const;
    // An element handle for tests (a fresh object each call, same element).
    AXElement element(ElementId id) const;
    AXElement applicationElement(Pid pid) const;
    // The ids behind the handles: a window's close-button element (0 for no window), the
    // running application's element (0 when none runs).
    ElementId closeButtonOf(ElementId window) const;
    ElementId applicationElementId(Pid pid) const;
    bool isElementAlive(ElementId id) const;
    // The messaging time-out last set on an element, if any.
    std::optional<float> messagingTimeout(ElementId id) const;

    // Low-level attribute control: set or fail an attribute of any element.
    void setAttribute(ElementId id, const std::string& attribute, std::optional<AXValue> value);
    void failAttribute(ElementId id, const std::string& attribute, AXError error);
    // The general form: the read returns `error` and fills in `value` (as the platform may
    // do even when it reports an error).
    void setAttributeResult(ElementId id, const std::string& attribute, AXError error,
                            std::optional<AXValue> value);
    // Back to the model's own value.
    void clearAttribute(ElementId id, const std::string& attribute);

    // ---- Injected Accessibility errors ----
    // The next `times` reads (-1: until cleared) of `attribute` of `id` fail with `error`.
    // The attribute "*" stands for every attribute of the element. Time-outs are
    // cannot-complete (-25204), as the platform reports a messaging time-out.
    void injectError(ElementId id, const std::string& attribute, AXError error, int times = 1);
    void clearInjectedErrors();

    // ---- Stacking order, hidden apps, minimised windows, Spaces, full screen ----
    // (SimStacking.cpp.) Windows have one front-to-back order across every application. An
    // application's "AXWindows" lists its windows on the current Space only, minimised ones
    // included; a hidden application's windows stay listed but go off screen.
    void hideApp(Pid pid);    // ⌘H; the next application in the stack becomes frontmost
    void unhideApp(Pid pid);  // back on screen, not activated
    bool isHidden(Pid pid) const;
    // To the Dock and back ("AXWindowMiniaturized", "AXWindowDeminiaturized"); restoring
    // activates the application and puts the window in front.
    void minimizeWindow(ElementId window);
    void restoreWindow(ElementId window);
    bool isMinimized(ElementId window) const;
    // Desktop Spaces are numbered from 1; switching makes the application of the frontmost
    // window there active.
    void switchToSpace(int space);
    int currentSpace() const;
    void moveWindowToSpace(ElementId window, int space);
    std::optional<int> spaceOf(ElementId window) const;
    // Full screen: the window fills the screen on a Space of its own, which becomes current;
    // leaving it takes the window back to its Space and frame.
    void enterFullScreen(ElementId window);
    void exitFullScreen(ElementId window);
    bool isFullScreen(ElementId window) const;
    // What is where, read from the model (no Accessibility read is counted).
    bool isOnScreen(ElementId window) const;
    bool isListedInAXWindows(ElementId window) const;
    std::optional<ElementId> focusedWindow(Pid pid) const;
    std::vector<ElementId> stackingOrder() const;  // every live window, front to back
    std::optional<Rect> windowFrame(ElementId window) const;
    Pid ownerOf(ElementId element) const;
    std::optional<ElementId> windowAt(Point point) const;  // on screen, under the point
    // A point of the window that is on top there and on no close button; none when the
    // window is off screen or covered everywhere.
    std::optional<Point> visiblePoint(ElementId window) const;
    // The window server's number of a window or sheet.
    std::optional<std::uint32_t> windowNumber(ElementId window) const;
    std::uint64_t windowListReadCount() const;  // window server reads (windowList calls)

    // ---- Clicks: layers, system windows, late events, silent moves (SimLayers.cpp) ----
    // Windows the window server draws above (or among) the applications' windows; in front
    // of every window of a lower layer, and of the windows of their own layer. A second
    // overlay with the same name replaces the first.
    void showOverlay(const OverlayDescription& overlay);
    void removeOverlay(const std::string& name);
    // The window server's list, front to back, as a click sees it: overlays and windows by
    // layer, sheets in front of their windows (every Space; `onScreen` says which are drawn).
    // No read is counted.
    std::vector<WindowServerWindow> drawnWindows() const;
    // The window-server window a click at the point lands in (any layer below the screen
    // saver, not fully transparent): a tracked window, a sheet, or an overlay. None when the
    // point is on the desktop.
    std::optional<WindowServerWindow> topmostAt(Point point) const;
    // The toolbar shown or hidden: in a unified title bar the close button moves down or up
    // with it, and the window's frame stays: no Accessibility notification.
    void setToolbar(ElementId window, bool shown);
    // The displays' arrangement changes (another display made primary, one moved): every
    // global coordinate moves by the offset, without a window moving on screen; no window
    // sends a notification, and the screen-arrangement observers are told.
    void shiftDisplays(Point offset);
    // The user moves the pointer without clicking.
    void movePointer(Point point);
    Point pointer() const;
    // Whether Quelto's main thread is blocked in a call right now (the user's actions then
    // happen on the desktop, and reach Quelto's monitors once it is free).
    bool isMainThreadBlocked() const;
    std::uint64_t windowsAboveReadCount() const;  // windowsAbove calls

    // ---- The user's mouse ----
    // A quick left click at `point` with `modifiers`: `press` and then `release` there.
    void click(Point point, ModifierFlags modifiers = 0);
    // The left button goes down: the global monitors see it (unless it lands in this
    // program's own window). A press in a window raises it and activates its application;
    // a press on a close button does neither, and highlights the button.
    void press(Point point, ModifierFlags modifiers = 0);
    // The left button goes up; the mouse-up monitors see it unless its press went to this
    // program's own window. A close button acts only when the button goes up on the same
    // close button it went down on: it closes its window (or shows its save sheet);
    // option-click closes every window of the application that can close (enabled close
    // button, no sheet), and nothing while an app-modal dialog is up.
    //
    // Events reach the monitors with their own point and modifiers. The desktop acts on them
    // at once (the window server routes them, apps react); while Quelto's main thread is
    // blocked, they wait for it and are handed over, in order, once it is free.
    void release(Point point, std::optional<ModifierFlags> modifiers = std::nullopt);
    // Whether the left button is held down now.
    bool isPressed() const;
    // Other mouse and key events: never reach a left-mouse-down monitor.
    void rightClick(Point point);
    // A button-up with no press before it: like `release`.
    void mouseUp(Point point);
    void keyDown(const std::string& key, ModifierFlags modifiers = 0);
    // A close by keyboard shortcut, menu or program: the window goes without a click.
    void closeWindowWithoutClick(ElementId window);

    // ---- Ordered-out windows, Space events, the Spaces lookups (SimSpaces.cpp) ----
    // The application hides a window without destroying it (orderOut:): it leaves the screen
    // and the application's "AXWindows", stays in the window server's list of every Space as
    // a window off screen on no Space, and its element stays valid. No destroyed
    // notification is sent. Ordering it in again shows it in front, on the current Space.
    void orderOutWindow(ElementId window);
    void orderInWindow(ElementId window);
    bool isOrderedOut(ElementId window) const;
    // The window's description as the model holds it now (its role, subrole and close button
    // as changed since), read without an Accessibility call; none for no live window.
    std::optional<WindowDescription> windowDescription(ElementId window) const;
    // Whether the private Spaces lookups exist on this system (they do by default).
    void setSpacesLookupsAvailable(bool available);
    // Workspace notifications posted so far: active-Space changes and activations.
    int activeSpaceChangeCount() const;
    const std::vector<Pid>& activationNotifications() const;

    // Posts any notification as the application would: one delivery per registration of
    // `notification` on `registeredOn`, passing the element `subject`.
    void postNotification(ElementId registeredOn, const std::string& notification,
                          ElementId subject);

    // ---- Counters and records ----
    std::uint64_t accessibilityReadCount() const;  // AXUIElementCopyAttributeValue calls
    std::uint64_t readCount(const std::string& attribute) const;
    std::uint64_t readCount(ElementId id, const std::string& attribute) const;
    void resetCounters();
    // Called for every read, before it is answered (the clock tells when).
    void setReadHook(std::function<void(ElementId, const std::string&)> hook);
    // AXObserverAddNotification calls, refused ones included.
    std::uint64_t notificationRequestCount() const;
    const std::vector<QuitRequest>& quitRequests() const;
    int liveObserverCount() const;
    int observersWithSourceOnRunLoop() const;
    // Observers released while their run-loop source was still on the main run loop.
    int observersReleasedWithSourceAttached() const;
    // Registrations on an element for a notification, over every live observer.
    std::size_t registrationCount(ElementId id, const std::string& notification) const;
    // The registrations of the observers of a process, in the order they were made.
    std::vector<std::pair<ElementId, std::string>> registrations(Pid pid) const;
    // The refcons given with those registrations, in the same order.
    std::vector<void*> registrationRefcons(Pid pid) const;
    std::size_t monitorCount() const;
    // Applications brought to the front through RunningApplication::activate, in order.
    const std::vector<Pid>& activatedApps() const;
    // Workspace notifications that carry no application.
    void postLaunchNotificationWithoutApplication();
    void postTerminationNotificationWithoutApplication();

    // ---- Accessibility trust, login item, bundle, alerts, pasteboard, HTTP ----
    void setTrusted(bool trusted);
    int trustPromptCount() const;
    void setLoginItemStatus(LoginItem::Status status);
    void setLoginItemError(std::optional<std::string> error);  // next register/unregister fails
    void setBundleInfo(const std::string& key, std::optional<std::string> value);
    void setMachine(const std::string& machine, SystemInfo::OSVersion version);
    // Alerts: answers are taken in order (button returns); the default answer is 1000.
    void queueAlertAnswer(long response);
    const std::vector<AlertDescription>& shownAlerts() const;
    const std::string& pasteboardText() const;
    // Installed applications (for the open panel and pathForApplication).
    void installApplication(const std::string& path, std::optional<std::string> bundleID,
                            const std::string& displayName);
    const std::vector<std::string>& openedURLs() const;
    const std::vector<std::string>& revealedFiles() const;
    // Links opened, files revealed and Accessibility prompts, in the order they appeared.
    const std::vector<OpenedItem>& openedItems() const;
    // NSApplication.setActivationPolicy of a running application (Quelto's own). One that
    // stops being regular while it is frontmost hands the front back to the regular
    // application that was frontmost before it.
    void setActivationPolicy(Pid pid, ActivationPolicy policy);
    // HTTP: a canned reply for a URL (anything else fails with a transport error).
    void setHttpReply(const std::string& url, HttpResult result);
    const std::vector<HttpRequest>& httpRequests() const;

    // ---- Platform interfaces (the seam) ----
    AXElement createApplication(Pid pid) override;
    AXError setSystemWideMessagingTimeout(float seconds) override;
    std::unique_ptr<AXObserver> createObserver(Pid pid, AXObserverCallback callback,
                                               AXError& error) override;
    bool isProcessTrusted() override;
    bool isProcessTrustedWithPrompt() override;

    std::vector<RunningApplicationRef> runningApplications() override;
    RunningApplicationRef frontmostApplication() override;
    RunningApplicationRef runningApplication(Pid pid) override;
    Pid ownProcessIdentifier() override;
    Subscription observeLaunches(ApplicationHandler handler) override;
    Subscription observeTerminations(ApplicationHandler handler) override;
    std::optional<std::string> pathForApplication(const std::string& bundleID) override;
    std::string displayName(const std::string& path) override;
    std::optional<std::string> bundleIdentifierAtPath(const std::string& path) override;
    bool openURL(const std::string& url) override;
    void selectFile(const std::string& path) override;

    void asyncAfter(double delaySeconds, std::function<void()> work) override;
    Subscription scheduleRepeating(double intervalSeconds, std::function<void()> tick) override;

    Date now() override;
    LocalTime localTime(Date date) override;

    MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) override;
    MonitorToken addGlobalLeftMouseUpMonitor(Handler handler) override;
    void removeMonitor(MonitorToken token) override;
    std::optional<Point> pointerLocation() override;

    std::optional<std::string> bundleInfoString(const std::string& key) override;
    OSVersion operatingSystemVersion() override;
    std::string machineName() override;

    LoginItem::Status status() override;
    std::optional<std::string> registerItem() override;
    std::optional<std::string> unregisterItem() override;

    void present(const AlertDescription& alert, std::function<void(long)> completion) override;
    // Runs an alert modally right here, as NSAlert's runModal does (a nested loop while it is
    // held on screen); the answer.
    long runModal(const AlertDescription& alert);
    void setString(const std::string& text) override;

    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override;

    std::vector<WindowServerWindow> windowList(WindowListScope scope) override;
    std::vector<WindowServerWindow> windowsAbove(std::uint32_t number) override;
    Subscription observeScreenArrangement(std::function<void()> handler) override;

    Subscription observeActiveSpaceChanges(std::function<void()> handler) override;
    Subscription observeActivations(ApplicationHandler handler) override;
    bool lookupsAvailable() override;
    std::optional<std::uint32_t> windowNumber(const AXElement& window) override;
    std::optional<SpaceID> activeSpace() override;
    std::optional<std::vector<SpaceID>> spacesOfWindow(std::uint32_t number) override;

    struct State;  // the implementation's model

  private:
    std::unique_ptr<State> state_;
    std::unique_ptr<ConfigStore> config_;
    std::unique_ptr<EngineContext> engineContext_;
    std::unique_ptr<ShellContext> shellContext_;
};

}  // namespace quelto::sim
