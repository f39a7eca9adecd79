// The chaos run's events about Quelto's main thread: apps that stop answering for a while,
// the menu-bar menu held open, an alert on screen, and registrations an app refuses.

#include <string>

#include "tests/chaos/ChaosRun.h"
#include "update/UpdateChecker.h"

namespace quelto::chaos {

void ChaosRun::hangApp() {
    auto pid = randomRunningApp();
    if (!pid) return;
    // Bounded: a hang outlasting every time-out, at most, then the app answers again.
    double s = random_.between(0.2, 8.0);
    note("pid " + std::to_string(*pid) + " hangs for " + seconds(s));
    desktop_->hangApp(*pid, s);
}

void ChaosRun::holdMenuOpen() {
    double s = random_.between(0.1, 5.0);
    note("the menu-bar menu stays open for " + seconds(s));
    desktop_->trackMenu(s);
}

void ChaosRun::showAlert() {
    // The update check's alert (the site cannot be reached), left on screen for a while.
    double s = random_.between(0.1, 5.0);
    note("an update check whose alert stays up for " + seconds(s));
    desktop_->holdNextAlert(s);
    UpdateChecker::check(desktop_->shellContext().updateContext(), nullptr);
}

void ChaosRun::refuseRegistrations() {
    auto pid = randomRunningApp();
    if (!pid) return;
    sim::ElementId target = desktop_->applicationElementId(*pid);
    if (auto window = randomWindow(); window && random_.chance(0.5)) target = *window;
    if (target == 0) return;
    int times = static_cast<int>(random_.between(1L, 12L));
    note("element " + std::to_string(target) + " refuses the next " + std::to_string(times) +
         " registrations");
    desktop_->injectError(target, "register", axerror::cannotComplete, times);
}

}  // namespace quelto::chaos
