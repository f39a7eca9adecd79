// Click attribution: which tracked window's close button a mouse-down landed on, and how long
// that click keeps counting, including while a dialog holds the close open.

#include "engine/ClickLedger.h"

#include <string>

#include "accessibility/AXRead.h"
#include "accessibility/WindowClassification.h"
#include "engine/ModifierSuffix.h"
#include "engine/OtherSpacesWindows.h"
#include "settings/Log.h"

namespace quelto {

ClickLedger::ClickLedger(const EngineContext& context, const AppTracker& tracker,
                         std::weak_ptr<const void> owner)
    : context_(context), tracker_(tracker), owner_(std::move(owner)) {}

void ClickLedger::prune() {
    // Every click passes here; with nothing remembered there is nothing to read or free.
    if (clicks_.empty()) return;
    Date moment = context_.clock.now();
    std::erase_if(clicks_, [moment](const auto& entry) { return entry.second.expiry <= moment; });
}

void ClickLedger::handleClick(Point at, ModifierFlags modifiers) {
    (void)modifiers;  // the click's modifiers are those held when the button goes up
    prune();
    // A new press ends any earlier one (its mouse-up went unseen).
    press_.reset();

    // The cached frames first: an in-memory walk, no platform call. Whether the window is
    // really the one on top there is settled when the button goes up, where the red dot acts.
    // The same walk notes a window whose title bar holds the point, where its close button
    // may have moved without a notification.
    std::optional<Hit> inTitleBar;
    std::optional<Hit> cached = tracker_.firstOf(
        [at, &inTitleBar](const std::shared_ptr<AppWatcher>& watcher) -> std::optional<Hit> {
            std::optional<WindowRef> titleBar;
            if (auto window = watcher->closeButtonHit(at, inTitleBar ? nullptr : &titleBar))
                return Hit{*window, watcher};
            if (titleBar) inTitleBar = Hit{*titleBar, watcher};
            return std::nullopt;
        });
    if (cached) {
        openPress(*cached, true);
        return;
    }
    if (inTitleBar) {
        if (auto moved = movedButtonHit(at, *inTitleBar)) {
            openPress(*moved, false);
            return;
        }
    }

    // Then a live read, of the frontmost application only: a click on an uncached close
    // button of a background application is deliberately not attributed.
    if (auto hit = liveHit(at)) openPress(*hit, false);
}

std::optional<ClickLedger::Hit> ClickLedger::movedButtonHit(Point at, const Hit& inTitleBar) {
    WindowServer* server = context_.windowServer;
    // Without a window server the window whose title bar holds the point is the one asked.
    if (!server) {
        if (!inTitleBar.watcher->rereadCloseButton(inTitleBar.window)) return std::nullopt;
        if (buttonHolds(inTitleBar.window, *inTitleBar.watcher, at)) return inTitleBar;
        return std::nullopt;
    }
    // One question to the window server: the window on top at the point, at any layer, as
    // the confirmation asks it. A menu, a popover or an untracked window there takes the click.
    bool unanswered = false;
    std::optional<Hit> top = trackedWindowOnTop(
        server->windowList(WindowListScope::onScreenCurrentSpace), at, &unanswered);
    // An application that did not answer for its list would only make the read wait its
    // second again, and fail.
    if (!top || unanswered) return std::nullopt;
    // A window just caught up had its close button read as it was watched; any other has
    // its read once, live, where its cached frame missed the point.
    if (!top->readLive && !top->watcher->rereadCloseButton(top->window)) return std::nullopt;
    if (!buttonHolds(top->window, *top->watcher, at)) return std::nullopt;
    top->readLive = true;
    return top;
}

bool ClickLedger::buttonHolds(const WindowRef& window, const AppWatcher& watcher, Point at) {
    const auto& frames = watcher.closeButtonFrames();
    auto cached = frames.find(window);
    return cached != frames.end() && cached->second.contains(at);
}

void ClickLedger::openPress(const Hit& hit, bool cached) {
    const auto& frames = hit.watcher->closeButtonFrames();
    auto frame = frames.find(hit.window);
    if (frame == frames.end()) return;
    press_ = PendingPress{hit.window, hit.watcher, frame->second, cached, false};
}

std::optional<ClickLedger::Hit> ClickLedger::liveHit(Point at) {
    RunningApplicationRef front = context_.workspace.frontmostApplication();
    if (!front) return std::nullopt;
    std::shared_ptr<AppWatcher> watcher = tracker_.watcherOf(front->processIdentifier());
    if (!watcher) return std::nullopt;
    if (auto window = watcher->liveCloseButtonHit(at)) return Hit{*window, watcher};
    return std::nullopt;
}

std::optional<ClickLedger::ClosedByUp> ClickLedger::handleMouseUp(Point at,
                                                                  ModifierFlags modifiers) {
    // Every mouse-up passes here; without a press on a close button there is nothing to do.
    if (!press_) return std::nullopt;
    PendingPress press = std::move(*press_);
    press_.reset();
    std::shared_ptr<AppWatcher> watcher = press.watcher.lock();
    // Dragged off the close button: the red dot does nothing, and neither does the click.
    if (!watcher || !press.button.contains(at)) return std::nullopt;
    if (tracker_.watcherOf(watcher->pid) != watcher) return std::nullopt;

    // The window is already gone (its notification was handled first): it cannot be
    // confirmed on screen any more, and it closed by this very up, over its close button.
    // The close is still gathering: the engine makes it a red-dot close with the up's
    // modifiers.
    if (press.closedBeforeUp) return ClosedByUp{watcher->pid, modifiers};

    // Confirmed with the window server where the button went up. A cached hit that is not
    // confirmed counts as a miss, and the live pass may still find the button.
    if (auto hit = confirmHit(press.window, watcher, at)) {
        bool cached = press.cached && !hit->readLive;
        record(hit->window, hit->watcher, modifiers, cached ? "cached" : "live read");
        return std::nullopt;
    }
    if (!press.cached) return std::nullopt;
    if (auto live = liveHit(at)) {
        if (auto hit = confirmHit(live->window, live->watcher, at))
            record(hit->window, hit->watcher, modifiers, "live read");
    }
    return std::nullopt;
}

void ClickLedger::windowClosing(const WindowRef& window) {
    // The app closed the window at the mouse-up, and its notification came before the up
    // itself: the up settles it while this close gathers.
    if (press_ && press_->window == window) press_->closedBeforeUp = true;
}

void ClickLedger::scheduleCheck(double delay, const WindowRef& window, Pid pid) {
    auto found = clicks_.find(window);
    if (found == clicks_.end()) return;
    // The look is this click's: a later click on the window makes its own looks, and the
    // looks of the one it replaced stop.
    Date clicked = found->second.at;
    context_.mainQueue.asyncAfter(delay, [owner = owner_, this, window, pid, clicked] {
        auto alive = owner.lock();
        if (!alive) return;
        const ClickRecord* click = recordOf(window);
        if (click && click->at == clicked) sustainIfBlocked(window, pid);
    });
}

void ClickLedger::remember(const WindowRef& window, Pid pid, ModifierFlags modifiers, Date moment) {
    ClickRecord click{.at = moment,
                      .pid = pid,
                      .modifiers = modifiers,
                      .expiry = moment + ClickRecord::lifetime,
                      .sustained = false,
                      .dialogsSince = moment,
                      .heldBy = std::nullopt,
                      .missedOnce = false};
    // A click on a red dot whose close a dialog holds (the window is modal to its sheet, the
    // red dot does nothing) takes the hold over: the dialogs that came after the held click
    // still hold this one, though they came before it. Its own first look says so.
    auto held = clicks_.find(window);
    if (held != clicks_.end() && held->second.sustained && held->second.pid == pid &&
        held->second.expiry > moment) {
        click.dialogsSince = held->second.dialogsSince;
        click.heldBy = held->second.heldBy;
    }
    clicks_.insert_or_assign(window, std::move(click));
    scheduleCheck(ClickRecord::firstDialogCheck, window, pid);
}

void ClickLedger::record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                         ModifierFlags modifiers, std::string_view how) {
    Date moment = context_.clock.now();
    Pid pid = watcher->pid;
    remember(window, pid, modifiers, moment);

    // The title the watcher knows: the application is not asked again.
    const AppWatcher::KnownWindow* known = watcher->knownWindow(window);
    std::string title = known && known->title ? *known->title : windowTitle(window.element);
    log("red dot clicked — " + watcher->name + " \"" + title + "\"  (" + std::string(how) + ")" +
        modifierSuffix(modifiers));

    // An option-click closes every window of the application that can close: each of them
    // closes by this click, with its modifiers, and its own dialog hold (a save sheet answered
    // seconds later). Only the clicked window's line is logged.
    if (!(modifiers & modifier::option)) return;
    for (const auto& entry : watcher->closeButtonFrames()) {
        const WindowRef& other = entry.first;
        if (other == window) continue;
        remember(other, pid, modifiers, moment);
    }
}

