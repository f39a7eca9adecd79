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
    // Without Accessibility access nothing can be confirmed or followed.
    if (accessRevoked_) return;
    pruneClicks();

    // The cached frames first: an in-memory walk, no Accessibility call.
    // A hit is then confirmed with the window server: the frame may belong to a window that
    // is hidden, minimised, on another Space or covered where the click landed. One that is
    // not confirmed counts as a miss, and the live pass below may still find the button.
    for (const auto& [pid, watcher] : watchers) {
        if (auto window = watcher->closeButtonHit(at)) {
            std::shared_ptr<AppWatcher> found = watcher;
            if (auto hit = confirmHit(*window, found, at)) {
                record(hit->window, hit->watcher, modifiers, "cached");
                return;
            }
            break;
        }
    }

    // Then a live read, of the frontmost application only: a click on an uncached close
    // button of a background application is deliberately not attributed.
    Workspace* workspace = platform().workspace;
    if (!workspace) return;
    RunningApplicationRef front = workspace->frontmostApplication();
    if (!front) return;
    auto tracked = watchers.find(front->processIdentifier());
    if (tracked == watchers.end()) return;
    std::shared_ptr<AppWatcher> watcher = tracked->second;
    if (auto window = watcher->liveCloseButtonHit(at)) {
        if (auto hit = confirmHit(*window, watcher, at))
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

    // A window its app ordered out as its answer to the red dot (kept, on no Space) is closed
    // for the user, though no destroyed notification comes: its close is reported now.
    if (Spaces* spaces = platform().spaces; spaces && spaces->lookupsAvailable()) {
        if (auto number = spaces->windowNumber(window.element)) {
            auto on = spaces->spacesOfWindow(*number);
            if (on && on->empty()) {
                watcher->windowGone(window);
                return;
            }
        }
    }

    bool blocked = watcher->isCloseBlocked(window);
    // The check's reads take time on a slow application: renewals count from when it
    // returned, or a long check would eat into the very time it grants.
    Date checked = now();
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
