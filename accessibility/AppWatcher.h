#pragma once
// One watcher per regular running application: it owns the Accessibility observer for the
// process, tracks the application's windows, keeps each window's close-button frame (or why
// there is none), and reports destroyed windows to the engine.

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "accessibility/AXRead.h"
#include "accessibility/CloseButtonMiss.h"
#include "accessibility/WindowRef.h"
#include "platform/Accessibility.h"
#include "platform/MainQueue.h"
#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto {

class AppWatcher;

// What a watcher reaches of the system; all three outlive every watcher.
struct WatcherContext {
    Accessibility& accessibility;
    MainQueue& mainQueue;  // the close-button retries and the notification retries
    Clock& clock;          // `attachedAt`
};

// The engine's entry for destroyed windows, as a watcher sees it.
class DestroyedWindowSink {
  public:
    virtual void windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                                 bool hadCloseButton, std::optional<CloseButtonMiss> miss) = 0;

  protected:
    ~DestroyedWindowSink() = default;
};

class AppWatcher : public std::enable_shared_from_this<AppWatcher> {
    struct Token {};

  public:
    // init(app:engine:): nullptr when the process id is below 1 or no observer can be made.
    // The engine is not owned and must outlive the watcher.
    static std::shared_ptr<AppWatcher> create(const RunningApplicationRef& app,
                                              DestroyedWindowSink& engine,
                                              const WatcherContext& context);

    AppWatcher(Token, const RunningApplicationRef& app, DestroyedWindowSink& engine,
               const WatcherContext& context);
    ~AppWatcher();
    AppWatcher(const AppWatcher&) = delete;
    AppWatcher& operator=(const AppWatcher&) = delete;

    const Pid pid;
    const std::string name;      // localized name, or "pid {pid}"
    const std::string bundleID;  // bundle identifier, or "<none>"
    const Date attachedAt;

    // Window lists: each reads "AXWindows" afresh.
    std::vector<AXElement> currentWindows() const;
    // The same list, none when it could not be read (an application that does not answer):
    // never taken for an application with no windows.
    std::optional<std::vector<AXElement>> readWindows() const;
    std::vector<AXElement> standardWindows() const;
    std::vector<AXElement> userWindows() const;
    // The windows "AXWindows" lists, and those of them that are the user's.
    struct UserWindows {
        std::vector<AXElement> windows;  // the user windows
        std::vector<AXElement> listed;   // every window the list gave
    };
    // The user windows, or none with why, so that nothing unread is taken for fewer windows:
    // when "AXWindows" cannot be read `error` is that read's; when a listed window's role or
    // subrole cannot be read, it may be the user's, so the count is unknown too, `error` is
    // that read's and `unclassified` the window's title. One read of the list, as
    // `userWindows()`.
    struct UserWindowList : Read<UserWindows> {
        std::optional<std::string> unclassified;
    };
    UserWindowList readUserWindows() const;
    std::size_t trackedWindowCount() const { return watchedWindows_.size(); }

    // Catches up on windows the notifications missed; never drops a window.
    void resync();
    // Reads every watched window's close button (and what is known of the window) afresh:
    // frames in global coordinates may all have moved without any window saying so (the
    // displays' arrangement changed).
    void refreshEveryCloseButton();

    // Hit tests and questions about the close (the close-button cache).
    std::optional<WindowRef> closeButtonHit(Point at) const;  // no platform call
    // The same walk, which also tells, in `*inTitleBar` when it is empty and the point is on
    // no close button, the first window whose close button's reach holds the point: the
    // button's columns down the title-bar band of the window's last known frame, where a
    // toolbar shown or hidden moves the button without a notification. No platform call.
    std::optional<WindowRef> closeButtonHit(Point at, std::optional<WindowRef>* inTitleBar) const;
    // Reads the watched window's close button afresh, once, without retries (custom chrome,
    // final, is not read again): true when its frame is cached now.
    bool rereadCloseButton(const WindowRef& window);
    std::optional<WindowRef> liveCloseButtonHit(Point at);
    bool isCloseBlocked(const WindowRef& window) const;
    // The same question, with "cannot tell" kept apart from "no": none when a read that could
    // have shown the sheet or dialog failed (an app that does not answer), so that a hold is
    // not ended by a look that saw nothing. The same reads as isCloseBlocked.
    std::optional<bool> closeBlockedState(const WindowRef& window) const;
    std::optional<CloseButtonMiss> missReason(const WindowRef& window) const;