void ClickLedger::sustainIfBlocked(const WindowRef& window, Pid pid) {
    auto found = clicks_.find(window);
    if (found == clicks_.end()) return;
    std::shared_ptr<AppWatcher> watcher = tracker_.watcherOf(pid);
    if (!watcher) return;

    // A window that is gone keeps its record: its destruction will consume it.
    if (!isAlive(window.element)) return;
    // The read may have run observer work: find the record afresh.
    found = clicks_.find(window);
    if (found == clicks_.end()) return;

    Date moment = context_.clock.now();
    if (moment - found->second.at >= ClickRecord::dialogGiveUpAge) {
        clicks_.erase(found);
        return;
    }

    // A window its app ordered out as its answer to the red dot (kept, on no Space) is closed
    // for the user, though no destroyed notification comes: its close is reported now.
    if (isOrderedOut(context_.spaces, window.element)) {
        watcher->windowGone(window);
        return;
    }

    std::optional<bool> state = lookForDialog(*watcher, window);
    // The check's reads take time on a slow application: renewals count from when it
    // returned, or a long check would eat into the very time it grants.
    Date checked = context_.clock.now();
    // The lookups above may have run observer work; find the record afresh.
    found = clicks_.find(window);
    if (found == clicks_.end()) return;
    ClickRecord& click = found->second;
    // Unknown is not "no dialog": while the reads fail (an app that does not answer), a click
    // held by a dialog stays held, and so does one that took such a hold over (its dialogs
    // counted from an earlier click). A click never held simply runs its course.
    if (!state) {
        if (!click.sustained && !(click.dialogsSince < click.at)) return;
        click.missedOnce = false;
        click.expiry = checked + ClickRecord::lifetime;
        scheduleCheck(ClickRecord::dialogPollInterval, window, pid);
        return;
    }
    if (*state) {
        if (!click.sustained) {
            click.sustained = true;
            log("  …close is waiting on a dialog — holding the click");
        }
        click.missedOnce = false;
        click.expiry = checked + ClickRecord::lifetime;
        scheduleCheck(ClickRecord::dialogPollInterval, window, pid);
        return;
    }
    if (!click.sustained) return;
    // One look that finds no dialog may fall between two (a question sheet giving way to the
    // Save panel): the hold ends only when a second look, a moment later, finds none either.
    if (!click.missedOnce) {
        click.missedOnce = true;
        click.expiry = checked + ClickRecord::lifetime;
        scheduleCheck(ClickRecord::secondLook, window, pid);
        return;
    }
    click.missedOnce = false;
    click.expiry = checked + ClickRecord::afterDialogGrace;
}

