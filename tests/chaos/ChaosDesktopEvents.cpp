// The chaos run's events that move windows out of sight and back: apps hidden and shown,
// windows minimised and restored, Space switches, windows sent to other Spaces and into full
// screen, red dots pressed, held and released on or off the button, toolbars shown and hidden
// (their red dots moving without a word), and windows stacked right over another's close
// button.

#include <cstdio>

#include "tests/chaos/ChaosRun.h"

namespace quelto::chaos {

namespace {

std::string where(Point p) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "(%.1f, %.1f)", p.x, p.y);
    return buffer;
}

}  // namespace

void ChaosRun::desktopEvent() {
    sim::SimDesktop& d = *desktop_;
    switch (random_.below(12)) {
        case 0:
            if (auto pid = randomRunningApp()) {
                bool hide = !d.isHidden(*pid);
                note(std::string(hide ? "hide" : "unhide") + " pid " + std::to_string(*pid));
                if (hide)
                    d.hideApp(*pid);
                else
                    d.unhideApp(*pid);
            }
            break;
        case 1:
            if (auto window = randomWindow()) {
                bool minimize = !d.isMinimized(*window);
                note(std::string(minimize ? "minimise" : "restore") + " window " +
                     std::to_string(*window));
                if (minimize)
                    d.minimizeWindow(*window);
                else
                    d.restoreWindow(*window);
            }
            break;
        case 2: {
            int space = static_cast<int>(random_.between(1L, 3L));
            note("switch to Space " + std::to_string(space));
            d.switchToSpace(space);
            break;
        }
        case 3:
            if (auto window = randomWindow()) {
                int space = static_cast<int>(random_.between(1L, 3L));
                note("window " + std::to_string(*window) + " to Space " + std::to_string(space));
                d.moveWindowToSpace(*window, space);
            }
            break;
        case 4:
            if (auto window = randomWindow()) {
                bool enter = !d.isFullScreen(*window);
                note(std::string(enter ? "full screen for" : "full screen off for") + " window " +
                     std::to_string(*window));
                if (enter)
                    d.enterFullScreen(*window);
                else
                    d.exitFullScreen(*window);
            }
            break;
        case 5:
        case 6:
            pressAndRelease();
            break;
        // ---- Windows kept but not shown, activation policies, access revoked ----
        case 8:
            if (auto window = randomWindow()) {
                bool out = !d.isOrderedOut(*window);
                note(std::string(out ? "order out" : "order in") + " window " +
                     std::to_string(*window));
                if (out)
                    d.orderOutWindow(*window);
                else
                    d.orderInWindow(*window);
            }
            break;
        case 9:
            if (auto pid = randomRunningApp()) {
                auto app = d.runningApplication(*pid);
                bool regular = app && app->activationPolicy() == ActivationPolicy::regular;
                note("pid " + std::to_string(*pid) + " becomes " +
                     (regular ? "accessory" : "regular"));
                d.setActivationPolicy(
                    *pid, regular ? ActivationPolicy::accessory : ActivationPolicy::regular);
            }
            break;
        case 10:
            if (!d.isProcessTrusted()) {
                note("Accessibility access granted again");
                d.setTrusted(true);
            } else if (random_.unit() < 0.3) {
                note("Accessibility access revoked");
                d.setTrusted(false);
            }
            break;
        case 11:
            if (auto window = randomWindow()) {
                bool shown = random_.chance(0.5);
                note(std::string(shown ? "toolbar shown on" : "toolbar hidden on") + " window " +
                     std::to_string(*window));
                d.setToolbar(*window, shown);
            }
            break;
        default:
            stackOverCloseButton();
            break;
    }
}

void ChaosRun::pressAndRelease() {
    auto window = randomWindow();
    if (!window) return;
    auto frame = desktop_->closeButtonFrame(*window);
    if (!frame) return;
    Point at{frame->origin.x + frame->size.width / 2, frame->origin.y + frame->size.height / 2};
    ModifierFlags flags = random_.chance(0.2) ? modifier::option : 0;
    double held = random_.chance(0.3) ? random_.between(1.0, 4.0) : random_.between(0.0, 0.5);
    bool dragOff = random_.chance(0.4);
    Point up = dragOff
                   ? Point{at.x + random_.between(30.0, 400.0), at.y + random_.between(30.0, 300.0)}
                   : at;
    note("press the close button of window " + std::to_string(*window) + " at " + where(at) +
         ", hold " + std::to_string(held) + " s, release at " + where(up));
    ++tally_.closeClicks;
    desktop_->press(at, flags);
    desktop_->advance(held);
    releaseChecked(at, up, flags);
}

void ChaosRun::stackOverCloseButton() {
    auto window = randomWindow();
    if (!window) return;
    auto frame = desktop_->windowFrame(*window);
    auto pid = randomRunningApp(random_.chance(0.1));
    if (!frame || !pid || desktop_->windowsOf(*pid).size() >= 8) return;
    // A window of any app right over the other's title bar, covering its red dot.
    sim::WindowDescription desc;
    desc.title = std::string(1, 'W').append(std::to_string(nextTitle_++));
    desc.frame = Rect{{frame->origin.x - random_.between(0.0, 40.0), frame->origin.y - 2},
                      {random_.between(200.0, 600.0), random_.between(150.0, 400.0)}};
    desc.asksToSave = random_.chance(0.2);
    note("window " + desc.title + " for pid " + std::to_string(*pid) + " stacked over window " +
         std::to_string(*window) + "'s close button");
    desktop_->addWindow(*pid, desc, true);
}

}  // namespace quelto::chaos
