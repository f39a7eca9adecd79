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
    prune();

    // The cached frames first: an in-memory walk, no Accessibility call.
    // A hit is then confirmed with the window server: the frame may belong to a window that
    // is hidden, minimised, on another Space or covered where the click landed. One that is
    // not confirmed counts as a miss, and the live pass below may still find the button.
    std::optional<Hit> cached =
        tracker_.firstOf([at](const std::shared_ptr<AppWatcher>& watcher) -> std::optional<Hit> {
            if (auto window = watcher->closeButtonHit(at)) return Hit{*window, watcher};
            return std::nullopt;
        });
    if (cached) {
        if (auto hit = confirmHit(cached->window, cached->watcher, at)) {
            record(hit->window, hit->watcher, modifiers, "cached");
            return;
        }
    }

    // Then a live read, of the frontmost application only: a click on an uncached close
    // button of a background application is deliberately not attributed.
    RunningApplicationRef front = context_.workspace.frontmostApplication();
    if (!front) return;
    std::shared_ptr<AppWatcher> watcher = tracker_.watcherOf(front->processIdentifier());
    if (!watcher) return;
    if (auto window = watcher->liveCloseButtonHit(at)) {
        if (auto hit = confirmHit(*window, watcher, at))
            record(hit->window, hit->watcher, modifiers, "live read");
    }
}

void ClickLedger::scheduleCheck(double delay, const WindowRef& window, Pid pid) {
    context_.mainQueue.asyncAfter(delay, [owner = owner_, this, window, pid] {
        if (auto alive = owner.lock()) sustainIfBlocked(window, pid);
    });
}

void ClickLedger::record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                         ModifierFlags modifiers, std::string_view how) {
    Date moment = context_.clock.now();
    Pid pid = watcher->pid;
    clicks_.insert_or_assign(window, ClickRecord{.at = moment,
                                                 .pid = pid,
                                                 .modifiers = modifiers,
                                                 .expiry = moment + ClickRecord::lifetime,
                                                 .sustained = false});
    scheduleCheck(ClickRecord::firstDialogCheck, window, pid);

    log("red dot clicked — " + watcher->name + " \"" + windowTitle(window.element) + "\"  (" +
        std::string(how) + ")" + modifierSuffix(modifiers));
}

void ClickLedger::sustainIfBlocked(const WindowRef& window, Pid pid) {
    auto found = clicks_.find(window);
    if (found == clicks_.end()) return;
    std::shared_ptr<AppWatcher> watcher = tracker_.watcherOf(pid);
    if (!watcher) return;

    // A window that is gone keeps its record: its destruction will consume it.
    if (!isAlive(window.element)) return;

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

    bool blocked = watcher->isCloseBlocked(window);
    // The check's reads take time on a slow application: renewals count from when it
    // returned, or a long check would eat into the very time it grants.
    Date checked = context_.clock.now();
    if (blocked) {
        // The lookups above may have run observer work; find the record afresh.
        found = clicks_.find(window);
        if (found == clicks_.end()) return;
        ClickRecord& click = found->second;
        if (!click.sustained) {
            click.sustained = true;
            log("  …close is waiting on a dialog — holding the click");
        }
        click.expiry = checked + ClickRecord::lifetime;
        scheduleCheck(ClickRecord::dialogPollInterval, window, pid);
        return;
    }

    found = clicks_.find(window);
    if (found == clicks_.end()) return;
    if (found->second.sustained) found->second.expiry = checked + ClickRecord::afterDialogGrace;
}

std::optional<ClickLedger::Hit> ClickLedger::confirmHit(const WindowRef& window,
                                                        const std::shared_ptr<AppWatcher>& watcher,
                                                        Point at) {
    WindowServer* server = context_.windowServer;
    // A platform without a window server has nothing to confirm with: the hit stands.
    if (!server) return Hit{window, watcher};

    std::optional<WindowServerWindow> top =
        windowAt(server->windowList(WindowListScope::onScreenCurrentSpace), at);
    // Nothing on screen there (the cached frame belongs to a hidden, minimised or faraway
    // window): the click landed on no close button.
    if (!top) return std::nullopt;
    std::shared_ptr<AppWatcher> topWatcher = tracker_.watcherOf(top->ownerPid);
    if (!topWatcher) return std::nullopt;

    // Which of its application's windows the one on top is: the application lists this
    // Space's windows front to back, so the first one shown (not minimised) with the same
    // bounds. Two maximised windows of one application have the same bounds; only the front
    // one can be on top.
    for (const AXElement& listed : topWatcher->currentWindows()) {
        if (axBool(listed, "AXMinimized").value_or(false)) continue;
        std::optional<Rect> frame = axFrame(listed);
        if (!frame || !sameWindowBounds(top->bounds, *frame)) continue;
        // The click is that window's if its own close button is under the point: the hit
        // window itself, or another one whose red dot sits on the same spot.
        WindowRef ref{listed};
        const auto& frames = topWatcher->closeButtonFrames();
        auto cached = frames.find(ref);
        if (cached != frames.end() && cached->second.contains(at)) return Hit{ref, topWatcher};
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<ClickRecord> ClickLedger::take(const WindowRef& window) {
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
    std::erase_if(clicks_, [pid](const auto& entry) { return entry.second.pid == pid; });
}

const ClickRecord* ClickLedger::recordOf(const WindowRef& window) const {
    auto found = clicks_.find(window);
    return found == clicks_.end() ? nullptr : &found->second;
}

}  // namespace quelto