    // The observer callback; the refcon is the watcher, not retained.
    static void observerCallback(AXObserver& observer, const AXElement& element,
                                 const std::string& notification, void* refcon);

    // The cache, readable for the engine's tests and diagnostics.
    const std::unordered_map<WindowRef, Rect>& closeButtonFrames() const { return frames_; }
    const std::unordered_map<WindowRef, CloseButtonMiss>& closeButtonMisses() const {
        return misses_;
    }
    bool isWatched(const WindowRef& window) const { return watchedWindows_.count(window) != 0; }
    // A watched window that left for good without a destroyed notification (ordered out by
    // its app as its answer to the red dot): dropped and reported as a destroyed one is.
    void windowGone(const WindowRef& window);

    // The elements of every watched window (on any Space).
    std::vector<AXElement> watchedElements() const {
        std::vector<AXElement> out;
        for (const WindowRef& ref : watchedWindows_) out.push_back(ref.element);
        return out;
    }

    // What the watcher last learned of a window with a cached close button, from its own
    // reads when the button was cached and from the window's notifications since (moved,
    // resized, retitled): its frame and, when its title notifications are taken, its title. None
    // for a window without a cached close button. Answers a click without a round trip to the
    // application, which may be busy.
    struct KnownWindow {
        std::optional<Rect> frame;         // none when the frame could not be read
        std::optional<std::string> title;  // as `windowTitle` gives it; none when not followed
    };
    const KnownWindow* knownWindow(const WindowRef& window) const {
        auto found = known_.find(window);
        return found == known_.end() ? nullptr : &found->second;
    }
    const std::unordered_map<WindowRef, KnownWindow>& knownWindows() const { return known_; }

  private:
    bool attach();
    void watch(const AXElement& window);
    // Observer registrations, tried again after a transient refusal
    // (NotificationRegistration.cpp). Gives the names to try again and the last error.
    std::vector<std::string> registerNotifications(const AXElement& element,
                                                   const std::vector<std::string>& names,
                                                   AXError& lastError);
    void registerAppNotifications(std::vector<std::string> names, int attempt);
    // The window list read when attaching, tried again as the registrations are while the
    // app answers cannot-complete (NotificationRegistration.cpp).
    void readWindowsAtAttach(int attempt);
    void registerWindowNotifications(const AXElement& window, std::vector<std::string> names,
                                     int attempt);
    void handle(const std::string& notification, const AXElement& element);
    bool refreshCloseButton(const AXElement& window, int attempt);
    void storeFrame(const WindowRef& ref, Rect frame, const std::optional<Rect>& window);
    // The window's title changed: the known title follows.
    void retitled(const AXElement& window);
    void forgetFrame(const WindowRef& ref);

    WatcherContext context_;
    AXElement appElement_;
    std::unique_ptr<AXObserver> observer_;
    std::unordered_set<WindowRef> watchedWindows_;
    std::unordered_map<WindowRef, Rect> frames_;
    std::unordered_map<WindowRef, CloseButtonMiss> misses_;
    std::unordered_map<WindowRef, KnownWindow> known_;
    std::unordered_set<WindowRef> titleFollowed_;
    std::unordered_set<WindowRef> confirmedStandard_;
    std::unordered_set<WindowRef> noted_;
    DestroyedWindowSink& engine_;
    // The cached frames again, flat and contiguous, for the hit test on every click: each
    // button's reach (its frame and its columns down the window's title-bar band) in one
    // vector, the frames in the next, their windows at the same index in the third.
    // A reach as its four edges, standardised once when it is stored, so that the test every
    // click makes is four comparisons (the same answer as `Rect::contains`).
    struct Edges {
        double minX = 0, minY = 0, maxX = 0, maxY = 0;
        static Edges of(Rect r);
        bool contains(Point p) const {
            return p.x >= minX && p.x < maxX && p.y >= minY && p.y < maxY;
        }
    };
    std::vector<Edges> hitReaches_;
    std::vector<Rect> hitFrames_;
    std::vector<WindowRef> hitWindows_;
};

}  // namespace quelto
