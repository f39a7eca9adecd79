#pragma once
// One watcher per regular running application: it owns the Accessibility observer for the
// process, tracks the application's windows, keeps each window's close-button frame (or why
// there is none), and reports destroyed windows to the engine.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "accessibility/AXRead.h"
#include "accessibility/CloseButtonMiss.h"
#include "accessibility/QuietPeriod.h"
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

    // Whether the app is being left alone: a call to it timed out less than
    // `QuietPeriod::length` ago. Meanwhile it is asked only what a close decision needs
    // (`readUserWindows`); what else would have been read (catching up, close buttons,
    // registrations, titles) is done once the period is over, and the live hit test and
    // `readWindows` answer without asking.
    bool isLeftAlone() const { return quiet_.isQuiet(); }

    // Window lists: each reads "AXWindows" afresh.
    std::vector<AXElement> currentWindows() const;
    // The same list, none when it could not be read (an application that does not answer, or
    // one being left alone): never taken for an application with no windows.
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
    // What a look for a dialog holding a clicked close found: whether it is held (none when
    // a read that could have shown the sheet or dialog failed), and the dialog window that
    // holds it (none for a sheet).
    struct CloseHold {
        std::optional<bool> blocked;
        std::optional<WindowRef> dialog;
    };
    // Whether a sheet on the window, or a dialog window of the application, holds the close,
    // with "cannot tell" kept apart from "no" so that a hold is not ended by a look that saw
    // nothing. A sheet or dialog window the watcher first saw before `since` was up before
    // the click and holds nothing (its role and subrole are not even read); one first seen
    // later, or never seen (its birth unknown), holds. Asked even of an app left alone (the
    // close's decision needs it); a time-out here starts that period for the other reads.
    CloseHold closeBlockedState(const WindowRef& window, Date since) const;
    // Whether the window is still a dialog, asked of its element directly, wherever it is:
    // false when its subrole is another, or it has none, or the element is gone; none when
    // the read fails otherwise (an app that does not answer).
    std::optional<bool> isDialog(const WindowRef& window) const;
    // When the watcher first saw the window (announced, found when attaching or catching
    // up) or the sheet (its "AXSheetCreated"); none for one it never saw or saw go.
    std::optional<Date> firstSeen(const WindowRef& element) const;
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
    // A newly watched window's registrations and close button (deferred while left alone).
    void follow(const AXElement& window);
    void followTitleAndButton(const AXElement& window);
    // While the app is left alone: `later` runs once the period is over (holding the watcher
    // weakly), and true is returned. Work found quiet again then defers itself again.
    bool deferWhileLeftAlone(std::function<void(AppWatcher&)> later);
    // A registration, timed for the quiet period.
    AXError addNotification(const AXElement& element, const std::string& notification);
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
    // Follows the births of the app's sheets ("AXSheetCreated" on the app), quietly: a refusal
    // leaves them unknown, and an unknown sheet holds a click as it always did.
    void followSheets();
    // A sheet came down on one of the app's windows: its birth is noted, and its going
    // followed so that the note goes with it.
    void sheetCreated(const AXElement& sheet);
    void forgetFrame(const WindowRef& ref);

    WatcherContext context_;
    mutable QuietPeriod quiet_;  // timed by const reads too
    // Work put off until the quiet period ends, once each: a catch-up, a window's refresh.
    bool resyncDeferred_ = false;
    std::unordered_set<WindowRef> refreshDeferred_;
    AXElement appElement_;
    std::unique_ptr<AXObserver> observer_;
    std::unordered_set<WindowRef> watchedWindows_;
    std::unordered_map<WindowRef, Rect> frames_;
    std::unordered_map<WindowRef, CloseButtonMiss> misses_;
    std::unordered_map<WindowRef, KnownWindow> known_;
    std::unordered_set<WindowRef> titleFollowed_;
    std::unordered_set<WindowRef> confirmedStandard_;
    std::unordered_set<WindowRef> noted_;
    // When each watched window and each sheet was first seen, until it goes.
    std::unordered_map<WindowRef, Date> firstSeen_;
    // Whether the app took "AXSheetCreated": without it, no sheet's birth is known.
    bool sheetsFollowed_ = false;
    bool sheetsRefused_ = false;  // refused for good (not a moment's refusal)
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
