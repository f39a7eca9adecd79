// The chaos run's promises about windows: a click is credited only to the window on top at
// any layer where the button went up, never to a press released elsewhere, and in last-window mode
// no application is asked to quit while it still shows a window, on this Space or another.

#include <cstdio>
#include <string>
#include <unordered_map>

#include "engine/OtherSpacesWindows.h"
#include "settings/Activity.h"
#include "settings/Config.h"
#include "settings/ConfigStore.h"
#include "tests/chaos/ChaosRun.h"
#include "tests/support/AXNames.h"

namespace quelto::chaos {

namespace {

std::string where(Point p) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "(%.1f, %.1f)", p.x, p.y);
    return buffer;
}

}  // namespace

void ChaosRun::releaseChecked(Point down, Point up, ModifierFlags flags) {
    // What is on top where the button goes up, at every layer, just before it goes up; and
    // whether it goes up on the close button it went down on.
    std::optional<sim::ElementId> top = desktop_->windowAt(up);
    std::optional<sim::ElementId> pressed = desktop_->windowAt(down);
    bool sameButton = false;
    if (pressed)
        if (auto frame = desktop_->closeButtonFrame(*pressed))
            sameButton = frame->outset(2).contains(down) && frame->outset(2).contains(up);
    bool dragged = !(down == up);
    std::unordered_map<WindowRef, Date> before;
    engine_->clicks().forEachRecord([&](const WindowRef& window, const ClickRecord& click) {
        before.emplace(window, click.at);
    });

    desktop_->release(up);

    engine_->clicks().forEachRecord([&](const WindowRef& window, const ClickRecord& click) {
        auto earlier = before.find(window);
        if (earlier != before.end() && earlier->second == click.at) return;
        if (!brokenPromise_.empty()) return;
        // A record made by this mouse-up.
        std::string credited = "?";
        for (sim::ElementId id : desktop_->stackingOrder())
            if (window == WindowRef{desktop_->element(id)}) credited = std::to_string(id);
        if (dragged && !sameButton) {
            brokenPromise_ = "credited a press at " + where(down) + " released elsewhere, at " +
                             where(up) + ", to window " + credited;
            return;
        }
        bool onTop = top && window == WindowRef{desktop_->element(*top)};
        // An option-click's other windows close by the same click.
        bool gesture = (flags & modifier::option) && top && click.pid == desktop_->ownerOf(*top);
        if (!onTop && !gesture) {
            brokenPromise_ = "credited a click going up at " + where(up) + " to window " +
                             credited + ", not to the one on top there at any layer (" +
                             (top ? std::to_string(*top) : std::string("none")) + ")";
        }
    });
}

std::string ChaosRun::checkClosesSeen() {
    // How long a destroyed notification may take to arrive and be handled, in seconds: the
    // desktop delivers it on the main queue, behind whatever is due (a hung app's reads).
    constexpr double grace = 3.0;
    if (!engine_) return {};
    double now = desktop_->now().seconds;
    std::unordered_map<WindowRef, sim::ElementId> live;
    for (Pid pid : running_) {
        std::shared_ptr<AppWatcher> watcher = engine_->apps().watcherOf(pid);
        for (sim::ElementId id : desktop_->windowsOf(pid)) {
            WindowRef ref{desktop_->element(id)};
            live.emplace(ref, id);
            if (watcher && watcher->isWatched(ref) &&
                desktop_->registrationCount(id, axElementDestroyed) > 0)
                watchedWindows_.try_emplace(ref, WatchedWindow{pid, id, std::nullopt});
        }
    }
    for (auto it = watchedWindows_.begin(); it != watchedWindows_.end();) {
        auto& [ref, window] = *it;
        std::shared_ptr<AppWatcher> watcher = engine_->apps().watcherOf(window.pid);
        // Its watcher let it go (its close seen, or the watcher gone with its app).
        if (!watcher || !watcher->isWatched(ref)) {
            it = watchedWindows_.erase(it);
            continue;
        }
        if (live.count(ref) || engine_->accessRevoked()) {
            window.goneSince.reset();
            ++it;
            continue;
        }
        if (!window.goneSince) window.goneSince = now;
        if (now - *window.goneSince >= grace)
            return "the close of window " + std::to_string(window.id) + " of pid " +
                   std::to_string(window.pid) + ", watched with its destroyed notification, " +
                   "went unseen";
        ++it;
    }
    return {};
}

void ChaosRun::checkQuitDecision() {
    const auto& entries = Activity::shared().entries();
    if (entries.empty() || !entries.front().quit) return;
    const auto& requests = desktop_->quitRequests();
    if (requests.empty() || requests.back().at != desktop_->now()) return;
    // The decision has just read the file; so does this check, at the same moment.
    if (desktop_->config().load().mode != Config::Mode::lastWindow) return;

    Pid pid = requests.back().pid;
    if (desktop_->isHidden(pid)) return;  // hidden windows show nothing (and are counted)
    for (sim::ElementId window : desktop_->windowsOf(pid)) {
        // Windows Accessibility lists are counted as the design counts user windows (a window
        // without a close button is none); the user windows it cannot see, on another Space or
        // in full screen, are what the window server must account for.
        if (desktop_->isListedInAXWindows(window)) continue;
        if (desktop_->isMinimized(window) || hasOddAttribute(window)) continue;
        // A window its app ordered out is out of the user's reach.
        if (desktop_->isOrderedOut(window)) continue;
        // Nor one Accessibility does not count as a user window (a panel, a dialog, custom
        // chrome without a close button): such windows keep no app alive.
        if (auto desc = desktop_->windowDescription(window);
            !desc || desc->role != "AXWindow" ||
            (desc->subrole && *desc->subrole != "AXStandardWindow") || !desc->closeButton.present)
            continue;
        std::optional<Rect> frame = desktop_->windowFrame(window);
        if (!frame || frame->size.width < minimumCountedWindowSide ||
            frame->size.height < minimumCountedWindowSide)
            continue;
        if (brokenPromise_.empty()) {
            std::optional<int> space = desktop_->spaceOf(window);
            brokenPromise_ =
                "asked " + entries.front().app + " to quit in last-window mode while its window " +
                std::to_string(window) + " showed on Space " + std::to_string(space.value_or(0)) +
                (desktop_->isFullScreen(window) ? " (full screen)" : "") +
                (desktop_->isOnScreen(window) ? ", on screen" : ", off screen") +
                (desktop_->isListedInAXWindows(window) ? ", listed" : ", unlisted") +
                ", current Space " + std::to_string(desktop_->currentSpace());
        }
        return;
    }
}

bool ChaosRun::hasOddAttribute(sim::ElementId window) const {
    // A window whose role or subrole reads oddly is not an ordinary window to Quelto.
    for (const auto& [element, attribute] : oddAttributes_)
        if (element == window && (attribute == "AXRole" || attribute == "AXSubrole")) return true;
    return false;
}

}  // namespace quelto::chaos
