// The desktop object itself: its construction, installation as the process's platform, and
// the hand-over when it goes away.

#include "sim/SimDesktop.h"

#include "platform/BuildSettings.h"
#include "sim/SimState.h"

namespace quelto::sim {

SimDesktop::SimDesktop(Date start, int utcOffsetSeconds) : state_(std::make_unique<State>(*this)) {
    state_->now = toMicros(start.seconds);
    state_->utcOffsetSeconds = utcOffsetSeconds;
    // Whole strings are moved in: assigning the short literals trips g++ 12's -Wrestrict
    // false alarm in optimised builds.
    state_->bundleInfo["CFBundleShortVersionString"] = std::string(build::version);
    state_->bundleInfo["CFBundleVersion"] = std::string(build::buildNumber);
    state_->bundleInfo["CFBundleIdentifier"] = std::string(build::bundleID);
    state_->bundleInfo["CFBundleName"] = std::string("Quelto");
}

SimDesktop::~SimDesktop() {
    // Leave no dangling platform behind: whatever was installed from this desktop goes back
    // to nothing (and the system clock).
    Platform& p = platform();
    if (p.accessibility == this || p.workspace == this || p.mainQueue == this || p.clock == this ||
        p.mouse == this || p.system == this || p.loginItem == this || p.http == this ||
        p.alerts == this || p.pasteboard == this || p.windowServer == this ||
        p.spaces == this) {
        installPlatform(Platform{}, true);
    }
    // Work still queued may hold objects whose destructors reach back into the desktop
    // (observers, subscriptions); the lifeline goes first so they find it expired.
    state_->lifeline.reset();
    state_->queue.clear();
}

void SimDesktop::install() {
    Platform p;
    p.accessibility = this;
    p.workspace = this;
    p.mainQueue = this;
    p.clock = this;
    p.mouse = this;
    p.system = this;
    p.loginItem = this;
    p.http = this;
    p.alerts = this;
    p.pasteboard = this;
    p.windowServer = this;
    p.spaces = this;
    installPlatform(p, true);
}

}  // namespace quelto::sim