std::optional<bool> ClickLedger::lookForDialog(const AppWatcher& watcher, const WindowRef& window) {
    auto found = clicks_.find(window);
    if (found == clicks_.end()) return std::nullopt;
    std::optional<WindowRef> heldBy = found->second.heldBy;
    // Dialogs and sheets seen before the click (by the margin) were up before it: a red dot
    // that an alert made inert is held by nothing.
    Date since = found->second.dialogsSince - ClickRecord::cameFirstMargin;

    // The dialog window that held the click at an earlier look is asked directly, wherever
    // it is: "AXWindows" lists only the current Space's windows, and the user may have gone
    // to another one. It holds while it is alive and a dialog, and not ordered out.
    bool unknown = false;
    if (heldBy) {
        std::optional<bool> dialog = watcher.isDialog(*heldBy);
        if (dialog == std::optional<bool>(true) && !isOrderedOut(context_.spaces, heldBy->element))
            return true;
        unknown = !dialog;
    }
    AppWatcher::CloseHold hold = watcher.closeBlockedState(window, since);
    found = clicks_.find(window);
    if (found != clicks_.end() && hold.blocked) found->second.heldBy = hold.dialog;
    if (hold.blocked == std::optional<bool>(false) && unknown) return std::nullopt;
    return hold.blocked;
}

std::optional<ClickLedger::Hit> ClickLedger::confirmHit(const WindowRef& window,
                                                        const std::shared_ptr<AppWatcher>& watcher,
                                                        Point at) {
    WindowServer* server = context_.windowServer;
    // A platform without a window server has nothing to confirm with: the hit stands.
    if (!server) return Hit{window, watcher};

    // One question to the window server. Once the hit window's number is known, only what is
    // in front of it and the window itself: on a busy desktop a fraction of the whole list.
    // An empty answer: the window is not on screen (hidden, minimised, on another Space), its
    // cached frame is stale, and what the click landed in is asked with the on-screen list.
    auto learned = numbers_.find(window);
    std::vector<WindowServerWindow> shown;
    if (learned != numbers_.end()) shown = server->windowsAbove(learned->second.number);
    if (shown.empty()) shown = server->windowList(WindowListScope::onScreenCurrentSpace);

    std::optional<Hit> top = trackedWindowOnTop(shown, at);
    // The click is that window's if its own close button is under the point: the hit
    // window itself, or another one whose red dot sits on the same spot.
    if (top && buttonHolds(top->window, *top->watcher, at)) return top;
    return std::nullopt;
}

