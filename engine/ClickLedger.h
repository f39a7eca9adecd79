#pragma once
// Click attribution. Owns the recent clicks: the close-button clicks not yet consumed, one
// record per window, and the press waiting for its mouse-up. A mouse-down on a close button
// (the cached frames first; then a live read of the frontmost application) opens the press;
// the mouse-up over the same close button, confirmed with the window server, makes the
// record. The ledger keeps a record alive while a dialog holds the close open, prunes expired
// records, and hands a record over when its window is destroyed.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "accessibility/AppWatcher.h"
#include "accessibility/WindowRef.h"
#include "engine/AppTracker.h"
#include "engine/ClickRecord.h"
#include "engine/EngineContext.h"
#include "platform/Types.h"
#include "platform/WindowServer.h"

namespace quelto {

class ClickLedger {
  public:
    // `context` and `tracker` outlive the ledger. Delayed checks hold `owner` weakly (the
    // engine that owns the ledger) and do nothing once it is gone.
    ClickLedger(const EngineContext& context, const AppTracker& tracker,
                std::weak_ptr<const void> owner);
    ClickLedger(const ClickLedger&) = delete;
    ClickLedger& operator=(const ClickLedger&) = delete;

    // A left mouse-down at `at` (the event's own point, global top-left coordinates): when it
    // lands on a close button (cached, or found by the live read of the frontmost
    // application), it opens the pending press; nothing is recorded yet. `modifiers` are not
    // the click's: those held at the mouse-up are.
    void handleClick(Point at, ModifierFlags modifiers);

    // A close made by a mouse-up whose window's destroyed notification was handled first.
    struct ClosedByUp {
        Pid pid = 0;
        ModifierFlags modifiers{};
    };
    // A left mouse-up: the red dot acts when the button goes up on it, and so does the click.
    // An up over the close button the press went down on, confirmed as the window on top
    // there, becomes the click record, with the up's time and modifiers; any other up
    // discards the press. When the pressed window was already destroyed (`windowClosing`),
    // the up returns the close it made, for the gathering of its application's closes.
    std::optional<ClosedByUp> handleMouseUp(Point at, ModifierFlags modifiers);
    // A tracked window is being destroyed: a press on its close button is settled by its
    // mouse-up.
    void windowClosing(const WindowRef& window);
    // Remembers a click on `window`'s close button, logs it, and schedules the first look
    // for a dialog holding the close. `how` says how the hit was found ("cached", "live read").
    void record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                ModifierFlags modifiers, std::string_view how);
    // The look for a dialog holding the close of `window` (of process `pid`).
    void sustainIfBlocked(const WindowRef& window, Pid pid);
    // Drops every record that no longer counts.
    void prune();

    // A window whose close button a click landed on, with its watcher.
    struct Hit {
        WindowRef window;
        std::shared_ptr<AppWatcher> watcher;
        // Its close button was read at the click (moved without a notification, or the
        // window caught up then), not found in the cache.
        bool readLive = false;
    };
    // Confirms a hit found in the close-button frames with the window server: the window on
    // top at the point, at any layer below the screen saver, must be the hit window or
    // another tracked window whose close button is under the point, which then gets the
    // click. None when the click belongs to no tracked close button (a menu, the Dock, a
    // banner, an untracked window such as Quelto's own lies over it). One window-server
    // query: the windows in front of the hit window once its number is known (learned by an
    // earlier confirmation), the on-screen list before, or when the hit window is not on
    // screen. The window on top is told by its number; else by the application's window list
    // through Accessibility (which teaches the number); and when the application does not
    // answer, by the watcher's last known frames. A window its application lists but its
    // watcher does not watch is caught up first (the hit then says `readLive`).
    std::optional<Hit> confirmHit(const WindowRef& window,
                                  const std::shared_ptr<AppWatcher>& watcher, Point at);

