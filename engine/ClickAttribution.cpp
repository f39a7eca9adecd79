// Click attribution: which tracked window's close button a mouse-down landed on, and how long
// that click keeps counting, including while a dialog holds the close open.

#include <string>

#include "accessibility/WindowClassification.h"
#include "engine/Engine.h"
#include "engine/ModifierSuffix.h"
#include "platform/Platform.h"
#include "settings/Log.h"

namespace quelto {

namespace {

Date now() {
    return platform().clock->now();
}

}  // namespace

void Engine::pruneClicks() {
    // Every click passes here; with nothing remembered there is nothing to read or free.
    if (recentClicks.empty()) return;
    Date moment = now();
    std::erase_if(recentClicks,
                  [moment](const auto& entry) { return entry.second.expiry <= moment; });
}

void Engine::handleClick(Point at, ModifierFlags modifiers) {
    (void)modifiers;  // the click's modifiers are those held when the button goes up
    pruneClicks();
    // A new press ends any earlier one (its mouse-up went unseen).
    pendingPress_.reset();

    // The cached frames first: an in-memory walk, no platform call. Whether the window is
    // really the one on top there is settled when the button goes up, where the red dot acts.
    for (const auto& [pid, watcher] : watchers) {
        if (auto window = watcher->closeButtonHit(at)) {
            const auto& frames = watcher->closeButtonFrames();
            auto frame = frames.find(*window);
            if (frame == frames.end()) break;
            pendingPress_ = PendingPress{*window, watcher, frame->second, true};
            return;
        }
    }

    // Then a live read, of the frontmost application only: a click on an uncached close
    // button of a background application is deliberately not attributed.
    if (auto hit = liveHit(at)) {
        const auto& frames = hit->watcher->closeButtonFrames();
        auto frame = frames.find(hit->window);
        if (frame != frames.end())
            pendingPress_ = PendingPress{hit->window, hit->watcher, frame->second, false};
    }
}

std::optional<Engine::Hit> Engine::liveHit(Point at) {
    Workspace* workspace = platform().workspace;
    if (!workspace) return std::nullopt;
    RunningApplicationRef front = workspace->frontmostApplication();
    if (!front) return std::nullopt;
    auto tracked = watchers.find(front->processIdentifier());
    if (tracked == watchers.end()) return std::nullopt;
    std::shared_ptr<AppWatcher> watcher = tracked->second;
    if (auto window = watcher->liveCloseButtonHit(at)) return Hit{*window, watcher};
    return std::nullopt;
}

void Engine::handleMouseUp(Point at, ModifierFlags modifiers) {
    // Every mouse-up passes here; without a press on a close button there is nothing to do.
    if (!pendingPress_) return;
    PendingPress press = std::move(*pendingPress_);
    pendingPress_.reset();
    std::shared_ptr<AppWatcher> watcher = press.watcher.lock();
    // Dragged off the close button: the red dot does nothing, and neither does the click.
    if (!watcher || !press.button.contains(at)) return;
    if (watchers.find(watcher->pid) == watchers.end()) return;

    // The window is already gone (its notification was handled first): it cannot be
    // confirmed on screen any more, and it closed by this very up, over its close button.
    // The close is still gathering: it becomes a red-dot close with the up's modifiers.
    if (press.closedBeforeUp) {
        auto gathering = pending.find(watcher->pid);
        if (gathering == pending.end()) return;
        gathering->second.wasRedDot = true;
        gathering->second.modifiers = modifiers;
        return;
    }

    // Confirmed with the window server where the button went up. A cached hit that is not
    // confirmed counts as a miss, and the live pass may still find the button.
    if (auto hit = confirmHit(press.window, watcher, at)) {
        record(hit->window, hit->watcher, modifiers, press.cached ? "cached" : "live read");
        return;
    }
    if (!press.cached) return;
    if (auto live = liveHit(at)) {
        if (auto hit = confirmHit(live->window, live->watcher, at))
            record(hit->window, hit->watcher, modifiers, "live read");
    }
}

void Engine::record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                    ModifierFlags modifiers, std::string_view how) {
    Date moment = now();
    Pid pid = watcher->pid;
    recentClicks.insert_or_assign(window, ClickRecord{.at = moment,
                                                      .pid = pid,
                                                      .modifiers = modifiers,
                                                      .expiry = moment + ClickRecord::lifetime,
                                                      .sustained = false});

    std::weak_ptr<Engine> weak = weak_from_this();
    platform().mainQueue->asyncAfter(ClickRecord::firstDialogCheck, [weak, window, pid] {
        if (auto engine = weak.lock()) engine->sustainIfBlocked(window, pid);
    });

    log("red dot clicked — " + watcher->name + " \"" + windowTitle(window.element) + "\"  (" +
        std::string(how) + ")" + modifierSuffix(modifiers));

    // An option-click closes every window of the application that can close: each of them
    // closes by this click, with its modifiers, and its own dialog hold (a save sheet answered
    // seconds later). Only the clicked window's line is logged.
    if (!(modifiers & modifier::option)) return;
    for (const auto& entry : watcher->closeButtonFrames()) {
        // (A named copy: a structured binding cannot be captured in C++20 by Apple clang.)
        const WindowRef other = entry.first;
        if (other == window) continue;
        recentClicks.insert_or_assign(other, ClickRecord{.at = moment,
                                                         .pid = pid,
                                                         .modifiers = modifiers,
                                                         .expiry = moment + ClickRecord::lifetime,
                                                         .sustained = false});
        platform().mainQueue->asyncAfter(ClickRecord::firstDialogCheck, [weak, other, pid] {
            if (auto engine = weak.lock()) engine->sustainIfBlocked(other, pid);
        });
    }
}

void Engine::sustainIfBlocked(const WindowRef& window, Pid pid) {
    auto found = recentClicks.find(window);
    if (found == recentClicks.end()) return;
    auto tracked = watchers.find(pid);
    if (tracked == watchers.end()) return;
    std::shared_ptr<AppWatcher> watcher = tracked->second;

    // A window that is gone keeps its record: its destruction will consume it.
    if (!isAlive(window.element)) return;

    Date moment = now();
    if (moment - found->second.at >= ClickRecord::dialogGiveUpAge) {
        recentClicks.erase(found);
        return;
    }

    std::optional<bool> state = watcher->closeBlockedState(window);
    // The check's reads take time on a slow application: renewals count from when it
    // returned, or a long check would eat into the very time it grants.
    Date checked = now();
    // Unknown is not "no dialog": while the reads fail (an app that does not answer), a click
    // held by a dialog stays held. A click never held simply runs its course.
    bool blocked = state.value_or(false);
    if (!state) {
        found = recentClicks.find(window);
        if (found == recentClicks.end() || !found->second.sustained) return;
        blocked = true;
    }
    if (blocked) {
        // The lookups above may have run observer work; find the record afresh.
        found = recentClicks.find(window);
        if (found == recentClicks.end()) return;
        ClickRecord& click = found->second;
        if (!click.sustained) {
            click.sustained = true;
            log("  …close is waiting on a dialog — holding the click");
        }
        click.expiry = checked + ClickRecord::lifetime;
        std::weak_ptr<Engine> weak = weak_from_this();
        platform().mainQueue->asyncAfter(ClickRecord::dialogPollInterval, [weak, window, pid] {
            if (auto engine = weak.lock()) engine->sustainIfBlocked(window, pid);
        });
        return;
    }

    found = recentClicks.find(window);
    if (found == recentClicks.end()) return;
    if (found->second.sustained) found->second.expiry = checked + ClickRecord::afterDialogGrace;
}

}  // namespace quelto