std::optional<ClickLedger::Hit> ClickLedger::trackedWindowOnTop(
    const std::vector<WindowServerWindow>& shown, Point at, bool* unanswered) {
    // The window the click landed in, at any layer below the screen saver: a menu, the menu
    // bar, the Dock, a banner, a popover or a sheet lying over the red dot takes the click,
    // and a floating window's red dot is a red dot. Fully transparent windows take none.
    std::optional<WindowServerWindow> top = topmostWindowAt(shown, at);
    // Nothing on screen there (the cached frame belongs to a hidden, minimised or faraway
    // window): the click landed on no close button.
    if (!top) return std::nullopt;
    // A window of an untracked process (the system's, Quelto's own settings window) is on
    // top: the click is its, never the window's underneath.
    std::shared_ptr<AppWatcher> watcher = tracker_.watcherOf(top->ownerPid);
    if (!watcher) return std::nullopt;
    bool caughtUp = false;
    std::optional<WindowRef> ref = watchedWindowShownAs(*top, watcher, caughtUp, unanswered);
    if (!ref) return std::nullopt;
    return Hit{*ref, watcher, caughtUp};
}

std::optional<WindowRef> ClickLedger::watchedWindowShownAs(
    const WindowServerWindow& shown, const std::shared_ptr<AppWatcher>& watcher, bool& caughtUp,
    bool* unanswered) {
    std::optional<WindowRef> ref = windowShownAs(shown, watcher, unanswered);
    if (!ref || watcher->isWatched(*ref)) return ref;
    // The application lists the window, its watcher does not watch it: it was on another
    // Space when Quelto attached, and the catch-up at the Space switch was refused (the
    // application busy then). The watcher catches up now, and the window, watched from now
    // on, has its close button read.
    watcher->resync();
    caughtUp = true;
    if (!watcher->isWatched(*ref)) return std::nullopt;
    return ref;
}

std::optional<WindowRef> ClickLedger::windowShownAs(const WindowServerWindow& shown,
                                                    const std::shared_ptr<AppWatcher>& watcher,
                                                    bool* unanswered) {
    // A window whose number an earlier click learned.
    for (const auto& [ref, learned] : numbers_)
        if (learned.number == shown.number && learned.pid == shown.ownerPid) return ref;

    // Else the application's own list: it lists this Space's windows front to back, so the
    // first one shown (not minimised) with the same bounds. Of two maximised windows with
    // the same bounds only the front one can be on top. Its number is learned, and the next
    // click on it needs no such read.
    if (std::optional<std::vector<AXElement>> listed = watcher->readWindows()) {
        for (const AXElement& window : *listed) {
            if (axBool(window, "AXMinimized").value_or(false)) continue;
            std::optional<Rect> frame = axFrame(window);
            if (!frame || !sameWindowBounds(shown.bounds, *frame)) continue;
            WindowRef ref{window};
            learn(ref, shown);
            return ref;
        }
        return std::nullopt;
    }

    // The application does not answer (busy, hung): what the watcher already knows answers
    // for it. The one window whose last known frame has the window server's bounds is the
    // one shown; with none, or more than one, nothing is confirmed.
    if (unanswered) *unanswered = true;
    std::optional<WindowRef> only;
    int matches = 0;
    for (const auto& [ref, known] : watcher->knownWindows()) {
        if (!known.frame || !sameWindowBounds(shown.bounds, *known.frame)) continue;
        only = ref;
        ++matches;
    }
    if (matches == 1) return only;
    return std::nullopt;
}

void ClickLedger::learn(const WindowRef& window, const WindowServerWindow& shown) {
    numbers_.insert_or_assign(window, Shown{shown.number, shown.ownerPid});
}

std::optional<ClickRecord> ClickLedger::take(const WindowRef& window) {
    numbers_.erase(window);
    auto found = clicks_.find(window);
    if (found == clicks_.end()) return std::nullopt;
    ClickRecord click = found->second;
    clicks_.erase(found);
    return click;
}

bool ClickLedger::hasCountingClick(Pid pid) const {
    if (clicks_.empty()) return false;
    Date moment = context_.clock.now();
    for (const auto& [window, click] : clicks_)
        if (click.pid == pid && click.expiry > moment) return true;
    return false;
}

void ClickLedger::forget(Pid pid) {
    std::erase_if(numbers_, [pid](const auto& entry) { return entry.second.pid == pid; });
    std::erase_if(clicks_, [pid](const auto& entry) { return entry.second.pid == pid; });
}

const ClickRecord* ClickLedger::recordOf(const WindowRef& window) const {
    auto found = clicks_.find(window);
    return found == clicks_.end() ? nullptr : &found->second;
}

}  // namespace quelto