    // The window's record, removed: its destruction consumes it.
    std::optional<ClickRecord> take(const WindowRef& window);
    // Whether a record of the process still counts.
    bool hasCountingClick(Pid pid) const;
    // Drops every record of the process.
    void forget(Pid pid);
    // Drops every record.
    void clear() { clicks_.clear(); }

    // Whether a mouse-down on a close button waits for its mouse-up.
    bool hasPendingPress() const { return press_.has_value(); }
    // The window's record as it stands; nullptr when there is none.
    const ClickRecord* recordOf(const WindowRef& window) const;
    std::size_t size() const { return clicks_.size(); }
    bool empty() const { return clicks_.empty(); }
    // Calls `visit(window, record)` for every record, in no particular order.
    template <typename Visit>
    void forEachRecord(Visit&& visit) const {
        for (const auto& [window, click] : clicks_) visit(window, click);
    }

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

    // The next look at the window's click, `delay` from now: for that click only.
    void scheduleCheck(double delay, const WindowRef& window, Pid pid);
    // Makes the window's record of a click at `moment` and schedules its first look.
    void remember(const WindowRef& window, Pid pid, ModifierFlags modifiers, Date moment);
    // Whether a dialog or sheet that came after the click holds the close (none: cannot
    // tell); the dialog window found holding it is remembered in the record.
    std::optional<bool> lookForDialog(const AppWatcher& watcher, const WindowRef& window);
    void openPress(const Hit& hit, bool cached);
    // Which of the watcher's windows the window server shows as `shown`; none when none is.
    // `*unanswered` (when given) is set when the application's list could not be read and
    // the watcher's known frames answered instead.
    std::optional<WindowRef> windowShownAs(const WindowServerWindow& shown,
                                           const std::shared_ptr<AppWatcher>& watcher,
                                           bool* unanswered = nullptr);
    // The same, among the windows the watcher watches: a window its application lists but
    // the watcher does not watch is caught up first (`AppWatcher::resync`), and `caughtUp`
    // says so.
    std::optional<WindowRef> watchedWindowShownAs(const WindowServerWindow& shown,
                                                  const std::shared_ptr<AppWatcher>& watcher,
                                                  bool& caughtUp, bool* unanswered = nullptr);
    // A click on no cached close button, in the title bar of a watched window (`inTitleBar`):
    // the window on top there, a tracked one, has its close button read once, live (a toolbar
    // shown or hidden moved it without a notification). The window is caught up first when
    // its application lists it unwatched.
    std::optional<Hit> movedButtonHit(Point at, const Hit& inTitleBar);
    // The tracked window on top at the point among `shown` (any layer below the screen
    // saver, fully transparent ones skipped), told among the windows its watcher watches
    // (`watchedWindowShownAs`; `readLive` when it was caught up for it). None when nothing is
    // there, it belongs to an untracked process, or its application cannot say which it is.
    std::optional<Hit> trackedWindowOnTop(const std::vector<WindowServerWindow>& shown, Point at,
                                          bool* unanswered = nullptr);
    // Whether the window's cached close-button frame holds the point.
    static bool buttonHolds(const WindowRef& window, const AppWatcher& watcher, Point at);
    // Remembers the window's window-server number, for its next confirmation.
    void learn(const WindowRef& window, const WindowServerWindow& shown);
    // The live read of the frontmost application's uncached close buttons at the point.
    std::optional<Hit> liveHit(Point at);

    const EngineContext& context_;
    const AppTracker& tracker_;
    std::weak_ptr<const void> owner_;
    std::unordered_map<WindowRef, ClickRecord> clicks_;
    std::optional<PendingPress> press_;
    // The window-server numbers of windows confirmed before, until the window is destroyed or
    // its application forgotten.
    struct Shown {
        std::uint32_t number = 0;
        Pid pid = 0;
    };
    std::unordered_map<WindowRef, Shown> numbers_;
};

}  // namespace quelto
